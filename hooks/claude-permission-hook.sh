#!/bin/sh
# Asks the user of Pelorin whether Claude Code may do what it asks permission for (event PermissionRequest).
trap 'exit 0' EXIT
case $0 in
*/*) hooks=${0%/*} ;;
*) hooks=. ;;
esac
set -- permission
# shellcheck source=hooks/run-helper.sh
. "$hooks/run-helper.sh" 2>/dev/null
