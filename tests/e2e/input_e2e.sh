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
# The pointer leaves the window so that hover does not differ between shots.
pointer_away() { xdotool mousemove 1395 895; sleep 0.4; }

start_board --seed-demo --debug-frame
before=$(others 草稿)
pointer_away
shot input-board

# 1. The card with a draft: presses on its margins, gaps, labels and the lower part of the
# note box keep the draft and touch no row behind it. Tab leaves the title for the note.
key ctrl+n
xdotool type --delay 150 "草稿"
key Tab
xdotool type --delay 150 "备注"
pointer_away
shot input-card
read -r left top right bottom < <(opened_box input-board input-card)
echo "card at $left,$top .. $right,$bottom"
sweep 1 "$left" "$top" "$right" "$bottom" 6 60 150 -6
sweep 3 "$left" "$top" "$right" "$bottom" 60 150
shot input-card-swept
key ctrl+Return
check "the draft survives presses all over the card" \
    wait_for 5 field_is demo 草稿 note '"备注"'
check "no task behind the card changed" same_others "$before" 草稿

e2e_finish
