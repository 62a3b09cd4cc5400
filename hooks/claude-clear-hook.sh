#!/bin/sh
# Withdraws what Pelorin shows of a session of Claude Code that goes on by itself (UserPromptSubmit, PostToolUse, Stop).
trap 'exit 0' EXIT
case $0 in
*/*) hooks=${0%/*} ;;
*) hooks=. ;;
esac
set -- clear
# shellcheck source=hooks/run-helper.sh
. "$hooks/run-helper.sh" 2>/dev/null
