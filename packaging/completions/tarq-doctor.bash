# shellcheck shell=bash
_tarq_doctor() {
    COMPREPLY=()
    ((COMP_CWORD == 1)) || return 0
    mapfile -t COMPREPLY < <(compgen -W "--help -h --json --setup --undo --version" -- "${COMP_WORDS[1]}")
}
complete -F _tarq_doctor tarq-doctor
