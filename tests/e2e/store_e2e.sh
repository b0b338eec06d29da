#!/usr/bin/env bash
# The store is the owner's alone and has one board: a launch under the usual umask 022 makes
# every file 0600 and every folder 0700 (and tightens ones made before), and a second board
# from another desktop session (another session bus) says where the first runs, exits 1 and
# leaves the first board and its store as they were.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"
umask 022

DATA=$XDG_DATA_HOME/tavik
CONFIG=$XDG_CONFIG_HOME/tavik
# Made before this build tightened its files: readable by all.
mkdir -p "$CONFIG"
printf '[General]\n' >"$CONFIG/tavik.ini"
chmod 644 "$CONFIG/tavik.ini"

start_board
key ctrl+n
sleep 0.4
xdotool type --delay 120 "只给自己看"
xdotool key Return
check "the task is saved" wait_for 5 bash -c "\"$TAVIK\" --list | grep -qF 只给自己看"

# mode PATH: the permission bits, in octal.
mode() { stat -c %a "$1"; }
for file in "$DATA"/tavik.store "$DATA"/tavik.store-wal "$DATA"/tavik.store-shm \
    "$DATA"/tavik.store.lock "$CONFIG"/tavik.ini; do
    check "$(basename "$file") is 600 under umask 022" test "$(mode "$file")" = 600
done
for folder in "$DATA" "$CONFIG"; do
    check "$(basename "$(dirname "$folder")")/tavik is 700" test "$(mode "$folder")" = 700
done
check "nothing in the data folder is readable by others" \
    test -z "$(find "$DATA" "$CONFIG" -perm /077)"

# The second session: its own bus, so the single-instance name does not reach the first.
before=$("$TAVIK" --export | sha256sum)
status=0
dbus-run-session -- "$TAVIK" >"$WORK/second.log" 2>&1 || status=$?
check "a second board on the same store exits 1" test "$status" = 1
check "it says where the first one runs" \
    grep -q "Tavik is already running on $DATA/tavik.store: process $APP (tavik)" "$WORK/second.log"
check "the first board runs on" kill -0 "$APP"
check "the board in the store is as it was" test "$("$TAVIK" --export | sha256sum)" = "$before"
check "reading commands work beside the board" bash -c "\"$TAVIK\" --list | grep -qF 只给自己看"
quit_board
e2e_finish
