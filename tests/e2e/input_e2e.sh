#!/usr/bin/env bash
# Input that must not be lost or undone: presses over an open card, popover and drawer stay on
# them, and a cleared schedule stays cleared. The real binary under Xvfb, clicks where a
# person clicks, the outcome read back with `tavik --list --json`. Screenshots go to
# $TAVIK_ARTIFACTS.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

# Every task but the one titled $1, as JSON lines.
others() { "$TAVIK" --seed-demo --list --json | python3 -c '
import json, sys
for c in json.load(sys.stdin)["columns"]:
    for t in c["tasks"]:
        if t["title"] != sys.argv[1]:
            print(json.dumps(t, sort_keys=True, ensure_ascii=False))' "$1" | sort; }
same_others() { diff <(echo "$1") <(others "$2"); }
export -f others same_others
# The box "left top right bottom" (screen pixels) where shots $1 and $2 differ: what opened.
opened_box() {
    convert "$ARTIFACTS/$1.png" "$ARTIFACTS/$2.png" -compose difference -composite \
        -threshold 4% -format '%@' info: |
        awk -F'[x+]' '{print $3, $4, $3 + $1 - 1, $4 + $2 - 1}'
}
# sweep BUTTON LEFT TOP RIGHT BOTTOM X...: presses at each X (offset from LEFT, negative from
# RIGHT) every 10 pixels down the box, inset by 6.
sweep() {
    local button=$1 left=$2 top=$3 right=$4 bottom=$5 offset x y
    shift 5
    for offset in "$@"; do
        if [ "$offset" -lt 0 ]; then x=$((right + offset)); else x=$((left + offset)); fi
        for ((y = top + 6; y <= bottom - 6; y += 10)); do
            xdotool mousemove "$x" "$y" click "$button"
            sleep 0.12
        done
    done
    sleep 0.5
}
press() { xdotool mousemove "$1" "$2" click 1; sleep 0.5; }

start_board --seed-demo --debug-frame
before=$(others 草稿)
park_pointer
shot input-board

# 1. The card with a draft: presses on its margins, gaps, labels and the lower part of the
# note box keep the draft and touch no row behind it. Tab leaves the title for the note.
key ctrl+n
xdotool type --delay 150 "草稿"
key Tab
xdotool type --delay 150 "备注"
park_pointer
shot input-card
read -r left top right bottom < <(opened_box input-board input-card)
sweep 1 "$left" "$top" "$right" "$bottom" 6 60 150 -6
sweep 3 "$left" "$top" "$right" "$bottom" 60 150
shot input-card-swept
# Its popovers: the list's and the reminder's, pressed along their rims.
for popover in list time; do
    # Opened and closed once first, so that the shots differ by the popover alone.
    for shown in closed open; do
        if [ $popover = list ]; then press $((right - 52)) $((bottom - 86)); else
            press $((right - 38)) $((bottom - 135)); fi
        [ $shown = closed ] && key Escape
        park_pointer
        shot input-$popover-$shown
    done
    read -r pl pt pr pb < <(opened_box input-$popover-closed input-$popover-open)
    sweep 1 "$pl" "$pt" "$pr" "$pb" 2 -2
    shot input-$popover-swept
    key Escape
done
key ctrl+Return
check "the draft survives presses all over the card" \
    wait_for 5 field_is demo 草稿 note '"备注"'
check "no task behind the card changed" same_others "$before" 草稿

# 2. The drawer of 预约牙医 (top of 本周), from its row's menu: presses on its margins, its
# title and its note stay on it; the note typed afterwards is the drawer's.
before=$(others 预约牙医)
open_drawer 470 103
shot input-drawer
# The card is 520 by 400, centred, for a short note.
left=$((X + (WIDTH - 520) / 2)) top=$((Y + (HEIGHT - 400) / 2))
right=$((left + 519)) bottom=$((top + 399))
sweep 1 "$left" "$top" "$right" "$bottom" 4 60 -4
sweep 3 "$left" "$top" "$right" "$bottom" 60
press $(((left + right) / 2)) $(((top + bottom) / 2))
xdotool type --delay 150 "备注"
shot input-drawer-swept
key Escape
check "the note typed after the presses is the drawer's" \
    wait_for 5 field_is demo 预约牙医 note '"备注"'
check "no task behind the drawer changed" same_others "$before" 预约牙医

# The card's ClearDot on the reminder of 健身房练背, opened from its row, then 保存.
click_at 852 262
card_right=$((X + WIDTH - 18)) card_bottom=$((Y + HEIGHT - 16))
press $((card_right - 32)) $((card_bottom - 132))
shot input-card-cleared
key ctrl+Return
check "the card's ClearDot leaves no reminder" \
    wait_for 5 field_is demo 健身房练背 reminderAt null

# 3. The drawer's schedule popover, where each way of clearing must stay cleared.
open_drawer 470 103
# The popover centres on the schedule button, which widens with its label: measured anew at
# each opening, against the same card without it. The button's right edge stays put.
open_schedule() {
    park_pointer
    shot input-schedule-closed
    press $((left + 456)) $((top + 30))
    park_pointer
    shot input-schedule-$1
    read -r pl pt pr pb < <(opened_box input-schedule-closed input-schedule-$1)
}
reminder_on() {
    open_schedule day
    press $((pl + 38)) $((pt + 63)) # 今天
    press $((pr - 29)) $((pt + 152)) # the switch
    key Escape
    open_schedule on
}
reminder_is() { field_is demo 预约牙医 reminderAt "$1"; }
local_time() { # the reminder of 预约牙医 as HH:MM here
    task_field demo 预约牙医 reminderAt | python3 -c '
import json, sys
from datetime import datetime
print(datetime.fromisoformat(json.load(sys.stdin).replace("Z", "+00:00")).astimezone().strftime("%H:%M"))'
}
export -f local_time

# 清除 once the 时间 field was clicked, then Escape.
reminder_on
press $((pr - 44)) $((pt + 187)) # 时间
press $((pl + 42)) $((pt + 279)) # 清除
key Escape
sleep 1
check "清除 after a click in 时间 leaves no reminder" reminder_is null
check "清除 leaves no day" field_is demo 预约牙医 dueDate null

# A time typed over the whole selection is taken; the switch then turns it off for good.
reminder_on
press $((pr - 44)) $((pt + 187))
key ctrl+a
xdotool type --delay 200 "2215"
sleep 0.5
shot input-time-typed
check "a time typed over the selection is taken" \
    wait_for 5 bash -c '[ "$(local_time)" = 22:15 ]'
press $((pr - 29)) $((pt + 152))
key Escape
sleep 1
check "the switch turned off leaves no reminder" reminder_is null
key Escape

e2e_finish
