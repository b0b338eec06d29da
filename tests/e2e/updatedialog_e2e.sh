#!/usr/bin/env bash
# The update dialog under a real window manager: in every state, growing and shrinking, the
# window is as tall as its content, on screen, with its buttons inside and no band below them.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"

spawn "$WORK/openbox.log" openbox --sm-disable
check "openbox manages the display" wait_for 10 bash -c \
    'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"'
mkfifo "$WORK/in"
# Open both ways first so no open waits; not via spawn, whose job would read /dev/null.
exec 3<>"$WORK/in"
"$(readlink -f "$2")" <"$WORK/in" >"$WORK/driver.log" 2>"$WORK/driver.err" &
E2E_PIDS+=($!)

step=0
for state in checking found uptodate found failed notoffered checking; do
    step=$((step + 1))
    echo "$state" >&3
    wait_for 10 bash -c "[ \$(wc -l <'$WORK/driver.log') -ge $step ]" || break
    read -r _ fitted bottom < <(sed -n "${step}p" "$WORK/driver.log")
    wait_for 10 bash -c "xdotool search --onlyvisible --name '^软件更新$' >/dev/null" || true
    id=$(xdotool search --onlyvisible --name '^软件更新$' | head -n1)
    wait_for 5 bash -c "xwininfo -id $id | grep -q 'Height: $fitted\$'" || true
    read -r x y width height < <(xwininfo -id "$id" | awk '/Absolute upper-left X/ {x=$4}
        /Absolute upper-left Y/ {y=$4} /Width:/ {w=$2} /Height:/ {h=$2} END {print x, y, w, h}')
    check "$state: as tall as its content ($height, asked $fitted)" test "$height" -eq "$fitted"
    check "$state: buttons inside, no band below (bottom $bottom of $height)" \
        test "$bottom" -le "$height" -a $((height - bottom)) -le 21
    check "$state: on screen ($x,$y ${width}x$height)" \
        test "$x" -ge 0 -a "$y" -ge 0 -a $((x + width)) -le 1400 -a $((y + height)) -le 900
    shot "updatedialog-$step-$state"
done
check "the dialog answered every state" test "$step" -eq 7 -a "$(wc -l <"$WORK/driver.log")" -eq 7
echo quit >&3
e2e_finish
