# What install-hooks.sh and uninstall-hooks.sh share. For any bash from 3.2 on.
# shellcheck shell=bash

all_clis=(claude codex gemini opencode cursor)
# What every run of the program that edits the settings is told.
options=()

say() { printf '%s\n' "$*"; }

complain() { printf '%s\n' "$*" >&2; }

# The directory as a whole path, without the "." and ".." in it.
whole_path() (
    CDPATH=
    cd -- "$1" 2>/dev/null && pwd
)

# Sets `hooks` to the directory of the hook scripts, and `root` to the one that it stands in: the one that the
# application names, that of these scripts as they are installed, or the checkout that they stand in.
find_hooks() {
    local here=$1 directory
    for directory in "${REPO:-}" "$here" "$here/.."; do
        if [ -n "$directory" ] && [ -f "$directory/hooks/claude-permission-hook.sh" ]; then
            root=$(whole_path "$directory")
            hooks=$root/hooks
            return
        fi
    done
    complain "The hook scripts are not there: expected $here/hooks or $here/../hooks."
    exit 1
}

# Prints where one of the hooks' own programs is: in a bundle, in this checkout, or in an installation.
find_hook_program() {
    local program
    for program in "$hooks/$1" "$root/build/release/bin/$1" "$root/../../lib/pelorin/$1"; do
        if [ -f "$program" ] && [ -x "$program" ]; then
            printf '%s\n' "$program"
            return
        fi
    done
    return 1
}

# Sets `hooks`, `root`, and `setup` to the program that edits the settings.
find_setup() {
    find_hooks "$1"
    setup=${PELORIN_HOOK_SETUP:-}
    if [ -n "$setup" ] || setup=$(find_hook_program pelorin-hook-setup); then
        return
    fi
    complain "The program pelorin-hook-setup is not there. In a checkout, ./dev build makes it."
    exit 1
}

has_helper() {
    find_hook_program pelorin-hook >/dev/null
}

# Prints where Pelorin itself is: the program of this installation, of this checkout, or any.
find_program() {
    local program
    for program in "$root/../../bin/pelorin" "$root/../MacOS/pelorin" "$root/build/release/bin/pelorin"; do
        if [ -f "$program" ] && [ -x "$program" ]; then
            printf '%s/pelorin\n' "$(whole_path "${program%/*}")"
            return
        fi
    done
    command -v pelorin
}

is_cli() {
    local cli
    for cli in "${all_clis[@]}"; do
        if [ "$cli" = "$1" ]; then
            return 0
        fi
    done
    return 1
}

# Whether the CLI is, or has been, used on this machine.
is_there() {
    case $1 in
    claude) return 0 ;;
    codex) [ -d "${CODEX_HOME:-$HOME/.codex}" ] ;;
    gemini) [ -d "${GEMINI_CLI_HOME:-$HOME}/.gemini" ] ;;
    opencode) [ -d "${XDG_CONFIG_HOME:-$HOME/.config}/opencode" ] ;;
    cursor) [ -d "$HOME/.cursor" ] ;;
    esac || command -v "$1" >/dev/null 2>&1
}

# The name behind an option, or the end.
need_cli() {
    if [ $# -lt 2 ] || ! is_cli "$2"; then
        complain "--cli needs one of: ${all_clis[*]}"
        exit 2
    fi
}

# An option that both scripts have, or the end. `usage` is the script's own.
take_shared_option() {
    case $1 in
    --dry-run) options=(--dry-run) ;;
    --help)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
    esac
}

# Runs the program that edits the settings: run_setup ACTION TARGET [OPTION...].
run_setup() {
    "$setup" "$@" --hooks "$hooks" ${options[@]+"${options[@]}"}
}
