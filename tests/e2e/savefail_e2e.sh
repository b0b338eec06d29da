#!/usr/bin/env bash
# A store that cannot be written while the board runs: another process holds SQLite's write
# lock. The first failing save shows the alert, a second one does not stack another, the
# board goes on working, and once the lock is gone the next save writes every change.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

STORE=$XDG_DATA_HOME/tavik/tavik-demo.store

start_board --seed-demo --debug-frame
check "the demo store is on disk" test -s "$STORE"

# The alert is titled like the board: it is any other visible window of that title.
alert_ids() { xdotool search --onlyvisible --name '^Tavik$' 2>/dev/null | grep -vx "$WIN" || true; }
alert_count() { alert_ids | grep -c . || true; }
failed_saves() { grep -c 'save FAILED' "$WORK/tavik.log" || true; }
alert_shown() { [ "$(alert_count)" -ge 1 ]; }
alert_gone() { [ "$(alert_count)" -eq 0 ]; }

# Holds an exclusive write transaction until its stdin closes. /usr/bin/python3: the one
# on PATH may be another interpreter.
exec 6> >(exec /usr/bin/python3 -c '
import sqlite3, sys
db = sqlite3.connect(sys.argv[1], isolation_level=None)
db.execute("BEGIN EXCLUSIVE")
open(sys.argv[2], "w").write("locked\n")
sys.stdin.read()
' "$STORE" "$WORK/locked")
LOCKER=$!
E2E_PIDS+=("$LOCKER")
check "another process holds the store's write lock" wait_for 10 test -s "$WORK/locked"

# 1. Ctrl+Return completes the focused task: the save fails and the alert comes up once.
first_today=$(titles today | sed -n 1p)
park_pointer
key Down
key ctrl+Return
check "a failing save shows the alert" wait_for 10 alert_shown
sleep 0.5
shot savefail-alert
check "exactly one alert" test "$(alert_count)" -eq 1
check "the alert names the failure" grep -q 'save FAILED after tasksChanged' "$WORK/tavik.log"
check "nothing reached the store while it was locked" bash -c "! titles done | grep -qxF '$first_today'"

# The user answers 好.
xdotool windowfocus --sync "$(alert_ids | head -n1)" 2>/dev/null || true
xdotool key Return
check "好 closes the alert" wait_for 5 alert_gone

# 2. A second change while the store is still locked: the save fails again, without a
# second alert, and the board keeps taking input.
focus_board
sleep 0.3
before=$(failed_saves)
key ctrl+n
sleep 0.5
xdotool type --delay 250 "修自行车"
key Return
more_failures() { [ "$(failed_saves)" -gt "$before" ]; }
check "the second change is tried and fails" wait_for 10 more_failures
sleep 1.5
shot savefail-second
check "no second alert for the same run of failures" alert_gone
check "the new task is not on disk yet" bash -c "! titles later | grep -qxF '修自行车'"
check "the board process lives" kill -0 "$APP"

# 3. The lock goes; the next save (the window's activation) writes both changes.
exec 6>&-
wait "$LOCKER" 2>/dev/null || true
refocus_board
check "after the lock goes, the completion reaches the store" \
    wait_for 10 bash -c "titles done | grep -qxF '$first_today'"
check "and so does the task created meanwhile" bash -c "titles later | grep -qxF '修自行车'"
check "the log says the save recovered" grep -q 'save recovered after tasksChanged' "$WORK/tavik.log"
shot savefail-recovered

# Quitting and reading the store again finds the same board.
quit_board
check "the store still has both changes after quitting" \
    bash -c "titles done | grep -qxF '$first_today' && titles later | grep -qxF '修自行车'"

e2e_finish
