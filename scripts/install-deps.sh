#!/usr/bin/env bash
# Installs every Debian 12 package Tavik needs to build, run and test.
# Does nothing (and needs no network) when all of them are already installed.
set -euo pipefail

packages=(
    # toolchain
    g++ cmake ninja-build pkg-config clang-format
    # Qt: core, SQL store, QML views, tests, local HTTP servers for tests
    qt6-base-dev libqt6sql6-sqlite qt6-declarative-dev qt6-declarative-dev-tools
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
    qml6-module-qtquick-window qml6-module-qtqml-workerscript qml6-module-qtquick-templates
    qml6-module-qtquick-dialogs qml6-module-qtquick-shapes qml6-module-qttest
    qt6-multimedia-dev qt6-httpserver-dev qt6-websockets-dev libgl-dev
    # secrets, iCalendar, global hot key
    qtkeychain-qt6-dev libical-dev libxcb-keysyms1-dev
    # icons and Chinese text
    fonts-materialdesignicons-webfont fonts-noto-cjk
    # headless desktop for tests: X server, input, session bus, mocks, keyring, tray
    xvfb xauth xdotool dbus dbus-x11 python3-dbusmock python3-dbus python3-gi libglib2.0-bin gnome-keyring libsecret-tools
    dunst tint2 imagemagick openbox
    # CalDAV servers the sync tests run on loopback, and other clients they meet there
    radicale xandikos python3-caldav vdirsyncer todoman
    # looking into a store by hand
    sqlite3
    # the command line benchmark's peer and its memory figures (bench_commandline)
    taskwarrior time
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed'; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "install-deps: installing ${missing[*]}" >&2
sudo=()
if [ "$(id -u)" -ne 0 ]; then
    sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update
"${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
