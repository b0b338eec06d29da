#!/usr/bin/env bash
# Alt+J as a person presses it: the real binary under Xvfb, the key sent by xdotool through the
# X server, with and without the lock keys. Then another X client holds Alt+J before Tavik
# starts: Tavik says so in its log and the board still opens and closes from the tray's path
# (`tavik --toggle`). Screenshots go to $TAVIK_ARTIFACTS.
# Usage: hotkey_e2e.sh TAVIK_BINARY X11_KEYGRAB_BINARY    (lib.sh runs it on a private session bus)
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"
KEYGRAB=$(readlink -f "$2")

FAILED_LINE='[Tavik] RegisterEventHotKey failed (status 10); the combo may be taken — use the menu-bar icon.'

locks_are() { [ "$("$KEYGRAB" locks)" = "$1" ]; }

# The hot key itself, not xdotool's idea of the modifiers: no --clearmodifiers, which would
# also switch the lock keys off around the press.
alt_j() { xdotool key alt+j; }

start_tavik() { BOARD_LOG=$1 start_board --seed-demo --debug-frame; }
# start_rival LOG VARIANT...: another client holds Alt+J with those lock states.
start_rival() {
    spawn "$1" "$KEYGRAB" grab --hold "${@:2}"
    RIVAL=$PID
    check "the rival client holds Alt+J (${*:2})" wait_for 5 grep -qx holding "$1"
}

# --- 1. Alt+J hides and shows the board, whatever the lock keys say ---------------------------

start_tavik "$WORK/tavik.log"
park_pointer
sleep 0.7
shot hotkey-board

# Tavik holds Mod1+J for every lock state: none of them is free for another client.
for variant in plain caps num capsnum; do
    check "Tavik holds Alt+J with lock state '$variant'" \
        bash -c "! '$KEYGRAB' grab $variant >/dev/null"
done

alt_j
check "Alt+J hides the visible board" wait_for 5 board_hidden
check "the process lives on without its window" kill -0 "$APP"
alt_j
check "Alt+J shows the board again" wait_for 5 board_shown

# Each lock state in turn: its keys on, Alt+J twice, its keys off again.
for locks in "Num_Lock:caps=0 num=1" "Caps_Lock:caps=1 num=0" "Num_Lock Caps_Lock:caps=1 num=1"; do
    keys=${locks%%:*}
    state=${locks#*:}
    for k in $keys; do xdotool key "$k"; done
    check "lock keys on: $state" wait_for 3 locks_are "$state"
    sleep 0.5
    alt_j
    check "Alt+J hides the board ($state)" wait_for 5 board_hidden
    alt_j
    check "Alt+J shows the board ($state)" wait_for 5 board_shown
    for k in $keys; do xdotool key "$k"; done
    check "lock keys off again" wait_for 3 locks_are "caps=0 num=0"
done
check "a free Alt+J logged no failure" bash -c "! grep -qF 'RegisterEventHotKey failed' '$WORK/tavik.log'"
stop "$APP"

# --- 2. Another client took Alt+J first ---------------------------------------------------------

start_rival "$WORK/rival.log" plain caps num capsnum
start_tavik "$WORK/tavik-taken.log"
check "Tavik logs that Alt+J is taken" wait_for 5 grep -qF "$FAILED_LINE" "$WORK/tavik-taken.log"
park_pointer
sleep 0.7
shot hotkey-taken-board

presses_before=$(grep -c '^press' "$WORK/rival.log" || true)
alt_j
check "Alt+J goes to the client that holds it" \
    wait_for 5 bash -c "[ \$(grep -c '^press' '$WORK/rival.log') -gt $presses_before ]"
sleep 1
check "Alt+J leaves Tavik's board alone" board_shown

focus_board
"$TAVIK" --toggle
check "tavik --toggle hides the board" wait_for 10 board_hidden
"$TAVIK" --toggle
check "tavik --toggle shows it again" wait_for 10 board_shown
shot hotkey-taken-toggled-on
stop "$APP"
stop "$RIVAL"

# --- 3. The rival holds only the NumLock variant -------------------------------------------------
# Tavik's grab stops half way; what it had already taken must be given back, or Alt+J would
# work without NumLock and vanish with it.

start_rival "$WORK/rival-num.log" num
start_tavik "$WORK/tavik-partial.log"
check "Tavik logs the half-taken combo" wait_for 5 grep -qF "$FAILED_LINE" "$WORK/tavik-partial.log"
for variant in plain caps capsnum; do
    check "Tavik gave back Alt+J with lock state '$variant'" bash -c "'$KEYGRAB' grab $variant >/dev/null"
done
sleep 0.5
alt_j
sleep 1
check "plain Alt+J does not toggle a half-registered hot key" board_shown
stop "$APP"

e2e_finish
