#!/usr/bin/env bash
# Edits of every kind, each followed by the end of the board: SIGKILL (a crash, a power cut)
# DELAY seconds after the edit was made, then SIGTERM (a logout, a plain kill) as soon as it
# is drawn (0.3 s after the input: room for a loaded machine to read the key at all). After
# each end the board starts again, and its store (read by `tavik --list`) must hold the edit.
# A completion and a note count from when their own delays end (the row leaving its column,
# the pause after typing); SIGTERM waits for neither. DELAY is the second argument, 0.1
# unless given; bench/loss_window.sh sweeps it.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"
DELAY=${2:-0.1}

# How each kind is made and how the store shows it. Rows are found by place on the fixed
# frame: the top of 本周 at (470, 103); the keyboard lights the first of 今天 with one Down.
top_of_week() { titles thisWeek | sed -n 1p; }
category_of() { task_field demo "$1" list; }
row_menu() { # row_menu N: the Nth entry of the row menu of the top of 本周
    xdotool mousemove --window "$WIN" 470 103 click 3
    sleep 0.5
    xdotool key --repeat "$1" --delay 120 Down
    sleep 0.2
}

edit_create() {
    SUBJECT="断电新建$ROUND"
    key ctrl+n
    sleep 0.4
    xdotool type --delay 120 "$SUBJECT"
    sleep 0.3
    xdotool key Return
}
kept_create() { [ "$(task_field demo "$SUBJECT" title)" != '"missing"' ]; }

edit_title() {
    park_pointer
    key Down
    key Return
    sleep 0.5
    SUBJECT="断电改名$ROUND"
    xdotool key ctrl+a
    xdotool type --delay 120 "$SUBJECT"
    sleep 0.3
    xdotool key Return
}
kept_title() { kept_create; }

edit_move() {
    park_pointer
    key Down
    key Down
    SUBJECT=$(titles today | sed -n 2p)
    xdotool key ctrl+Left
}
kept_move() { titles thisWeek | grep -qxF "$SUBJECT"; }

edit_reorder() {
    park_pointer
    key Down
    key Down
    SUBJECT=$(titles today | sed -n 2p)
    xdotool key ctrl+Up
}
kept_reorder() { [ "$(titles today | sed -n 1p)" = "$SUBJECT" ]; }

edit_complete() {
    park_pointer
    key Down
    SUBJECT=$(titles today | sed -n 1p)
    xdotool key ctrl+Return
    # The completion's 0.3 s, and up to a second more: the session's first sound opens the
    # audio output, which holds the loop where no audio device answers (CI, Xvfb).
    PAUSE=1.3
}
kept_complete() { titles done | grep -qxF "$SUBJECT"; }

edit_list() { # the top of 本周 goes to the other list
    SUBJECT=$(top_of_week)
    BEFORE=$(category_of "$SUBJECT")
    row_menu 3
    xdotool key Right
    sleep 0.4
    # 无, then the lists; the one it is not in.
    if field_is demo "$SUBJECT" list '"工作"'; then xdotool key Down Down; else xdotool key Down Down Down; fi
    sleep 0.2
    xdotool key Return
}
kept_list() { [ "$(category_of "$SUBJECT")" != "$BEFORE" ]; }

edit_note() {
    SUBJECT=$(top_of_week)
    xdotool mousemove --window "$WIN" 470 103 click 3
    sleep 0.5
    xdotool mousemove_relative 40 50
    sleep 0.3
    xdotool click 1
    sleep 0.8
    xdotool mousemove --window "$WIN" $((WIDTH / 2)) $((HEIGHT / 2)) click 1
    sleep 0.3
    NOTE="断电备注$ROUND"
    xdotool type --delay 120 "$NOTE"
    PAUSE=0.5
}
kept_note() {
    task_field demo "$SUBJECT" note |
        python3 -c 'import json, sys; sys.exit(sys.argv[1] not in json.load(sys.stdin))' "$NOTE"
}

edit_delete() {
    SUBJECT=$(top_of_week)
    row_menu 4
    xdotool key Return
}
kept_delete() { [ "$(task_field demo "$SUBJECT" title)" = '"missing"' ]; }

# A list made with the strip's plus is its third tab; its menu's first entry deletes it.
edit_newlist() {
    SUBJECT="断电$ROUND"
    click_at 361 54
    sleep 0.3
    xdotool type --delay 120 "$SUBJECT"
    sleep 0.3
    xdotool key Return
}
kept_newlist() { list_names | grep -qxF "$SUBJECT"; }
edit_droplist() {
    xdotool mousemove --window "$WIN" 334 54 click 3
    sleep 0.5
    xdotool mousemove --window "$WIN" 374 71 click 1
}
kept_droplist() { ! list_names | grep -qxF "$SUBJECT"; }

KINDS=(create title move reorder complete list note delete newlist droplist)

# round SIGNAL KIND: one edit on the running board, its end after the pause (and DELAY for
# SIGKILL), a restart, and the check of the store the restarted board opened.
round() {
    local signal=$1 kind=$2 wait status=0
    ROUND=$signal
    PAUSE=0
    "edit_$kind"
    wait=$PAUSE
    [ "$signal" = KILL ] && wait=$(awk "BEGIN { print $PAUSE + $DELAY }")
    [ "$signal" = TERM ] && wait=0.3
    sleep "$wait"
    kill "-$signal" "$APP"
    wait "$APP" 2>/dev/null || status=$?
    [ "$signal" = TERM ] && check "SIGTERM ends the board cleanly (status $status)" test "$status" = 0
    BOARD_LOG=$WORK/$kind-$signal.log start_board --seed-demo --debug-frame
    check "$kind survives SIG$signal ${wait}s after it" "kept_$kind"
    settle
}

# The board builds its quick-entry window shortly after launch, which holds the event loop
# for a second or more on a loaded machine; edits start after it, so that the delay measures
# the save and not the start-up.
settle() { sleep 2.5; }

start_board --seed-demo --debug-frame
settle
for kind in "${KINDS[@]}"; do round KILL "$kind"; done
for kind in "${KINDS[@]}"; do round TERM "$kind"; done
stop "$APP"
e2e_finish
