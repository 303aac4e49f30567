#!/bin/sh
# Runs a command on a virtual X server of its own:  onxvfb.sh WxHxDEPTH command [args...]
# Xvfb picks a free display itself (-displayfd) instead of a number guessed from
# lock files, and it is stopped and waited for before this returns: a server
# still shutting down removes its socket on exit, which cut off the next
# server when that one had been given the same number.
screen="$1"
shift
for tool in Xvfb xauth mcookie; do
    command -v "$tool" >/dev/null || { echo "$tool is missing: scripts/setup installs it" >&2; exit 1; }
done
dir="$(mktemp -d)" || exit 1
xpid=
cleanup() {
    if [ -n "$xpid" ]; then
        kill "$xpid" 2>/dev/null
        wait "$xpid" 2>/dev/null
    fi
    rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 143' TERM INT HUP

cookie="$(mcookie)"
# The server takes every cookie in its file whatever display it is for; the
# client's entry is added once the display is known.
xauth -q -f "$dir/auth" add :0 . "$cookie" 2>/dev/null
# -noreset: the server would otherwise reset when its last client leaves (the
# accessibility bus's launcher does, early), and a client connecting then is refused.
Xvfb -displayfd 3 -nolisten tcp -noreset -auth "$dir/auth" -screen 0 "$screen" 3>"$dir/display" 2>"$dir/log" &
xpid=$!
tries=0
until [ -s "$dir/display" ]; do
    if ! kill -0 "$xpid" 2>/dev/null || [ $tries -ge 300 ]; then
        echo "Xvfb did not start:" >&2
        cat "$dir/log" >&2
        exit 1
    fi
    tries=$((tries + 1))
    sleep 0.1
done
display=":$(head -n 1 "$dir/display")"
xauth -q -f "$dir/auth" add "$display" . "$cookie" 2>/dev/null

DISPLAY="$display" XAUTHORITY="$dir/auth" "$@"
status=$?
exit $status
