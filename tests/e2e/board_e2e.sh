#!/usr/bin/env bash
# The board as a person meets it: the real binary in a real X window (Xvfb), driven with
# xdotool, checked through `tavik --list --json`. Screenshots go to $TAVIK_ARTIFACTS.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

start_board --seed-demo --debug-frame
shot board-light

# Keyboard: the first arrow only lights a row (the first of 今天), the next moves the focus.
second_today=$(titles today | sed -n 2p)
park_pointer
key Down
key Down
key ctrl+Left
check "Ctrl+Left moves the focused task to the top of 本周" \
    wait_for 5 bash -c "[ \"\$(titles thisWeek | sed -n 1p)\" = '$second_today' ]"
shot after-move

# Ctrl+Return completes the focused task; it leaves its column after 0.3 s.
key ctrl+Return
check "Ctrl+Return completes the task" \
    wait_for 5 bash -c "titles done | grep -qxF '$second_today'"
check "the completed task has left 本周" bash -c "! titles thisWeek | grep -qxF '$second_today'"

# Ctrl+N, a Chinese title typed into the field, "明天" picked in the day row, Return: the
# task lands on tomorrow, which is in 本周 unless today is Sunday (then next week, 稍后).
tomorrow=$(date -d tomorrow +%F)
if [ "$(date +%u)" = 7 ]; then tomorrow_column=later; else tomorrow_column=thisWeek; fi
key ctrl+n
sleep 0.5
xdotool type --delay 250 "整理书架"
sleep 0.3
shot dialog-typed
# The chip takes the focus from the title; Ctrl+N gives it back, so Return submits there.
click_at 1057 523
shot dialog-tomorrow
key ctrl+n
key Return
check "a task created for 明天 lands in $tomorrow_column" \
    wait_for 5 bash -c "titles $tomorrow_column | grep -qxF '整理书架'"
check "its day is tomorrow, $tomorrow" \
    bash -c '[ "$(task_field demo 整理书架 dueDate | cut -c2-11)" = "$0" ]' "$tomorrow"
shot after-create

# A list made with the strip's plus (a name, Return) and removed with its tab's menu. Lists
# reach the store with the next save, which window activation brings.
click_at 361 54
sleep 0.5
xdotool type --delay 200 "旅行"
sleep 0.3
shot list-create-popover
key Return
refocus_board
shot list-created
check "the strip's plus creates the list 旅行" wait_for 5 bash -c "list_names | grep -qxF '旅行'"
# The new tab is the third swatch; its menu opens where the pointer pressed.
xdotool mousemove --window "$WIN" 334 54 click 3
sleep 0.5
shot list-tab-menu
click_at 374 71
refocus_board
shot list-deleted
check "删除清单 in the tab's menu deletes 旅行" \
    wait_for 5 bash -c "! list_names | grep -qxF '旅行'"
check "the other lists stay" bash -c '[ "$(list_names | sort | tr "\n" " ")" = "个人 工作 " ]'

# Ctrl+W closes the window; the process stays; `tavik --toggle` brings it back.
focus_board
key ctrl+w
check "Ctrl+W hides the board" wait_for 5 board_hidden
check "the process lives on in the tray" kill -0 "$APP"
"$TAVIK" --toggle
check "tavik --toggle shows the board again" wait_for 10 window_id
shot after-toggle

# The same board in the dark appearance, for a person to look at.
stop "$APP"
TAVIK_APPEARANCE=dark start_board --seed-demo --debug-frame
park_pointer
shot board-dark

e2e_finish
