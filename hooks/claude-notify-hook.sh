#!/bin/sh
# Shows a notice of Claude Code in Pelorin (event Notification).
#
# For any bash from 3.2 on, and for the plain sh that starts in half the time where there is one. No process is started
# before the helper takes over, nothing is printed, and the status is 0 whatever happens: all else would mean something
# to the CLI.
case $0 in
*/*) here=${0%/*} ;;
*) here=. ;;
esac
# After an exec that fails, bash goes on at this word, and another shell ends as it has been told here.
# shellcheck disable=SC3044
[ -n "${BASH_VERSION:-}" ] && shopt -s execfail
trap 'exit 0' EXIT
for helper in "${PELORIN_HOOK_HELPER:-$here/pelorin-hook}" "$here/../build/release/bin/pelorin-hook" \
    "$here/../../../lib/pelorin/pelorin-hook"; do
    [ -x "$helper" ] && exec "$helper" notify 2>/dev/null
done
