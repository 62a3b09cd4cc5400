#!/bin/sh
# Tells Pelorin that a session of Claude Code has ended (event SessionEnd).
trap 'exit 0' EXIT
case $0 in
*/*) hooks=${0%/*} ;;
*) hooks=. ;;
esac
set -- unregister
# shellcheck source=hooks/run-helper.sh
. "$hooks/run-helper.sh" 2>/dev/null
