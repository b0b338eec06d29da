#!/usr/bin/env bash
# The cloud mirror as a person meets it: the real binary under Xvfb, a real Radicale on
# loopback with a password file, and a real gnome-keyring for the password. The account is
# connected through the settings form; a task made on the board reaches the server, and one
# put there by python3-caldav reaches the board and the tray count after `tavik --sync`,
# which the board runs.
# Then the section's states: off, active, an unreachable server, and a password the keyring
# lost (the account stays; the password is typed again). Screenshots go to $TAVIK_ARTIFACTS.
# Usage: sync_e2e.sh TAVIK_BINARY    (lib.sh adds the session bus)
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

PASSWORD='e2e pässword'
eval "$(printf pw | gnome-keyring-daemon --unlock --components=secrets --daemonize)"
export GNOME_KEYRING_CONTROL

# Radicale with a plain password file, so a wrong password would be a real 401.
PORT=$(/usr/bin/python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
mkdir -p "$WORK/radicale"
printf 'alice:%s\n' "$PASSWORD" >"$WORK/radicale/users"
cat >"$WORK/radicale/config" <<CONF
[server]
hosts = 127.0.0.1:$PORT
[auth]
type = htpasswd
htpasswd_filename = $WORK/radicale/users
htpasswd_encryption = plain
[storage]
filesystem_folder = $WORK/radicale/collections
[rights]
type = owner_only
CONF
start_radicale() {
    spawn "$WORK/radicale.log" /usr/bin/radicale --config "$WORK/radicale/config"
    RADICALE=$PID
    wait_for 15 bash -c "exec 3<>/dev/tcp/127.0.0.1/$PORT" 2>/dev/null
}
check "Radicale listens" start_radicale
SERVER="http://127.0.0.1:$PORT/"

# What the server holds, through a third-party client: the summaries of every VTODO.
server_titles() {
    /usr/bin/python3 - "$SERVER" "$PASSWORD" <<'PY'
import caldav, sys
client = caldav.DAVClient(sys.argv[1], username="alice", password=sys.argv[2])
for calendar in client.principal().calendars():
    for todo in calendar.todos(include_completed=True):
        print(todo.icalendar_component.get("summary"))
PY
}
server_put() { # server_put TITLE: a new VTODO due today in the board's collection for tasks
    /usr/bin/python3 - "$SERVER" "$PASSWORD" "$1" <<'PY'
import caldav, datetime, sys
client = caldav.DAVClient(sys.argv[1], username="alice", password=sys.argv[2])
calendar = next(c for c in client.principal().calendars() if c.url.path.rstrip("/").endswith("tavik"))
calendar.save_todo(summary=sys.argv[3], due=datetime.date.today())
PY
}
on_server() { server_titles 2>/dev/null | grep -qxF "$1"; }
server_put_reminder() { # server_put_reminder TITLE EPOCH: due today, an alarm at EPOCH
    /usr/bin/python3 - "$SERVER" "$PASSWORD" "$1" "$2" <<'PY'
import caldav, datetime, sys, uuid
client = caldav.DAVClient(sys.argv[1], username="alice", password=sys.argv[2])
calendar = next(c for c in client.principal().calendars() if c.url.path.rstrip("/").endswith("tavik"))
at = datetime.datetime.fromtimestamp(int(sys.argv[4]), datetime.timezone.utc)
now = datetime.datetime.now(datetime.timezone.utc)
calendar.save_todo("\r\n".join([
    "BEGIN:VCALENDAR", "VERSION:2.0", "PRODID:-//e2e//python3-caldav//EN", "BEGIN:VTODO",
    f"UID:{uuid.uuid4()}", now.strftime("DTSTAMP:%Y%m%dT%H%M%SZ"), f"SUMMARY:{sys.argv[3]}",
    datetime.date.today().strftime("DUE;VALUE=DATE:%Y%m%d"), "BEGIN:VALARM", "ACTION:DISPLAY",
    f"DESCRIPTION:{sys.argv[3]}", at.strftime("TRIGGER;VALUE=DATE-TIME:%Y%m%dT%H%M%SZ"),
    "END:VALARM", "END:VTODO", "END:VCALENDAR", ""]))
PY
}
server_complete() { # server_complete TITLE, as the other client's tick box does
    /usr/bin/python3 - "$SERVER" "$PASSWORD" "$1" <<'PY'
import caldav, sys
client = caldav.DAVClient(sys.argv[1], username="alice", password=sys.argv[2])
calendar = next(c for c in client.principal().calendars() if c.url.path.rstrip("/").endswith("tavik"))
next(t for t in calendar.todos() if t.icalendar_component.get("summary") == sys.argv[3]).complete()
PY
}
reminder_waits() { [[ " $(pending_triggers) " == *" $1 "* ]]; }
completed_on_board() {
    "$TAVIK" --list --json | /usr/bin/python3 -c '
import json, sys
tasks = [t for c in json.load(sys.stdin)["columns"] for t in c["tasks"]]
sys.exit(not any(t["title"] == sys.argv[1] and t["completed"] for t in tasks))' "$1"
}

on_board() { "$TAVIK" --list --json | grep -qF "\"title\": \"$1\""; }
# The tray icon's tool tip ("Tavik — 今天 N"), read over D-Bus as a panel reads it: the
# watcher (tray_watcher.py) holds the item's bus name.
tray_tip() {
    local item
    item=$(gdbus call --session --dest org.kde.StatusNotifierWatcher --object-path /StatusNotifierWatcher \
        --method org.freedesktop.DBus.Properties.Get org.kde.StatusNotifierWatcher \
        RegisteredStatusNotifierItems | grep -o "'[^']*'" | tail -n1 | tr -d "'")
    [ -n "$item" ] && gdbus call --session --dest "${item%%/*}" --object-path /StatusNotifierItem \
        --method org.freedesktop.DBus.Properties.Get org.kde.StatusNotifierItem ToolTip |
        grep -o 'Tavik[^'"'"']*'
}
keyring_holds_password() { [ "$(secret-tool lookup user caldav_password server dev.orlen.tavik)" = "$PASSWORD" ]; }
ini="$XDG_CONFIG_HOME/tavik/tavik.ini"
export -f server_titles on_server on_board keyring_holds_password tray_tip pending_triggers
export -f reminder_waits completed_on_board
export SERVER PASSWORD

settings_window() {
    local id
    id=$(xdotool search --onlyvisible --name '^Tavik 通用$' 2>/dev/null | head -n1)
    [ -n "$id" ] && echo "$id"
}
settings_shown() { settings_window >/dev/null; }
settings_shot() { import -window "$(settings_window)" "$ARTIFACTS/sync-$1.png"; }
open_settings() {
    focus_board
    key ctrl+comma
    check "the settings window opens on 通用" wait_for 10 settings_shown
    xdotool windowfocus --sync "$(settings_window)" 2>/dev/null || true
    sleep 1
}

# A panel's tray watcher, on the bus before the board looks for one.
spawn "$WORK/tray.log" /usr/bin/python3 "$(dirname "$0")/tray_watcher.py"
check "a tray watcher is on the session bus" wait_for 10 bash -c \
    "gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
        --method org.freedesktop.DBus.NameHasOwner org.kde.StatusNotifierWatcher | grep -q true"
# A notification server, so that the board may schedule reminders at all.
spawn "$WORK/dunst.log" dunst
check "dunst is on the session bus" wait_for 10 bash -c \
    "gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
        --method org.freedesktop.DBus.NameHasOwner org.freedesktop.Notifications | grep -q true"
start_board
open_settings
settings_shot off

# The form: the caret waits in the server field; Tab walks to user and password; Return
# connects, which runs discovery first.
xdotool type --delay 40 "$SERVER"
key Tab
xdotool type --delay 40 alice
key Tab
xdotool type --delay 40 "$PASSWORD"
key Return
check "the account is kept in the preferences" \
    wait_for 20 grep -qF "serverUrl=$SERVER" "$ini"
check "the password is in the Secret Service" keyring_holds_password
check "the password is nowhere in the preferences" bash -c "! grep -qF 'pässword' '$ini'"
check "the first sync makes the board's collection" wait_for 30 bash -c \
    "/usr/bin/python3 -c \"import caldav,sys; c=caldav.DAVClient('$SERVER',username='alice',password=sys.argv[1]); sys.exit(not any(x.url.path.rstrip('/').endswith('tavik') for x in c.principal().calendars()))\" \"\$PASSWORD\""
sleep 1
settings_shot active
key ctrl+w
check "Ctrl+W closes the settings" wait_for 5 bash -c '! xdotool search --onlyvisible --name "^Tavik 通用$" >/dev/null' 

# A task made on the board goes up a few seconds after its save.
focus_board
key ctrl+n
sleep 0.5
xdotool type --delay 150 "买火车票"
key Return
check "a task made on the board appears on the server" wait_for 40 on_server 买火车票

# A task made by another client comes down with the next sync, which the running board does.
today_before=$(tray_tip | grep -o '[0-9][0-9]*$' || echo 0)
check "python3-caldav puts a task on the server" server_put 从服务器来的任务
"$TAVIK" --sync >"$WORK/sync-forward.out" 2>"$WORK/sync-forward.err"
check "tavik --sync waits for the running board's sync, with its steps and sum" bash -c \
    "grep -q 'down 1 tasks' '$WORK/sync-forward.out' && grep -q import '$WORK/sync-forward.err'"
check "the server's task is on the board when it returns" on_board 从服务器来的任务
check "the tray counts it among today's tasks (was $today_before)" \
    wait_for 5 bash -c "tray_tip | grep -qx 'Tavik — 今天 $((today_before + 1))'"
shot board-after-sync

# A reminder set on another client waits on the board; completed there, the next sync takes
# the task off the columns and withdraws the reminder.
alarm=$(( $(date +%s) / 60 * 60 + 3600 ))
check "python3-caldav puts a task with a reminder in an hour" server_put_reminder 带提醒的任务 "$alarm"
"$TAVIK" --sync >/dev/null 2>&1
check "its reminder waits on the board" wait_for 5 reminder_waits "$alarm"
check "python3-caldav completes it" server_complete 带提醒的任务
"$TAVIK" --sync >/dev/null 2>&1
check "the board has it completed" completed_on_board 带提醒的任务
check "and its reminder is withdrawn" wait_for 5 bash -c "! reminder_waits $alarm"

# The server goes away: the next sync fails and says why, there and in the section.
stop "$RADICALE"
"$TAVIK" --sync >/dev/null 2>"$WORK/sync-away.err" && away=0 || away=$?
check "tavik --sync through the board exits 1 with the reason" \
    bash -c "[ $away = 1 ] && grep -q 'sync failed' '$WORK/sync-away.err'"
open_settings
sleep 3
check "the board keeps its tasks while the server is away" on_board 从服务器来的任务
settings_shot error
quit_board

# No password in the keyring at launch: the board opens local and says why; the account stays.
secret-tool clear user caldav_password server dev.orlen.tavik
check "Radicale comes back" start_radicale
start_board
open_settings
settings_shot unavailable
check "a missing password at launch leaves the account in place" grep -qF "serverUrl=$SERVER" "$ini"
check "the board is still there" on_board 买火车票
# The caret waits in the password field; the password typed again reconnects at once.
xdotool type --delay 40 "$PASSWORD"
key Return
check "the password typed again goes to the Secret Service" wait_for 20 keyring_holds_password
server_put 重新输入密码后的任务
check "and syncs again without a restart" bash -c '"$TAVIK" --sync >/dev/null && on_board 重新输入密码后的任务'
settings_shot password-again

# --connect from a terminal stores the account as the form does, and the running board
# follows at once: it connects and fetches what the server holds.
server_put 连接后来的任务
printf '%s\n' "$PASSWORD" | "$TAVIK" --connect "$SERVER" alice >"$WORK/connect.log" 2>&1
check "tavik --connect finds the calendars" grep -q "已连接" "$WORK/connect.log"
check "the running board connects at once" wait_for 30 on_board 连接后来的任务
quit_board

# Without a board, --sync runs one sync itself.
check "python3-caldav puts another task" server_put 命令行同步来的任务
"$TAVIK" --sync >"$WORK/sync.out" 2>"$WORK/sync.err"
check "tavik --sync sums up what came down" grep -q "down 1 tasks" "$WORK/sync.out"
check "and the task is on the board" on_board 命令行同步来的任务
# The self-test runs each CalDAV step the mirror needs against the account, one line each,
# and leaves no probe behind.
export TAVIK_CK_SELFTEST=1
spawn "$WORK/selftest.log" "$TAVIK" --background
unset TAVIK_CK_SELFTEST
SELFTEST=$PID
selftest_done() { grep -q 'zoneChanges ' "$WORK/selftest.log" && grep -q 'recordSave ' "$WORK/selftest.log"; }
check "the self-test reports every step" wait_for 30 selftest_done
for step in 'accountStatus=1 error=nil' 'userRecordID=/alice/ error=nil' 'zoneSave OK' \
    'recordSave OK' 'dbChanges OK' 'zoneChanges OK' 'subscriptionSave OK (no CalDAV'; do
    check "self-test: $step" grep -qF "[CK-SELFTEST] $step" "$WORK/selftest.log"
done
check "the self-test's sync is logged as events" wait_for 20 grep -q 'EVENT type=2 ok=true' "$WORK/selftest.log"
stop "$SELFTEST"
cp "$WORK/selftest.log" "$ARTIFACTS/sync-selftest.log"
check "no probe is left on the server" bash -c 'titles=$(server_titles) && ! grep -qx probe <<<"$titles"'
printf 'wrong\n' | "$TAVIK" --connect "$SERVER" alice >"$WORK/wrong.log" 2>&1 && wrong=0 || wrong=$?
check "a wrong password is refused with exit 1" [ "$wrong" = 1 ]
check "and leaves the stored password alone" keyring_holds_password
"$TAVIK" --disconnect >"$WORK/disconnect.log" 2>&1
check "tavik --disconnect forgets the account" bash -c "! grep -q serverUrl '$ini'"
check "and keeps the board" on_board 命令行同步来的任务
stop "$RADICALE"
"$TAVIK" --sync >/dev/null 2>"$WORK/nosync.err" && nosync=0 || nosync=$?
check "--sync without an account fails with the reason" \
    bash -c "[ $nosync = 1 ] && grep -q 'no sync account' '$WORK/nosync.err'"

e2e_finish
