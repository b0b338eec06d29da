#!/bin/bash
# A large backup through the command line: --import, then --list --json and --count-today,
# each timed with its peak resident memory by /usr/bin/time, in a fresh home.
#
#   bench/large_board.sh TAVIK_BINARY [TASKS=87000] [RUNS=3]
#
# The backup is made once per run of the script (python3): ten lists, every task with a
# title, a third with a two-line note and its formatting, a third planned for a day or a
# week, a tenth finished; about 600 bytes a task in the file.
set -euo pipefail
tavik=$(realpath "$1")
tasks=${2:-87000}
runs=${3:-3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

python3 - "$tasks" "$work/backup.json" <<'PY'
import base64, datetime, json, sys, uuid
count, path = int(sys.argv[1]), sys.argv[2]
now = datetime.datetime(2026, 11, 24, 9, 0, tzinfo=datetime.timezone(datetime.timedelta(hours=1)))
iso = lambda d: d.isoformat(timespec="milliseconds")
lists = [{"id": str(uuid.UUID(int=i + 1)), "name": f"清单 {i}", "colorHex": "0090FF",
          "sortIndex": str(i), "createdAt": iso(now)} for i in range(10)]
rich = base64.b64encode(json.dumps({"runs": [{"bold": True, "text": "要点"},
                                             {"text": "：先和团队对一下进度\n再把结论发给大家"}]},
                                   ensure_ascii=False).encode()).decode()
tasks = []
for i in range(count):
    day = now + datetime.timedelta(days=(i // 3) % 21 - 10)
    year, week, _ = day.isocalendar()
    noted = i % 3 == 0
    tasks.append({
        "id": str(uuid.UUID(int=(1 << 64) + i)), "title": f"任务 {i}：整理本周的待办事项和下周计划",
        "note": "要点：先和团队对一下进度\n再把结论发给大家" if noted else "",
        "noteData": rich if noted else "", "completed": i % 10 == 0,
        "completedAt": iso(now) if i % 10 == 0 else None,
        "dueDate": iso(day.replace(hour=0)) if i % 3 == 1 else None,
        "year": str(year) if i % 3 != 2 else None, "week": str(week) if i % 3 != 2 else None,
        "reminderAt": iso(day.replace(hour=15)) if i % 7 == 0 else None,
        "scheduledExplicitly": i % 6 == 1, "category": lists[i % 10]["id"] if i % 2 else None,
        "sortIndex": str(i), "createdAt": iso(now), "updatedAt": iso(now)})
with open(path, "w") as out:
    json.dump({"format": "tavik-board", "version": 1, "categories": lists, "tasks": tasks}, out,
              ensure_ascii=False, indent=1)
PY
echo "backup: $tasks tasks, $(du -m "$work/backup.json" | cut -f1) MB; $runs runs each"

measure() { # label, then the command line's arguments
    local label=$1
    shift
    for run in $(seq "$runs"); do
        if [ "$label" = import ]; then rm -rf "$work/home"; fi
        env HOME="$work/home" XDG_DATA_HOME="$work/home/share" XDG_CONFIG_HOME="$work/home/config" \
            /usr/bin/time -f "$label: %e s wall, %U s user, %S s system, peak RSS %M KB" \
            "$tavik" "$@" > /dev/null 2>> "$work/times"
    done
    grep "^$label:" "$work/times"
}
measure import --import "$work/backup.json"
measure list --list --json
measure count --count-today
