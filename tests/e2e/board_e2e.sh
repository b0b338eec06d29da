#!/usr/bin/env bash
# The board as a person meets it: the real binary in a real X window (Xvfb), driven with
# xdotool, checked through `tavik --list --json`. Screenshots go to $TAVIK_ARTIFACTS.
# Usage: board_e2e.sh TAVIK_BINARY    (runs itself on a private session bus)
set -euo pipefail

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

# A display of our own.
exec 5> >(cat >"$WORK/displayfd")
Xvfb -displayfd 5 -screen 0 1400x900x24 -nolisten tcp >"$WORK/xvfb.log" 2>&1 &
XVFB=$!
for _ in $(seq 50); do [ -s "$WORK/displayfd" ] && break; sleep 0.1; done
export DISPLAY=:$(head -n1 "$WORK/displayfd")
exec 5>&-

cleanup() {
    [ -n "${APP:-}" ] && kill "$APP" 2>/dev/null || true
    kill "$XVFB" 2>/dev/null || true
    # Only our own children: a bare `wait` would also wait for the display-number reader.
    wait ${APP:-} "$XVFB" 2>/dev/null || true
    rm -rf "$WORK"
}
trap cleanup EXIT

board_json() { "$TAVIK" --seed-demo --list "$1" --json; }
titles() { board_json "$1" | python3 -c 'import json,sys; print("\n".join(t["title"] for t in json.load(sys.stdin)["columns"][0]["tasks"]))' 2>/dev/null; }
export -f titles board_json
export TAVIK
shot() { import -window root "$ARTIFACTS/$1.png"; }
window_id() { xdotool search --onlyvisible --name '^Tavik$' 2>/dev/null | head -n1; }
wait_for() { # wait_for SECONDS COMMAND...
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -ge $deadline ] && return 1
        sleep 0.2
    done
}
key() { xdotool key --clearmodifiers "$@"; sleep 0.35; }

"$TAVIK" --seed-demo --debug-frame >"$WORK/tavik.log" 2>&1 &
APP=$!
check "the board window appears" wait_for 20 window_id
WIN=$(window_id)
xdotool windowfocus --sync "$WIN" 2>/dev/null || true
sleep 1
shot demo-board

# Keyboard: the first arrow only lights a row (the first of 今天), the next moves the focus.
second_today=$(titles today | sed -n 2p)
# The pointer parks outside the board while the keyboard works.
xdotool mousemove 1395 895
sleep 0.3
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

# Ctrl+N, a Chinese title typed into the field, Return: a new task in 稍后.
key ctrl+n
sleep 0.5
xdotool type --delay 250 "整理书架"
sleep 0.3
shot dialog-typed
key Return
check "a task created from the dialog lands in 稍后" \
    wait_for 5 bash -c "titles later | grep -qxF '整理书架'"
key Escape
shot after-create

# Ctrl+W closes the window; the process stays; `tavik --toggle` brings it back.
xdotool windowfocus --sync "$WIN" 2>/dev/null || true
key ctrl+w
check "Ctrl+W hides the board" wait_for 5 bash -c '[ -z "$(xdotool search --onlyvisible --name "^Tavik\$" 2>/dev/null)" ]'
check "the process lives on in the tray" kill -0 "$APP"
"$TAVIK" --toggle
check "tavik --toggle shows the board again" wait_for 10 window_id
shot after-toggle

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
