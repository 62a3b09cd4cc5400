# What install-hooks.sh and uninstall-hooks.sh share. For any bash from 3.2 on.
# shellcheck shell=bash

all_clis=(claude)

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

# Sets `setup` to the program that edits the settings.
find_setup() {
    for setup in "${PELORIN_HOOK_SETUP:-$hooks/pelorin-hook-setup}" "$root/build/release/bin/pelorin-hook-setup"; do
        if [ -f "$setup" ] && [ -x "$setup" ]; then
            return
        fi
    done
    complain "The program pelorin-hook-setup is not there. In a checkout, ./dev build makes it."
    exit 1
}

has_helper() {
    local helper
    for helper in "$hooks/pelorin-hook" "$root/build/release/bin/pelorin-hook"; do
        if [ -f "$helper" ] && [ -x "$helper" ]; then
            return 0
        fi
    done
    return 1
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
    esac
}

# The name behind an option, or the end.
need_cli() {
    if [ $# -lt 2 ] || ! is_cli "$2"; then
        complain "--cli needs one of: ${all_clis[*]}"
        exit 2
    fi
}
