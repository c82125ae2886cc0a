#!/usr/bin/env bash
# wayland.sh FOLDER: saves what a Wayland compositor shows of the running program, as wayland.png.
set -euo pipefail
folder=$(realpath "$1")
bin=$PWD/build/release/bin
XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR WAYLAND_DISPLAY=quorin QT_QPA_PLATFORM=wayland
export PULSE_SERVER=unix:$XDG_RUNTIME_DIR/none DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/none
weston --backend=headless-backend.so --use-pixman --debug --socket="$WAYLAND_DISPLAY" \
  --width=1440 --height=1024 >"$XDG_RUNTIME_DIR/weston.log" 2>&1 &
compositor=$!
program=
trap 'kill $program $compositor 2>/dev/null; wait; rm -rf "$XDG_RUNTIME_DIR"' EXIT
for _ in $(seq 50); do
  [ ! -S "$XDG_RUNTIME_DIR/$WAYLAND_DISPLAY" ] || break
  sleep 0.1
done
"$bin/quorin-stream" >"$XDG_RUNTIME_DIR/program.log" 2>&1 &
program=$!
sleep 4 # the splash, and the first check
kill -0 $program || { cat "$XDG_RUNTIME_DIR/program.log" >&2; exit 1; }
cd "$XDG_RUNTIME_DIR"
weston-screenshooter
mv wayland-screenshot-*.png "$folder/wayland.png"
