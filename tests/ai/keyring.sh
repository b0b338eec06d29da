#!/bin/sh
# Runs a test against a real Secret Service: gnome-keyring, unlocked, in a throwaway home on a
# private session bus. The password goes in on stdin, or the daemon asks for a prompt; with no
# display, a locked keyring's unlock prompt fails at once instead of waiting for a person.
set -eu
unset DISPLAY WAYLAND_DISPLAY
home=$(mktemp -d) && trap 'rm -rf "$home"' EXIT && mkdir -p -m 700 "$home/share" "$home/run"
export HOME="$home" XDG_DATA_HOME="$home/share" XDG_RUNTIME_DIR="$home/run" TAVIK_TEST_KEYRING=1
dbus-run-session -- sh -c 'eval "$(printf pw | gnome-keyring-daemon --unlock --components=secrets --daemonize)"; exec "$@"' sh "$@"
