#!/bin/sh
# On a virtual X server and a session bus of its own: the accessibility bus,
# then the demo with Qt's AT-SPI bridge on, then the tree read from outside.
# Exit 77 (skipped) where the bus or the reader cannot start.
demo="$1"
here="$(dirname "$0")"
[ -x /usr/bin/python3 ] && /usr/bin/python3 -c 'import pyatspi' 2>/dev/null || {
    echo "python3-pyatspi is missing: scripts/setup installs it" >&2; exit 77; }
dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress >/dev/null 2>&1 || {
    echo "no accessibility bus (at-spi2-core) could start" >&2; exit 77; }
home="$(mktemp -d)"
HOME="$home" XDG_CONFIG_HOME="$home" QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_QPA_PLATFORM=xcb \
    "$demo" --size 1280x800 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -rf "$home"' EXIT
/usr/bin/python3 "$here/readtree.py" "$(basename "$demo")"
