#!/usr/bin/env bash
# The task drawer as a person uses it: the real binary under Xvfb, the drawer opened from a
# row's menu with the mouse, a formatted note typed with xdotool and its shortcuts, the
# outcome read back with `tavik --list --json`, across a quit and a restart. Then a note
# longer than the card, which scrolls inside it. Screenshots go to $TAVIK_ARTIFACTS.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

# The field FIELD of the task titled TITLE in the real store's backup, as JSON.
exported() { # exported TITLE FIELD
    "$TAVIK" --export | python3 -c '
import json, sys
print(json.dumps([t[sys.argv[2]] for t in json.load(sys.stdin)["tasks"] if t["title"] == sys.argv[1]]))' \
        "$1" "$2"
}
export -f exported

# The card's box in a screenshot, "left top right bottom" in screen pixels: the first and
# last pixels of card colour (lighter than anything of the dimmed board) down the window's
# middle, then across the middle of that run; "0 0 0 0" when there are none.
card_box() {
    python3 - "$ARTIFACTS/$1.png" "$X" "$Y" "$WIDTH" "$HEIGHT" <<'PY'
import subprocess, sys
shot = sys.argv[1]
x, y, width, height = (int(n) for n in sys.argv[2:])

def card_pixels(geometry):
    text = subprocess.run(["convert", shot, "-crop", geometry, "+repage", "txt:-"],
                          check=True, capture_output=True, text=True).stdout
    return [i for i, line in enumerate(text.splitlines()[1:])
            if all(float(v) >= 250 for v in line.split("(")[1].split(")")[0].split(",")[:3])]

down = card_pixels(f"1x{height}+{x + width // 2}+{y}")
if not down:
    print("0 0 0 0")
    sys.exit()
across = card_pixels(f"{width}x1+{x}+{y + (down[0] + down[-1]) // 2}")
# Those are the inside of the card's one-point border.
print(x + across[0] - 1, y + down[0] - 1, x + across[-1] + 1, y + down[-1] + 1)
PY
}
# card_fits SHOT HEIGHT: the card is 520 wide, HEIGHT high and centred in the window (each
# within 2 pixels).
near() { [ $(($1 - $2)) -ge -2 ] && [ $(($1 - $2)) -le 2 ]; }
card_fits() {
    local left top right bottom
    read -r left top right bottom < <(card_box "$1")
    echo "card in $1: x $((left - X))..$((right - X)), y $((top - Y))..$((bottom - Y))"
    near $((right - left + 1)) 520 && near $((bottom - top + 1)) "$2" &&
        near $((left - X)) $((X + WIDTH - 1 - right)) && near $((top - Y)) $((Y + HEIGHT - 1 - bottom))
}
# card_area SHOT note|header: as a crop geometry, inside the padding, the card's note (below
# the title and the divider) or its title row.
card_area() {
    local left top right bottom
    read -r left top right bottom < <(card_box "$1")
    if [ "$2" = note ]; then
        echo "$((right - left - 40))x$((bottom - top - 90))+$((left + 20))+$((top + 66))"
    else
        echo "$((right - left - 40))x40+$((left + 20))+$((top + 8))"
    fi
}
# Pixels that differ between the same GEOMETRY of two screenshots (anti-aliasing aside).
pixels_differ() { # pixels_differ SHOT_A SHOT_B GEOMETRY
    convert "$ARTIFACTS/$1.png" -crop "$3" +repage "$WORK/a.png"
    convert "$ARTIFACTS/$2.png" -crop "$3" +repage "$WORK/b.png"
    compare -metric AE -fuzz 8% "$WORK/a.png" "$WORK/b.png" null: 2>&1 || true
}
# No card in SHOT: nothing of card colour runs more than a few rows down where it would be.
card_gone() {
    local left top right bottom
    read -r left top right bottom < <(card_box "$1")
    [ $((bottom - top)) -lt 100 ]
}
fewer_than() { echo "  $1 pixels differ"; [ "$1" -lt "$2" ]; }
more_than() { echo "  $1 pixels differ"; [ "$1" -gt "$2" ]; }

# Inside the note editor: the middle of a short card is note.
click_note() { xdotool mousemove --window "$WIN" $((WIDTH / 2)) $((HEIGHT / 2)) click 1; sleep 0.3; }
typed() { xdotool type --delay 120 "$1"; }

# A store for the second half, imported before anything runs: a note of forty lines, taller
# than any card, and a note whose formatting data is damaged.
python3 - "$WORK/long.json" <<'PY'
import base64, json, sys
from datetime import date
year, week, _ = date.today().isocalendar()
runs = []
for i in range(1, 41):
    bullet = i % 5 == 0
    runs.append({"text": f"第 {i} 条", "bold": True, "bullet": bullet})
    runs.append({"text": f"：把这一件事写清楚，再往下看。" + ("\n" if i < 40 else ""),
                 "bullet": bullet})
rich = json.dumps({"runs": runs}, ensure_ascii=False).encode()
moment = "2025-01-06T09:00:00.000+01:00"
def task(title, note, data, sort, week_fields):
    return {"id": f"00000000-0000-4000-8000-00000000000{sort}", "title": title, "note": note,
            "noteData": base64.b64encode(data).decode(), "completed": False,
            "completedAt": None, "dueDate": None,
            "year": str(year) if week_fields else None,
            "week": str(week) if week_fields else None,
            "reminderAt": None, "scheduledExplicitly": False, "category": None,
            "sortIndex": str(sort), "createdAt": moment, "updatedAt": moment}
json.dump({"format": "tavik-board", "version": 1, "categories": [], "tasks": [
    task("长备注", "".join(r["text"] for r in runs), rich, 1, False),
    task("旧备注", "格式数据坏了\n文字还在", b"\x00\xff{runs", 2, True),
]}, open(sys.argv[1], "w"), ensure_ascii=False)
PY
check "the long-note store imports" "$TAVIK" --import "$WORK/long.json"

# 1. The demo board: the drawer of 预约牙医 (top of 本周) from its row's menu.
start_board --seed-demo --debug-frame
shot drawer-board
check "预约牙医 starts without a note" field_is demo 预约牙医 richNote null
open_drawer 470 103
shot drawer-open
check "详情 opens the card, 520 by 400, centred" card_fits drawer-open 400

# A plain part, a bold part and an italic part (each shortcut on and off), then a bulleted
# line begun with Ctrl+Shift+8.
click_note
typed "先问 "
key ctrl+b
typed "周三上午"
key ctrl+b
typed " 有没有空，"
key ctrl+i
typed "带上医保卡"
key ctrl+i
key Return
key ctrl+shift+8
typed "复查智齿"
sleep 0.3
shot drawer-typed
key Escape
shot drawer-closed
check "Escape takes the card away" card_gone drawer-closed
formatted='{"runs": [{"text": "先问 "}, {"text": "周三上午", "bold": true},
    {"text": " 有没有空，"}, {"text": "带上医保卡", "italic": true}, {"text": "\n"},
    {"text": "复查智齿", "bullet": true}]}'
check "the closed card's note is stored with its formatting" \
    wait_for 5 field_is demo 预约牙医 richNote "$formatted"

# 2. Quit and start again: the same drawer shows the same note.
quit_board
check "the formatting is in the store after quitting" field_is demo 预约牙医 richNote "$formatted"
start_board --seed-demo --debug-frame
open_drawer 470 103
shot drawer-reopened
check "the reopened card is the same size" card_fits drawer-reopened 400
area=$(card_area drawer-typed note)
# Only the caret of the typed card may differ.
check "the reopened note looks as it did when typed" \
    fewer_than "$(pixels_differ drawer-typed drawer-reopened "$area")" 150
check "the note as typed is no empty card" \
    more_than "$(pixels_differ drawer-open drawer-typed "$area")" 1000

# Quitting with the card still open stores what was typed into it.
click_note
key ctrl+End
typed "，顺便洗牙"
sleep 0.3
shot drawer-before-quit
quit_board
check "a note typed into an open card survives Ctrl+Q" field_is demo 预约牙医 richNote \
    '{"runs": [{"text": "先问 "}, {"text": "周三上午", "bold": true},
    {"text": " 有没有空，"}, {"text": "带上医保卡", "italic": true}, {"text": "\n"},
    {"text": "复查智齿，顺便洗牙", "bullet": true}]}'

# Hiding the board with the card open stores what was typed too, without a quit.
start_board --seed-demo --debug-frame
open_drawer 470 103
click_note
key ctrl+End
typed "，带牙刷"
sleep 0.3
key ctrl+w
check "hiding the board stores the open card's note" \
    wait_for 5 bash -c "board_json thisWeek | grep -qF '带牙刷'"
"$TAVIK" --toggle
wait_for 10 window_id
focus_board
quit_board

# 3. The imported store: a note taller than the window's limit scrolls inside the card.
long_rich=$(task_field real 长备注 richNote)
long_updated=$(exported 长备注 updatedAt)
start_board --debug-frame
open_drawer 110 103
xdotool mousemove --window "$WIN" $((WIDTH / 2)) $((HEIGHT / 2))
sleep 0.8
shot drawer-long
check "a long note grows the card to the window's height less 80, centred" \
    card_fits drawer-long $((HEIGHT - 80))
xdotool click --repeat 6 --delay 80 5
sleep 0.8
shot drawer-long-scrolled
check "the wheel scrolls the note" \
    more_than "$(pixels_differ drawer-long drawer-long-scrolled "$(card_area drawer-long note)")" 1000
check "the card stays where it was" card_fits drawer-long-scrolled $((HEIGHT - 80))
check "the title row does not scroll with the note" \
    fewer_than "$(pixels_differ drawer-long drawer-long-scrolled "$(card_area drawer-long header)")" 20
# A click beside the card closes it; the note it writes back is the one it read.
xdotool mousemove --window "$WIN" 60 $((HEIGHT - 40)) click 1
sleep 0.5
shot drawer-long-closed
check "a click outside takes the card away" card_gone drawer-long-closed
check "closing writes the long note back (a new updatedAt)" \
    wait_for 5 bash -c "[ \"\$(exported 长备注 updatedAt)\" != '$long_updated' ]"
check "the long note comes back from the editor as it went in" \
    field_is real 长备注 richNote "$long_rich"

# The damaged note opens as its plain text and goes back as that text, nothing lost.
open_drawer 470 103
shot drawer-damaged
key Escape
check "the damaged note returns as its plain text" \
    wait_for 5 field_is real 旧备注 richNote '{"runs": [{"text": "格式数据坏了\n文字还在"}]}'
check "and its plain note is unchanged" field_is real 旧备注 note '"格式数据坏了\n文字还在"'
quit_board

e2e_finish
