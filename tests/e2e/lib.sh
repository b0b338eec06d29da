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
Xvfb -displayfd 5 -screen 0 1400x900x24 -nolisten tcp >"$WORK/xvfb.log" 2>&1 &
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
    rm -rf "$WORK"
}
trap e2e_cleanup EXIT

e2e_finish() {
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
}

board_json() { "$TAVIK" --seed-demo --list "$1" --json; }
# Titles of one column (or "done"), top to bottom.
titles() { board_json "$1" | python3 -c 'import json,sys; print("\n".join(t["title"] for t in json.load(sys.stdin)["columns"][0]["tasks"]))' 2>/dev/null; }
export -f titles board_json
shot() { import -window root "$ARTIFACTS/$1.png"; }
window_id() { xdotool search --onlyvisible --name '^Tavik$' 2>/dev/null | head -n1; }
board_shown() { [ -n "$(window_id)" ]; }
board_hidden() { [ -z "$(window_id)" ]; }
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

# Starts the board with ARGS (output in $WORK/tavik.log), checks that its window appears and
# gives it the keyboard. Sets APP (the process), WIN (the window) and its X, Y, WIDTH, HEIGHT.
start_board() {
    "$TAVIK" "$@" >"$WORK/tavik.log" 2>&1 &
    APP=$!
    E2E_PIDS+=("$APP")
    check "the board window appears" wait_for 20 window_id
    WIN=$(window_id)
    eval "$(xdotool getwindowgeometry --shell "$WIN")"
    xdotool windowfocus --sync "$WIN" 2>/dev/null || true
    sleep 1
}
quit_board() {
    key ctrl+q
    check "Ctrl+Q ends the board" wait_for 10 bash -c "! kill -0 $APP 2>/dev/null"
}
# The pointer parks outside the board while the keyboard works.
park_pointer() { xdotool mousemove 1395 895; sleep 0.3; }
