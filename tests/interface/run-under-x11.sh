#!/usr/bin/env bash
# Runs a program on an X server of its own, with a window manager and nothing else on it: run-under-x11.sh PROGRAM...
set -euo pipefail

folder=$(mktemp -d)
server=
manager=
# Called by the trap below.
# shellcheck disable=SC2317
finish() {
    local process
    for process in $manager $server; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    rm -rf "$folder"
}
trap finish EXIT

mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -noreset -nolisten tcp 3>"$folder/display" 2>"$folder/server.log" &
server=$!
# Ends with an error when the server does: then nobody writes.
read -r number <"$folder/display" || {
    cat "$folder/server.log" >&2
    exit 1
}
export DISPLAY=:$number
unset WAYLAND_DISPLAY

# Started with a home of its own, the manager runs as it was shipped.
HOME=$folder XDG_CONFIG_HOME=$folder XDG_CACHE_HOME=$folder openbox >"$folder/manager.log" 2>&1 &
manager=$!
until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; do
    kill -0 "$manager" 2>/dev/null || {
        cat "$folder/manager.log" >&2
        exit 1
    }
done

status=0
"$@" || status=$?
exit "$status"
