#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test under CTest: on a private session
# bus, and on a virtual X display when there is no display. Arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/build.sh

ctest_command=(ctest --test-dir build --output-on-failure -j "${TAVIK_TEST_JOBS:-2}" "$@")

runner=()
if command -v dbus-run-session >/dev/null 2>&1; then
    runner+=(dbus-run-session --)
fi
if [ -z "${DISPLAY:-}" ] && command -v xvfb-run >/dev/null 2>&1; then
    runner+=(xvfb-run -a -s "-screen 0 1600x1000x24")
fi

exec "${runner[@]}" "${ctest_command[@]}"
