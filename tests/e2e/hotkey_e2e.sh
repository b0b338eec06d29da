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

start_tavik() { # start_tavik LOG
    "$TAVIK" --seed-demo --debug-frame >"$1" 2>&1 &
    APP=$!
    E2E_PIDS+=("$APP")
}
stop_tavik() {
    kill "$APP" 2>/dev/null || true
    wait "$APP" 2>/dev/null || true
}

# --- 1. Alt+J hides and shows the board, whatever the lock keys say ---------------------------

start_tavik "$WORK/tavik.log"
check "the board window appears" wait_for 20 board_shown
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
stop_tavik

# --- 2. Another client took Alt+J first ---------------------------------------------------------

"$KEYGRAB" grab --hold plain caps num capsnum >"$WORK/rival.log" 2>&1 &
RIVAL=$!
E2E_PIDS+=("$RIVAL")
check "the rival client holds Alt+J" wait_for 5 grep -qx holding "$WORK/rival.log"

start_tavik "$WORK/tavik-taken.log"
check "the board window appears beside the rival" wait_for 20 board_shown
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

xdotool windowfocus --sync "$(window_id)" 2>/dev/null || true
"$TAVIK" --toggle
check "tavik --toggle hides the board" wait_for 10 board_hidden
"$TAVIK" --toggle
check "tavik --toggle shows it again" wait_for 10 board_shown
shot hotkey-taken-toggled-on
stop_tavik
kill "$RIVAL" 2>/dev/null || true
wait "$RIVAL" 2>/dev/null || true

# --- 3. The rival holds only the NumLock variant -------------------------------------------------
# Tavik's grab stops half way; what it had already taken must be given back, or Alt+J would
# work without NumLock and vanish with it.

"$KEYGRAB" grab --hold num >"$WORK/rival-num.log" 2>&1 &
RIVAL=$!
E2E_PIDS+=("$RIVAL")
check "the rival client holds Alt+NumLock+J" wait_for 5 grep -qx holding "$WORK/rival-num.log"
start_tavik "$WORK/tavik-partial.log"
check "the board window appears" wait_for 20 board_shown
check "Tavik logs the half-taken combo" wait_for 5 grep -qF "$FAILED_LINE" "$WORK/tavik-partial.log"
for variant in plain caps capsnum; do
    check "Tavik gave back Alt+J with lock state '$variant'" bash -c "'$KEYGRAB' grab $variant >/dev/null"
done
sleep 0.5
alt_j
sleep 1
check "plain Alt+J does not toggle a half-registered hot key" board_shown
stop_tavik

e2e_finish
