#!/usr/bin/env bash
# Reminders on a real notification server: dunst on the private session bus and our own X
# display. Three tasks remind at the start of the coming minute; each notification is
# answered the way a person answers dunst (its context menu, a click), and
# `tavik --list --json` shows what became of the task. Screenshots go to $TAVIK_ARTIFACTS.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"
HERE=$(cd "$(dirname "$0")" && pwd)
MENU=$WORK/menu
mkdir -p "$MENU"

# --- dunst, large enough to read, showing the action indicator ----------------------------------

cat >"$WORK/dunstrc" <<EOF
[global]
    font = "Noto Sans CJK SC 15"
    width = 560
    height = 200
    origin = top-right
    offset = 30x30
    frame_width = 2
    markup = full
    format = "<b>%s</b>\n%b"
    show_indicators = yes
    stack_duplicates = false
    dmenu = $HERE/menu_pick.sh $MENU
    mouse_left_click = do_action, close_current
    mouse_middle_click = none
    mouse_right_click = none
[urgency_normal]
    background = "#ffffff"
    foreground = "#1c2024"
    timeout = 0
EOF
spawn "$WORK/dunst.log" dunst -config "$WORK/dunstrc"
# Asked before dunst owns the name, dunstctl would have the bus start another one.
server_up() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.NameHasOwner string:org.freedesktop.Notifications 2>/dev/null |
        grep -q 'boolean true'
}
check "dunst owns the notification name" wait_for 10 server_up
displayed_is() { [ "$(dunstctl count displayed)" = "$1" ]; }

# --- a store whose reminders all fall in the coming minute --------------------------------------

# The trigger is the start of the reminder's minute. With at least 8 s of lead Tavik is up and
# waiting on its timer when the minute begins; the reminders themselves lie 20 s into it.
read -r MINUTE REMINDER < <(/usr/bin/python3 -c '
import time
now = time.time()
start = (int(now) // 60 + 1) * 60
if start - now < 8:
    start += 60
print(start, start + 20)')
iso() { date -u -d "@$1" +%Y-%m-%dT%H:%M:%SZ; }
TODAY=$(date -d 'today 00:00' --iso-8601=seconds)
CALL=0b9f2a3e-5c1d-4e8a-9f00-000000000001
RENT=0b9f2a3e-5c1d-4e8a-9f00-000000000002
PARCEL=0b9f2a3e-5c1d-4e8a-9f00-000000000003
LIST=0b9f2a3e-5c1d-4e8a-9f00-0000000000aa
task_json() { # task_json ID TITLE SORT
    cat <<EOF
{"id": "$1", "title": "$2", "note": "", "noteData": "", "category": "$LIST",
 "completed": false, "completedAt": null, "createdAt": "$(iso $((MINUTE - 3600)))",
 "updatedAt": "$(iso $((MINUTE - 3600)))", "dueDate": "$TODAY", "reminderAt": "$(iso "$REMINDER")",
 "scheduledExplicitly": true, "sortIndex": "$3", "week": null, "year": null}
EOF
}
cat >"$WORK/board.json" <<EOF
{"format": "tavik-board", "version": 1,
 "categories": [{"id": "$LIST", "name": "个人", "colorHex": "46A758", "sortIndex": "1",
                 "createdAt": "$(iso $((MINUTE - 3600)))"}],
 "tasks": [$(task_json $CALL 给妈妈打电话 3), $(task_json $RENT 交房租 2), $(task_json $PARCEL 取快递 1)]}
EOF
check "the board is imported" "$TAVIK" --import "$WORK/board.json"

# field ID NAME: one field of one task as the command line reads the store; moments as epoch
# seconds, so that the zone the command prints them in doesn't matter.
field() {
    "$TAVIK" --list --json | /usr/bin/python3 -c '
import json, sys
from datetime import datetime
tasks = [t for c in json.load(sys.stdin)["columns"] for t in c["tasks"]]
value = next((t[sys.argv[2]] for t in tasks if t["id"] == sys.argv[1]), "missing")
if sys.argv[2] in ("reminderAt", "dueDate", "completedAt") and value not in (None, "missing"):
    value = int(datetime.fromisoformat(value.replace("Z", "+00:00")).timestamp())
print(value)' "$1" "$2"
}
field_is() { [ "$(field "$1" "$2")" = "$3" ]; }
pending_is() { [ "$(pending_triggers)" = "$1" ]; }

# --- Tavik in the tray waits for the minute ------------------------------------------------------

spawn "$WORK/tavik.log" "$TAVIK" --background
check "three requests wait for the start of the minute" \
    wait_for 5 pending_is "$MINUTE $MINUTE $MINUTE"
check "nothing is shown before the minute" displayed_is 0
check "the board stays hidden in the background" board_hidden

wait_seconds=$((MINUTE - $(date +%s) + 5))
echo "waiting up to $wait_seconds s for $(date -d "@$MINUTE" +%H:%M:%S)"
check "three notifications reach dunst at the minute" wait_for "$wait_seconds" displayed_is 3
shown_at=$(date +%s)
check "they came at the minute, not early" [ "$shown_at" -ge "$MINUTE" ]
check "they came at the minute, not at the reminder" [ "$shown_at" -lt "$REMINDER" ]
check "none was held for later" pending_is ""
sleep 1
shot reminder-notifications

# --- 完成 from dunst's context menu --------------------------------------------------------------
# dunst lists every action of every notification on screen, one line each:
# "#完成 (给妈妈打电话) [1,COMPLETE]"; the stand-in for dmenu picks the line.

echo "#完成 (给妈妈打电话)" >"$MENU/choice"
dunstctl context
check "完成 completes the task" wait_for 10 field_is $CALL completed True
offers_all_actions() { # offers_all_actions TITLE
    local label
    for label in 完成 "10 分钟后提醒" "1 小时后提醒" 今晚 明天; do
        grep -qF -- "#$label ($1)" "$MENU/offered" || return 1
    done
}
for task in 给妈妈打电话 交房租 取快递; do
    check "the menu offers the five actions for $task" offers_all_actions "$task"
done
check "its notification leaves the screen" wait_for 5 displayed_is 2
check "the others are untouched" field_is $RENT reminderAt "$REMINDER"
sleep 0.5
shot reminder-after-complete

# --- 10 分钟后提醒 ---------------------------------------------------------------------------------

echo "#10 分钟后提醒 (交房租)" >"$MENU/choice"
before_snooze=$(date +%s)
dunstctl context
reminder_moved() { ! field_is $RENT reminderAt "$REMINDER"; }
check "10 分钟后提醒 moves the reminder" wait_for 10 reminder_moved
after_snooze=$(date +%s)
snoozed_to=$(field $RENT reminderAt)
echo "snoozed to $(date -d "@$snoozed_to" +%H:%M:%S)"
between() { [ "$1" -ge "$2" ] && [ "$1" -le "$3" ]; }
check "the reminder is ten minutes after the answer" \
    between "$snoozed_to" $((before_snooze + 600)) $((after_snooze + 600))
check "the snoozed task stays open" field_is $RENT completed False
check "a new request waits for the snoozed minute" \
    wait_for 5 pending_is "$((snoozed_to - snoozed_to % 60))"
check "its notification leaves the screen" wait_for 5 displayed_is 1
check "the board stayed hidden through both answers" board_hidden

# --- a click on the last notification opens the board --------------------------------------------

eval "$(xdotool getwindowgeometry --shell "$(xdotool search --class Dunst | head -n1)")"
xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT / 2)) click 1
check "a click on the notification opens the board" wait_for 10 board_shown
check "the clicked notification is gone" wait_for 5 displayed_is 0
check "a click leaves the task open" field_is $PARCEL completed False
check "a click leaves its reminder" field_is $PARCEL reminderAt "$REMINDER"
park_pointer
sleep 0.7
shot reminder-board-opened
cp "$MENU/offered" "$ARTIFACTS/reminder-menu.txt"

e2e_finish
