#!/usr/bin/env bash
# The loss window and the clean quit, on the real binary under Xvfb.
#
#   bench/loss_window.sh build/src/app/tavik [DELAYS...]
#
# 1. Runs the kill end-to-end script once per DELAY (seconds between an edit and its SIGKILL;
#    default 0 0.02 0.05 0.1) and prints, per delay, how many of the ten kinds of edit were
#    lost. The loss window is the largest delay that lost anything.
# 2. Imports a board of 10,000 tasks, starts the board on it, sends SIGTERM and prints the
#    time to the process's end (its last save included), as the median of five.
set -euo pipefail
tavik=$(readlink -f "$1")
shift
delays=("$@")
[ ${#delays[@]} -gt 0 ] || delays=(0 0.02 0.05 0.1)
here=$(dirname "$(readlink -f "$0")")

echo "delay_s  kinds_lost_of_10  (SIGKILL after the edit)"
for delay in "${delays[@]}"; do
    out=$(TAVIK_ARTIFACTS=$(mktemp -d) "$here/../tests/e2e/kill_e2e.sh" "$tavik" "$delay" 2>&1 || true)
    lost=$(grep -c '^FAIL: .* survives SIGKILL' <<<"$out" || true)
    printf '%-8s %s\n' "$delay" "$lost"
    grep '^FAIL: .* survives SIGKILL' <<<"$out" | sed 's/^/    /' || true
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work XDG_DATA_HOME=$work/share XDG_CONFIG_HOME=$work/config
export XDG_RUNTIME_DIR=$work/run QT_QPA_PLATFORM=offscreen
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
/usr/bin/python3 - "$work/big.json" <<'PY'
import json, sys, uuid
moment = "2026-01-05T09:00:00.000+01:00"
tasks = [{"id": str(uuid.UUID(int=i + 1)), "title": f"任务 {i}", "note": "备注" * 10,
          "noteData": "", "completed": i % 10 == 0,
          "completedAt": moment if i % 10 == 0 else None, "dueDate": None, "year": None,
          "week": None, "reminderAt": None, "scheduledExplicitly": False, "category": None,
          "sortIndex": str(i), "createdAt": moment, "updatedAt": moment} for i in range(10000)]
json.dump({"format": "tavik-board", "version": 1, "categories": [], "tasks": tasks},
          open(sys.argv[1], "w"), ensure_ascii=False)
PY
"$tavik" --import "$work/big.json" >/dev/null
times=()
for _ in 1 2 3 4 5; do
    dbus-run-session -- "$tavik" >"$work/board.log" 2>&1 &
    session=$!
    # The board is up once it has printed its first frame.
    for _ in $(seq 300); do grep -q '^first-frame' "$work/board.log" && break; sleep 0.1; done
    board=$(pgrep -n -f "^$tavik$" || true)
    start=$(date +%s%N)
    kill -TERM "$board"
    while kill -0 "$board" 2>/dev/null; do sleep 0.005; done
    times+=($((($(date +%s%N) - start) / 1000000)))
    wait "$session" || true
done
sorted=$(printf '%s\n' "${times[@]}" | sort -n | tr '\n' ' ')
echo "SIGTERM to exit with 10,000 tasks, ms (sorted): $sorted"
echo "median: $(printf '%s\n' "${times[@]}" | sort -n | sed -n 3p) ms"
