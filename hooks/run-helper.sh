# What all the hook scripts share: becomes the helper, with the script's own parameters for its command. `hooks` is the
# directory of this file.
#
# For any bash from 3.2 on, and for the plain sh that starts in half the time where there is one. No process is started
# before the helper takes over, nothing is printed, and the status is 0 whatever happens: all else would mean something
# to the CLI.
# shellcheck shell=sh

# After an exec that fails, bash goes on at this word, and another shell ends as the script has told it.
# shellcheck disable=SC3044
[ -n "${BASH_VERSION:-}" ] && shopt -s execfail
# shellcheck disable=SC2154
for helper in "${PELORIN_HOOK_HELPER:-$hooks/pelorin-hook}" "$hooks/../build/release/bin/pelorin-hook" \
    "$hooks/../../../lib/pelorin/pelorin-hook"; do
    [ -x "$helper" ] && exec "$helper" "$@"
done
