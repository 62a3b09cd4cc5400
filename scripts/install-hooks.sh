#!/bin/bash
# Wires AI coding CLIs to Pelorin. For any bash from 3.2 on.
set -u

usage() {
    cat <<'EOF'
usage: install-hooks.sh [OPTION...]

Without options: puts Pelorin's hooks into Claude Code's settings.

  --cli NAME           the CLI to wire: claude, codex, gemini, opencode or cursor (may be given several times)
  --all                every CLI that is found on this machine
  --tool-questions     with gemini: also ask in Pelorin before a tool changes something, so that it can be denied there
  --login              also start Pelorin at login
  --status             change nothing, and tell what is installed
  --dry-run            change nothing, and show what would be changed
  --help               this text
EOF
}

case ${BASH_SOURCE[0]} in
*/*) here=${BASH_SOURCE[0]%/*} ;;
*) here=. ;;
esac
# shellcheck source=scripts/hook-setup.sh
. "$here/hook-setup.sh" || exit 1

action=install
clis=()
with_all=no
with_login=no
gemini_options=()
while [ $# -gt 0 ]; do
    case $1 in
    --cli)
        need_cli "$@"
        clis+=("$2")
        shift
        ;;
    --all) with_all=yes ;;
    --login) with_login=yes ;;
    --tool-questions) gemini_options=(--tool-questions) ;;
    --status) action=status ;;
    *) take_shared_option "$1" ;;
    esac
    shift
done

find_setup "$here"

if [ $with_all = yes ] || { [ $action = status ] && [ ${#clis[@]} -eq 0 ]; }; then
    clis=("${all_clis[@]}")
elif [ ${#clis[@]} -eq 0 ]; then
    clis=(claude)
fi

result=0
for cli in "${clis[@]}"; do
    if [ $action = install ] && [ $with_all = yes ] && ! is_there "$cli"; then
        say "$cli: not found on this machine, and left out. --cli $cli wires it all the same."
        continue
    fi
    own_options=()
    if [ "$cli" = gemini ]; then
        own_options=(${gemini_options[@]+"${gemini_options[@]}"})
    fi
    run_setup "$action" "$cli" ${own_options[@]+"${own_options[@]}"} || result=1
done

if [ $with_login = yes ] || [ $action = status ]; then
    own_options=()
    if program=$(find_program); then
        own_options=(--program "$program")
    elif [ $action = install ]; then
        complain "Start at login: Pelorin itself is not there. In a checkout, ./dev build makes it."
        exit 1
    fi
    run_setup "$action" login ${own_options[@]+"${own_options[@]}"} || result=1
fi

if ! has_helper; then
    complain "The hooks do nothing yet: the program pelorin-hook is not there. In a checkout, ./dev build makes it."
fi
exit $result
