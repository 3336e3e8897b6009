# For scripts that run several checks: each is timed, a failure doesn't keep the others from running,
# and the summary comes last.
# shellcheck shell=bash

stage_summary=()
stages_failed=0

# stage NAME COMMAND...
stage() {
    local name=$1 begin=$SECONDS result=passed
    shift
    printf '\033[1m==> %s\033[0m\n' "$name"
    if ! "$@"; then
        result=FAILED
        stages_failed=1
    fi
    stage_summary+=("$(printf '%-32s %4d s  %s' "$name" $((SECONDS - begin)) "$result")")
}

# Returns the exit status of the whole.
summarize_stages() {
    printf '\n%s\n' "${stage_summary[@]}" "$(printf '%-32s %4d s' 'all of it' "$SECONDS")"
    return "$stages_failed"
}
