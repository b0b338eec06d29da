# Shared ground of the end-to-end scripts: a private home, a display of our own (Xvfb),
# check/wait helpers and screenshots. A script starts with
#
#   source "$(dirname "$0")/lib.sh" "$@"
#
# which runs the script again on a private session bus, then sets TAVIK (the first argument),
# WORK (the private home), ARTIFACTS and DISPLAY. Call `e2e_finish` last; its status is the
# script's.

if [ -z "${TAVIK_E2E_INNER:-}" ]; then
    export TAVIK_E2E_INNER=1
    exec dbus-run-session -- "$0" "$@"
fi

TAVIK=$(readlink -f "$1")
ARTIFACTS=${TAVIK_ARTIFACTS:-$PWD/artifacts/e2e}
mkdir -p "$ARTIFACTS"
WORK=$(mktemp -d)
export HOME=$WORK XDG_DATA_HOME=$WORK/share XDG_CONFIG_HOME=$WORK/config
export XDG_RUNTIME_DIR=$WORK/run XDG_CACHE_HOME=$WORK/cache
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
export TZ=${TZ:-Europe/Berlin} QT_QPA_PLATFORM=xcb
export TAVIK
# A board that crashes leaves a core beside its log (core_pattern "core", cwd $WORK).
ulimit -c unlimited 2>/dev/null || true

passed=0
failed=0
check() { # check NAME COMMAND...
    local name=$1
    shift
    if "$@"; then
        echo "PASS: $name"
        passed=$((passed + 1))
    else
        echo "FAIL: $name"
        failed=$((failed + 1))
    fi
}

# Processes to stop on exit, besides the display.
E2E_PIDS=()

exec 5> >(cat >"$WORK/displayfd")
Xvfb -displayfd 5 -screen 0 1400x900x24 -nolisten tcp -noreset >"$WORK/xvfb.log" 2>&1 &
XVFB=$!
for _ in $(seq 50); do [ -s "$WORK/displayfd" ] && break; sleep 0.1; done
export DISPLAY=:$(head -n1 "$WORK/displayfd")
exec 5>&-

e2e_cleanup() {
    local pid
    for pid in "${E2E_PIDS[@]}"; do kill "$pid" 2>/dev/null || true; done
    kill "$XVFB" 2>/dev/null || true
    # Only our own children: a bare `wait` would also wait for the display-number reader.
    wait "${E2E_PIDS[@]}" "$XVFB" 2>/dev/null || true
    # A failed run keeps what the boards said, and any core they left, for the post-mortem.
    if [ "$failed" -ne 0 ]; then
        local kept="$ARTIFACTS/$(basename "$0" .sh)-$$"
        mkdir -p "$kept"
        cp "$WORK"/*.log "$WORK"/core* "$kept"/ 2>/dev/null || true
        echo "logs of the failed run: $kept"
    fi
    rm -rf "$WORK"
}
trap e2e_cleanup EXIT

# Every log a board of this run wrote; any QML warning in one fails the run.
BOARD_LOGS=()
qml_quiet() {
    local log found=0
    for log in "${BOARD_LOGS[@]}"; do
        [ -f "$log" ] || continue
        if grep -E '\.qml:[0-9]+|Binding loop' "$log"; then found=1; fi
    done
    [ "$found" -eq 0 ]
}

e2e_finish() {
    check "no QML warning in the board's log" qml_quiet
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
}

board_json() { "$TAVIK" --seed-demo --list "$1" --json; }
# Titles of one column (or "done"), top to bottom.
titles() { board_json "$1" | python3 -c 'import json,sys; print("\n".join(t["title"] for t in json.load(sys.stdin)["columns"][0]["tasks"]))' 2>/dev/null; }
# task_field STORE TITLE FIELD: as JSON, one field of the task titled TITLE (any column) in
# the demo store ("demo") or the real one ("real"); "missing" unless exactly one has the title.
task_field() {
    local store=()
    [ "$1" = demo ] && store=(--seed-demo)
    "$TAVIK" "${store[@]}" --list --json | python3 -c '
import json, sys
tasks = [t for c in json.load(sys.stdin)["columns"] for t in c["tasks"] if t["title"] == sys.argv[1]]
print(json.dumps(tasks[0].get(sys.argv[2], "absent") if len(tasks) == 1 else "missing"))' "$2" "$3"
}
field_is() { # field_is STORE TITLE FIELD JSON
    python3 -c 'import json, sys; sys.exit(json.loads(sys.argv[1]) != json.loads(sys.argv[2]))' \
        "$(task_field "$1" "$2" "$3")" "$4"
}
export -f titles board_json task_field field_is
shot() { import -window root "$ARTIFACTS/$1.png"; }
# Fails while there is none, so that waiting for it waits.
window_id() {
    local id
    id=$(xdotool search --onlyvisible --name '^Tavik$' 2>/dev/null | head -n1)
    [ -n "$id" ] && echo "$id"
}
board_shown() { [ -n "$(window_id)" ]; }
board_hidden() { [ -z "$(window_id)" ]; }
# Trigger moments of the board's waiting reminders (the notification center's own file), as
# sorted epoch seconds on one line.
pending_triggers() {
    /usr/bin/python3 -c '
import json, sys
from datetime import datetime
pending = json.load(open(sys.argv[1]))["pending"]
moments = (datetime.fromisoformat(r["trigger"].replace("Z", "+00:00")) for r in pending)
print(" ".join(str(int(m.timestamp())) for m in sorted(moments)))' \
        "$XDG_DATA_HOME/tavik/pending-notifications.json" 2>/dev/null
}
wait_for() { # wait_for SECONDS COMMAND...
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -ge $deadline ] && return 1
        sleep 0.2
    done
}
key() { xdotool key --clearmodifiers "$@"; sleep 0.35; }

# Click at a point of the board window, in window coordinates.
click_at() { xdotool mousemove --window "$(window_id)" "$1" "$2" click 1; sleep 0.35; }
# Names of the store's lists, one a line (the export holds every list, also empty ones).
list_names() { "$TAVIK" --seed-demo --export | python3 -c 'import json,sys; print("\n".join(c["name"] for c in json.load(sys.stdin)["categories"]))'; }
export -f list_names
# Focus leaves the board and comes back: the application's activation runs a save.
refocus_board() {
    local win root
    win=$(window_id)
    root=$(xwininfo -root | awk '/Window id:/ {print $4}')
    xdotool windowfocus "$root" 2>/dev/null || true
    sleep 0.3
    xdotool windowfocus --sync "$win" 2>/dev/null || true
    sleep 0.5
}

# spawn LOG COMMAND...: runs COMMAND in the background, stopped on exit; sets PID.
spawn() {
    local log=$1
    shift
    [ "$1" = "$TAVIK" ] && BOARD_LOGS+=("$log")
    (cd "$WORK" && exec "$@") >"$log" 2>&1 &
    PID=$!
    E2E_PIDS+=("$PID")
}
stop() { # stop PID: ends a process of ours and waits for it
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}
# Starts the board with ARGS (output in $BOARD_LOG, else $WORK/tavik.log), checks that its
# window appears and gives it the keyboard. Sets APP (the process), WIN (the window) and its
# X, Y, WIDTH, HEIGHT.
start_board() {
    spawn "${BOARD_LOG:-$WORK/tavik.log}" "$TAVIK" "$@"
    APP=$PID
    if wait_for 20 board_shown; then
        check "the board window appears" true
    else
        check "the board window appears" false
        tail -n 20 "${BOARD_LOG:-$WORK/tavik.log}"
    fi
    focus_board
    eval "$(xdotool getwindowgeometry --shell "$WIN")"
    sleep 1
}
focus_board() {
    WIN=$(window_id)
    xdotool windowfocus --sync "$WIN" 2>/dev/null || true
}
quit_board() {
    key ctrl+q
    check "Ctrl+Q ends the board" wait_for 10 bash -c "! kill -0 $APP 2>/dev/null"
}
# The row menu's 详情: a right click on the row at (x, y) of the window; the menu opens at the
# pointer, 详情 is its second entry.
open_drawer() {
    xdotool mousemove --window "$WIN" "$1" "$2" click 3
    sleep 0.6
    xdotool mousemove_relative 40 50
    sleep 0.3
    xdotool click 1
    sleep 0.8
}
# The pointer parks outside the board while the keyboard works.
park_pointer() { xdotool mousemove 1395 895; sleep 0.3; }
