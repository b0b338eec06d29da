#!/usr/bin/env bash
# Installs what is missing, builds, and starts Tavik. Arguments go to tavik.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/build.sh

exec ./build/src/app/tavik "$@"
