# Shared by ./run, ./test and the scripts beside it, which source it from the root of the project.
# shellcheck shell=bash

# Debian's own interpreter: another one on the PATH doesn't see Debian's modules.
export PYTHON=/usr/bin/python3

say() {
    printf '\033[1m%s\033[0m\n' "$*"
}

is_installed() {
    # One line for each architecture that the package is installed for.
    dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

# The packages of the given groups that aren't installed. "NAME?" counts only where the release has it, and
# "NAME|OTHER" not where OTHER is there, or is among the missing ones before it.
missing_packages() {
    local group package wanted=" $* " missing=' '
    while read -r group package; do
        [[ -n $package && $group != \#* && $wanted == *" $group "* ]] || continue
        local name=${package%%[?|]*} other=${package#*|}
        if [[ $package == *'|'* ]] && { [[ $missing == *" $other "* ]] || is_installed "$other"; }; then
            continue
        fi
        is_installed "$name" ||
            { [[ $package == *'?' ]] && ! apt-cache show "$name" > /dev/null 2>&1; } ||
            { missing+="$name "; printf '%s\n' "$name"; }
    done < scripts/packages.txt
}

install_packages() {
    local missing as_root=()
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0
    if ((EUID != 0)); then
        as_root=(sudo)
        if ! command -v sudo > /dev/null; then
            say "Install these packages as root, then start this again: ${missing[*]}" >&2
            return 1
        fi
    fi
    "${as_root[@]}" apt-get update -q
    # Only now is it known what the release has.
    mapfile -t missing < <(missing_packages "$@")
    say "Installing ${#missing[@]} packages: ${missing[*]}"
    # Nothing that is there may go: PulseAudio would put PipeWire's own packages out.
    if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends --no-remove "${missing[@]}"; then
        say "These packages can't be installed beside what this machine has: ${missing[*]}" >&2
        return 1
    fi
}

configure_preset() {
    local preset=$1
    say "Configuring build/$preset"
    cmake --preset "$preset" --log-level=WARNING
}

build_preset() {
    local preset=$1
    configure_preset "$preset"
    say "Building build/$preset"
    cmake --build --preset "$preset"
}
