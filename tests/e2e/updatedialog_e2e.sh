#!/usr/bin/env bash
# The update dialog under a real window manager: in every state, one after another (growing
# and shrinking), the window is as tall as its content, its buttons are inside it and on
# screen, and no blank band is left below them.
set -euo pipefail

source "$(dirname "$0")/lib.sh" "$@"
DRIVER=$(readlink -f "$2")

spawn "$WORK/openbox.log" openbox --sm-disable
check "openbox manages the display" wait_for 10 bash -c \
    'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"'

mkfifo "$WORK/in"
# Held open both ways first, so that neither side's open waits for the other.
exec 3<>"$WORK/in"
# Not through spawn: a background job would read /dev/null instead.
"$DRIVER" <"$WORK/in" >"$WORK/driver.log" 2>"$WORK/driver.err" &
E2E_PIDS+=($!)

dialog_id() { xdotool search --onlyvisible --name '^软件更新$' 2>/dev/null | head -n1; }
# client_geometry ID: "X Y WIDTH HEIGHT" of the window's own area, in screen coordinates.
client_geometry() {
    xwininfo -id "$1" | awk '/Absolute upper-left X/ {x=$4} /Absolute upper-left Y/ {y=$4}
        /Width:/ {w=$2} /Height:/ {h=$2} END {print x, y, w, h}'
}

steps=0
for state in checking found uptodate found failed notoffered checking; do
    echo "$state" >&3
    steps=$((steps + 1))
    check "$state: the dialog answers" wait_for 10 bash -c "[ \$(wc -l <'$WORK/driver.log') -ge $steps ]"
    read -r _ fitted bottom < <(sed -n "${steps}p" "$WORK/driver.log") || break
    wait_for 10 bash -c "[ -n \"\$(xdotool search --onlyvisible --name '^软件更新$')\" ]" || true
    id=$(dialog_id)
    # The window manager answers the resize on its own time.
    wait_for 5 bash -c "xwininfo -id $id | grep -q 'Height: $fitted\$'" || true
    read -r x y width height < <(client_geometry "$id")
    check "$state: the window is as tall as its content ($height, asked $fitted)" \
        test "$height" -eq "$fitted"
    check "$state: the buttons are inside the window (bottom $bottom of $height)" \
        test "$bottom" -le "$height"
    check "$state: no blank band below the buttons" test $((height - bottom)) -le 21
    check "$state: the dialog is on screen ($x,$y ${width}x$height)" \
        test "$x" -ge 0 -a "$y" -ge 0 -a $((x + width)) -le 1400 -a $((y + height)) -le 900
    shot "updatedialog-$steps-$state"
done
echo quit >&3
e2e_finish
