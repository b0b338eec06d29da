#!/usr/bin/env bash
# Stands in for dmenu when dunst opens its context menu: the person's choice is the line that
# contains the text in DIR/choice. Every menu offered is appended to DIR/offered, so the script
# can check what dunst put in front of the person.
# Usage (dunstrc): dmenu = menu_pick.sh DIR
set -euo pipefail
dir=$1
menu=$(cat)
{
    printf '%s\n' "$menu"
    echo "--"
} >>"$dir/offered"
choice=$(cat "$dir/choice" 2>/dev/null || true)
[ -n "$choice" ] || exit 0
printf '%s\n' "$menu" | grep -F -m1 -- "$choice" || true
