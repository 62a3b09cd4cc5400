#!/bin/sh
# Makes a session of Claude Code known to Pelorin (event SessionStart).
trap 'exit 0' EXIT
case $0 in
*/*) hooks=${0%/*} ;;
*) hooks=. ;;
esac
set -- register
# shellcheck source=hooks/run-helper.sh
. "$hooks/run-helper.sh" 2>/dev/null
