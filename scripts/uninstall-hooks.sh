#!/bin/bash
# Takes Pelorin's hooks out of the settings of AI coding CLIs again. For any bash from 3.2 on.
set -u

usage() {
    cat <<'EOF'
usage: uninstall-hooks.sh [OPTION...]

Without options: takes Pelorin's hooks out of Claude Code's settings.

  --cli NAME   the CLI to take them from: claude, codex, gemini, opencode or cursor (may be given several times)
  --login      the start at login
  --all        everything: from every CLI, and the start at login
  --dry-run    change nothing, and show what would be changed
  --help       this text
EOF
}

case ${BASH_SOURCE[0]} in
*/*) here=${BASH_SOURCE[0]%/*} ;;
*) here=. ;;
esac
# shellcheck source=scripts/hook-setup.sh
. "$here/hook-setup.sh" || exit 1

targets=()
with_all=no
while [ $# -gt 0 ]; do
    case $1 in
    --cli)
        need_cli "$@"
        targets+=("$2")
        shift
        ;;
    --login) targets+=(login) ;;
    --all) with_all=yes ;;
    *) take_shared_option "$1" ;;
    esac
    shift
done

find_setup "$here"

if [ $with_all = yes ]; then
    targets=("${all_clis[@]}" login)
elif [ ${#targets[@]} -eq 0 ]; then
    targets=(claude)
fi

result=0
for target in "${targets[@]}"; do
    run_setup uninstall "$target" || result=1
done
exit $result
