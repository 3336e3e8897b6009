# A clean Debian in a folder: what packaging/test-package and scripts/debian-root share. As root, in a mount
# namespace of their own, so that what is mounted there goes with them.
# shellcheck shell=bash

# The lines of sources.list for a release, from where this machine gets its own packages.
debian_sources() {
    local release=$1 here
    # shellcheck source=/dev/null
    here=$(source /etc/os-release && echo "$VERSION_CODENAME")
    # The single quotes hold what apt-get fills in.
    # shellcheck disable=SC2016
    apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' |
        awk -v here="$here" -v release="$release" '
            { suffix = $3; if (sub("^" here, "", suffix)) { $3 = release suffix; print } }' |
        # A release that is still being made has neither updates nor security updates.
        if [[ $release == testing ]]; then grep ' testing main$'; else cat; fi | sort -u
}

# make_debian RELEASE ROOT DEBS: a new one in ROOT; packages are kept in DEBS for the next one.
make_debian() {
    local release=$1 root=$2 debs=$3 sources mirror log
    rm -rf --one-file-system "$root"
    mkdir -p "$root" "$debs"
    say "Making a clean Debian ($release)"
    sources=$(debian_sources "$release")
    mirror=$(awk -v suite="$release" '$3 == suite { print $2; exit }' <<< "$sources")
    log=$(dirname "$root")/debootstrap.log
    debootstrap --variant=minbase --cache-dir="$debs" "$release" "$root" "$mirror" > "$log" ||
        { tail "$log" "$root"/debootstrap/*.log >&2; return 1; }
    printf '%s\n' "$sources" > "$root/etc/apt/sources.list"
    # How this machine reaches its mirror, for example a proxy.
    apt-config dump | grep -E '^Acquire::(Check-|http|https)' > "$root/etc/apt/apt.conf.d/mirror" || true
}

# mount_debian ROOT DEBS: what the programs in it expect to find.
mount_debian() {
    local root=$1 debs=$2
    # Programs take a root for a mount.
    mount --bind "$root" "$root"
    cp /etc/resolv.conf "$root/etc/resolv.conf"
    mount --bind "$debs" "$root/var/cache/apt/archives"
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
}

# in_debian ROOT COMMAND...: with nothing of this machine's environment.
in_debian() {
    local root=$1
    shift
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive CI="${CI:-}" "$@"
}
