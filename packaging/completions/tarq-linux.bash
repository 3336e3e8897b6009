# shellcheck shell=bash
# Only one option counts, and its number is nothing that could be completed.
_tarq_linux() {
    COMPREPLY=()
    ((COMP_CWORD == 1)) || return 0
    mapfile -t COMPREPLY < <(compgen -W "--help -h --toggle --session-smoke --amplitude-smoke
        --recording-wave-smoke --audio-smoke" -- "${COMP_WORDS[1]}")
}
complete -F _tarq_linux tarq-linux
