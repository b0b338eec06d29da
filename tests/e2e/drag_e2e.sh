#!/usr/bin/env bash
# Drag and drop as a person does it: the real binary under Xvfb, the pointer driven by
# xdotool, the outcome read back with `tavik --list --json`. Screenshots go to $TAVIK_ARTIFACTS.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

# Whether a UTC timestamp falls on today's local date (TZ as this script sets it).
is_today() {
    python3 -c '
import sys
from datetime import datetime
moment = datetime.fromisoformat(sys.argv[1].replace("Z", "+00:00")).astimezone()
sys.exit(0 if moment.date() == datetime.now().astimezone().date() else 1)' "$1"
}

start_board --seed-demo --debug-frame
shot drag-before

# Points are given inside the window; the demo board with its fixed frame puts the rows there.
press() { xdotool mousemove $((X + $1)) $((Y + $2)) mousedown 1; sleep 0.15; }
glide() { # glide TO_X TO_Y: small steps, as a hand moves
    local i
    for i in $(seq 1 12); do
        xdotool mousemove_relative -- $(( ($1 + X - $(xdotool getmouselocation --shell | sed -n 's/^X=//p')) / (13 - i) )) \
            $(( ($2 + Y - $(xdotool getmouselocation --shell | sed -n 's/^Y=//p')) / (13 - i) ))
        sleep 0.03
    done
    xdotool mousemove $((X + $1)) $((Y + $2))
    sleep 0.6
}
release() { xdotool mouseup 1; sleep 0.8; }

# 1. The top task of 稍后 into the middle of 今天, between its second and third tasks.
moved=$(titles later | sed -n 1p)
upper=$(titles today | sed -n 2p)
lower=$(titles today | sed -n 3p)
press 110 90
glide 900 245
shot drag-mid-column
release
shot drag-after-column
check "the dragged task sits between the two it was dropped between" \
    bash -c "[ \"\$(titles today | grep -xF -A1 -B1 '$moved' | paste -sd'|')\" = '$upper|$moved|$lower' ]"
check "it has left 稍后" bash -c "! titles later | grep -qxF '$moved'"
check "its day is today now" is_today "$(task_field demo "$moved" dueDate | tr -d '"')"

# 2. A task of 稍后 onto the tab of the list 工作: its list changes, its place does not.
retagged=$(titles later | sed -n 2p)
check "the task to file under 工作 is not there yet" \
    bash -c '! field_is demo "$0" list "\"工作\""' "$retagged"
press 80 213
glide 335 55
shot drag-mid-tab
release
check "a drop on a list's tab files the task under it" \
    wait_for 5 field_is demo "$retagged" list '"工作"'
check "it keeps its place in 稍后" bash -c "[ \"\$(titles later | sed -n 2p)\" = '$retagged' ]"

# 3. A drop on 全部 takes the list away.
untagged=$(titles later | sed -n 1p)
press 110 90
glide 262 55
release
check "a drop on 全部 clears the list" \
    wait_for 5 field_is demo "$untagged" list null
shot drag-after-tabs

# 4. Less than 8 points of movement is a click: on the check box it completes the task.
clicked=$(titles later | sed -n 1p)
press 26 101
xdotool mousemove_relative -- 5 2
sleep 0.1
release
check "a press moved by less than 8 points is a click" \
    wait_for 5 bash -c "titles done | grep -qxF '$clicked'"

# 5. A drag that starts on the task dialog, over the rows behind it, moves nothing.
key ctrl+n
sleep 0.6
board_before=$(titles today; titles thisWeek)
press 1060 480
glide 560 480
shot drag-from-dialog
release
check "a drag from the task dialog leaves the rows behind it alone" \
    bash -c "[ \"\$(titles today; titles thisWeek)\" = '$board_before' ]"
key Escape

e2e_finish
