#!/usr/bin/env bash
# The quick entry as a person uses it: the real binary under Xvfb with a real Secret Service
# holding the key, and the Gemini fake as a process on loopback. Alt+Shift+J opens the
# window; a Chinese line brings the analyzing pill, then the card; its day and list are
# changed through their pickers and the card is accepted. A second line is created as typed
# while the fake answers with an error, and nothing shows. Escape closes the window, and a
# second launch with --quick-add opens it in the running Tavik.
# Screenshots, light and dark, go to $TAVIK_ARTIFACTS.
# Usage: quickentry_e2e.sh TAVIK_BINARY FAKE_GEMINI_BINARY    (lib.sh adds the session bus)
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"
FAKE=$(readlink -f "$2")

LINE_A='明天下午三点给妈妈打电话 个人'
LINE_B='后天去超市买牛奶和鸡蛋'

# The key in an unlocked gnome-keyring on our private bus, where QtKeychain looks for it.
eval "$(printf pw | gnome-keyring-daemon --unlock --components=secrets --daemonize)"
export GNOME_KEYRING_CONTROL
printf 'k-e2e' | secret-tool store --label='Tavik Gemini key' \
    user gemini_api_key server dev.orlen.tavik type plaintext
check "the key is in the Secret Service" \
    bash -c '[ "$(secret-tool lookup user gemini_api_key server dev.orlen.tavik)" = k-e2e ]'

# The fake's script: a real success body for line A (tomorrow at 15:00, list 个人) and the
# service's 503 for line B. Both take their time, as a model does, so that the pill can be
# seen on a busy machine.
python3 - "$WORK/answers.json" "$LINE_A" "$LINE_B" <<'PY'
import datetime, json, sys
tomorrow = (datetime.date.today() + datetime.timedelta(days=1)).isoformat()
draft = {"shouldSuggest": True, "title": "给妈妈打电话", "note": "问她周末来不来",
         "dueDate": tomorrow, "reminder": tomorrow + "T15:00", "category": "个人",
         "summary": "整理标题·识别时间"}
success = {"candidates": [{"content": {"parts": [{"text": json.dumps(draft, ensure_ascii=False,
                                                                      indent=2)}],
                                       "role": "model"},
                           "finishReason": "STOP", "index": 0}],
           "usageMetadata": {"promptTokenCount": 731, "candidatesTokenCount": 52,
                             "totalTokenCount": 783},
           "modelVersion": "gemini-3.1-flash-lite", "responseId": "e2e-1"}
overloaded = {"error": {"code": 503, "message": "The model is overloaded. Please try again later.",
                        "status": "UNAVAILABLE"}}
json.dump({"answers": {sys.argv[2]: {"json": success, "delayMs": 8000},
                       sys.argv[3]: {"status": 503, "json": overloaded, "delayMs": 1500}},
           "fallback": {"status": 404, "json": {"error": {"code": 404, "message": "unknown",
                                                          "status": "NOT_FOUND"}}}},
          open(sys.argv[1], "w"), ensure_ascii=False)
PY
spawn "$WORK/fake.log" "$FAKE" "$WORK/answers.json"
check "the fake Gemini listens" wait_for 10 grep -q '^http://' "$WORK/fake.log"
export TAVIK_GEMINI_ENDPOINT=$(head -n1 "$WORK/fake.log")
requests() { grep -c '^request' "$WORK/fake.log" || true; }

quick_window() {
    local id
    id=$(xdotool search --onlyvisible --name '^Tavik 快速添加$' 2>/dev/null | head -n1)
    [ -n "$id" ] && echo "$id"
}
quick_shown() { [ -n "$(quick_window)" ]; }
quick_hidden() { [ -z "$(quick_window)" ]; }
# The window's place; the bar's top edge is 340 below its top, the bar 405 wide, centred.
quick_geometry() {
    QWIN=$(quick_window)
    eval "$(xdotool getwindowgeometry --shell "$QWIN" | sed 's/^/Q/')"
    BAR_X=$((QX + (QWIDTH - 405) / 2))
    BAR_Y=$((QY + 340))
}
# Mean brightness (0..1) of a screen rectangle WxH+X+Y in a fresh screenshot. Outside what
# the window draws it is black here (no compositor), so light means something is drawn.
brightness() {
    import -window root -crop "$1" "$WORK/probe.png"
    convert "$WORK/probe.png" -colorspace gray -format '%[fx:mean]' info:
}
mean_of() { convert "$WORK/probe.png" -crop "$1" +repage -colorspace gray -format '%[fx:mean]' info:; }
lit() { python3 -c 'import sys; sys.exit(not float(sys.argv[1]) > float(sys.argv[2]))' "$(brightness "$1")" "$2"; }
dark() { python3 -c 'import sys; sys.exit(not float(sys.argv[1]) < float(sys.argv[2]))' "$(brightness "$1")" "$2"; }
# The pill's place: just above the bar, on the left. The card's: higher up. Outside what the
# window draws the screen is black, so "lit" means drawn in either scheme.
pill_area() { echo "120x20+$((BAR_X + 20))+$((BAR_Y - 30))"; }
card_area() { echo "300x40+$((BAR_X + 40))+$((BAR_Y - 160))"; }
# One screenshot for both: the pill is lit while the card's place is still black.
pill_alone() {
    import -window root "$WORK/probe.png"
    python3 -c 'import sys; p, c = (float(v) for v in sys.argv[1:]); sys.exit(not (p > 0.08 and c < 0.02))' \
        "$(mean_of "$(pill_area)")" "$(mean_of "$(card_area)")"
}
# A click relative to the bar's top-left corner (the card and its popovers stand above it).
click_bar() { xdotool mousemove "$((BAR_X + $1))" "$((BAR_Y + $2))" click 1; sleep 0.5; }

task_json() { # task_json TITLE: the newest task of that title as JSON, or "missing"
    "$TAVIK" --seed-demo --list --json | python3 -c '
import json, sys
tasks = [t for c in json.load(sys.stdin)["columns"] for t in c["tasks"] if t["title"] == sys.argv[1]]
tasks.sort(key=lambda t: int(t["sortIndex"]))
print(json.dumps(tasks[-1], ensure_ascii=False) if tasks else "missing")' "$1"
}
task_count() { # task_count TITLE: how many tasks have that title
    "$TAVIK" --seed-demo --list --json | python3 -c '
import json, sys
print(sum(t["title"] == sys.argv[1] for c in json.load(sys.stdin)["columns"] for t in c["tasks"]))' "$1"
}
export -f task_json task_count
# task_is TITLE PYTHON-EXPRESSION: the expression over `t` (the task) and `today` holds.
task_is() {
    local task
    task=$(task_json "$1")
    [ "$task" != missing ] && python3 -c '
import datetime, json, sys
t = json.loads(sys.argv[1]); today = datetime.date.today()
local = lambda s: datetime.datetime.fromisoformat(s.replace("Z", "+00:00")).astimezone()
sys.exit(not eval(sys.argv[2]))' "$task" "$2"
}

run_flow() { # run_flow SCHEME: the whole flow once, screenshots named by SCHEME
    local scheme=$1
    xdotool key alt+shift+j
    check "[$scheme] Alt+Shift+J opens the quick entry" wait_for 5 quick_shown
    quick_geometry
    sleep 0.6
    shot "quickentry-$scheme-empty"

    local before accepted typed
    accepted=$(task_count "给妈妈打电话")
    typed=$(task_count "$LINE_B")
    before=$(requests)
    xdotool type --delay 120 "$LINE_A"
    check "[$scheme] the analyzing pill shows while the request runs" \
        wait_for 10 pill_alone
    # The frame that showed it: by the next screenshot the card may be there.
    cp "$WORK/probe.png" "$ARTIFACTS/quickentry-$scheme-analyzing.png"
    check "[$scheme] then the card shows" wait_for 12 lit "$(card_area)" 0.08
    check "[$scheme] one request for the line, well-formed" \
        bash -c "[ $(requests) -eq $((before + 1)) ] && ! grep -q '^fault' '$WORK/fake.log'"
    sleep 0.5
    shot "quickentry-$scheme-card"

    # The day: the schedule chip's popover, 今天 in it, and a press on the card's header
    # to close it. Then the list: the list chip's popover and 工作 in it.
    click_bar 67 -96
    shot "quickentry-$scheme-schedule-popover"
    click_bar -27 -9
    click_bar 150 -243
    click_bar 168 -96
    shot "quickentry-$scheme-list-popover"
    click_bar 120 -141
    shot "quickentry-$scheme-card-edited"

    key ctrl+Return
    check "[$scheme] accepting closes the window" wait_for 5 quick_hidden
    check "[$scheme] accepting writes one task" \
        wait_for 5 bash -c "[ \$(task_count 给妈妈打电话) -eq $((accepted + 1)) ]"
    check "[$scheme] the accepted task has the edited day and list and the note" \
        task_is "给妈妈打电话" \
        't["list"] == "工作" and t["note"] == "问她周末来不来" and local(t["dueDate"]).date() == today'

    # A second line while the fake answers 503: the pill comes and goes, no card, and
    # Return creates the line as typed.
    xdotool key alt+shift+j
    check "[$scheme] the quick entry opens again" wait_for 5 quick_shown
    sleep 0.4
    before=$(requests)
    xdotool type --delay 120 "$LINE_B"
    check "[$scheme] the request for the second line is sent" \
        wait_for 5 bash -c "[ \$(grep -c '^request' '$WORK/fake.log') -gt $before ]"
    sleep 2.5
    check "[$scheme] after the error nothing is shown above the bar" \
        dark "405x200+$BAR_X+$((BAR_Y - 210))" 0.05
    shot "quickentry-$scheme-after-error"
    key Return
    check "[$scheme] Return closes the window" wait_for 5 quick_hidden
    check "[$scheme] Return writes one task" \
        wait_for 5 bash -c "[ \$(task_count '$LINE_B') -eq $((typed + 1)) ]"
    check "[$scheme] the line is created as typed" task_is "$LINE_B" 't["note"] == "" and t["dueDate"] is None'

    # Escape closes with nothing created.
    xdotool key alt+shift+j
    check "[$scheme] and once more" wait_for 5 quick_shown
    sleep 0.4
    xdotool type --delay 80 "不要创建"
    key Escape
    check "[$scheme] Escape closes the window" wait_for 5 quick_hidden
    check "[$scheme] nothing was created" bash -c '[ "$(task_json 不要创建)" = missing ]'
}

start_board --seed-demo --debug-frame
park_pointer
check "Tavik logs no taken Alt+Shift+J" bash -c "! grep -qF 'Alt+Shift+J' '$WORK/tavik.log'"
run_flow light
check "the board stays shown" board_shown
# A second launch with --quick-add hands it to the running one.
check "tavik --quick-add hands over and exits" "$TAVIK" --seed-demo --quick-add
check "the running Tavik opens the quick entry" wait_for 5 quick_shown
key Escape
check "Escape closes it again" wait_for 5 quick_hidden
stop "$APP"

# Dark, and with the board hidden this time.
export TAVIK_APPEARANCE=dark
BOARD_LOG=$WORK/tavik-dark.log start_board --seed-demo --debug-frame
park_pointer
key alt+j
check "Alt+J hides the board" wait_for 5 board_hidden
"$TAVIK" --seed-demo --list --json >/dev/null
run_flow dark
check "the board stays hidden" board_hidden
stop "$APP"

e2e_finish
