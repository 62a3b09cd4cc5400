#!/bin/sh
# Shows a notice of Claude Code in Pelorin (event Notification).
trap 'exit 0' EXIT
case $0 in
*/*) hooks=${0%/*} ;;
*) hooks=. ;;
esac
set -- notify
# shellcheck source=hooks/run-helper.sh
. "$hooks/run-helper.sh" 2>/dev/null
