#!/usr/bin/env bash
# ./dev demo [--cable]: streams a melody from a sound device of its own to a receiver on this
# machine, over the network or as over the cable, says what arrived, and plays that where the user's
# own sound server lets it. Ends with 0 only when the melody arrived whole.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/../.."
source tools/dev/common.sh
case "$*" in
  "") mode=wifi ;;
  --cable) mode=cable ;;
  *) fail "usage: ./dev demo [--cable]" ;;
esac
need_packages "${DEMO_PACKAGES[@]}"
source tools/dev/private_session.sh

BIN=$PWD/build/release/bin
OUT=$PWD/build/demo
mkdir -p "$OUT"
rm -f "$OUT"/*

# Lets the user hear the recording, where there is a sound server, which is not started for it.
play_to_user() {
  echo "autospawn = no" >"$SESSION/client.conf"
  PULSE_CLIENTCONFIG=$SESSION/client.conf timeout 5 pactl info >/dev/null 2>&1 || return 0
  say "playing it on your own sound device"
  paplay "$OUT/received.wav" || true
}

say "starting a sound server with the device \"Quorin Audio\", and a display"
start_pulseaudio
start_display 760x720x24

# start_streaming [OPTION]...: the program in the mode of this demo.
start_streaming() {
  say "starting quorin-stream --start $mode${*:+ $*}"
  background quorin-stream "${PRIVATE[@]}" QT_QPA_PLATFORM=xcb "$BIN/quorin-stream" \
    --start "$mode" "$@"
}
start_listening() {
  background quorin-listen "$BIN/quorin-listen" "$@" \
    --wav "$OUT/received.wav" --arrivals "$SESSION/arrivals" --json
  listener=$STARTED
}

if [ $mode = wifi ]; then
  port=$(free_port)
  start_streaming --port "$port"
  wait_for 20 "quorin-stream's UDP port $port" udp_port_is_taken "$port"
  say "joining it with quorin-listen"
  start_listening "127.0.0.1:$port"
else
  say "starting quorin-listen --cable, the phone at the end of the cable"
  start_listening --cable
  start_streaming
fi
wait_for 20 "The first sound" test -s "$SESSION/arrivals"

say "playing ten seconds of melody into the device"
background player "${PRIVATE[@]}" "$BIN/quorin-demo" play quorin "$SESSION/ticks"
player=$STARTED
sleep 4
import -window root "$OUT/window.png"
wait "$player" || fail "The melody could not be played: $(cat "$SESSION/player.log")"
sleep 1 # what is still on its way

kill -INT "$listener"
wait "$listener" || fail "quorin-listen failed: $(cat "$SESSION/quorin-listen.log")"
cp "$SESSION/quorin-listen.log" "$OUT/result.json"

say "what arrived"
verdict=0
"$BIN/quorin-demo" judge "$OUT/received.wav" "$SESSION/arrivals" "$SESSION/ticks" || verdict=1
play_to_user
say "left in build/demo: received.wav, window.png, result.json"
if [ $verdict -eq 0 ]; then
  say "the melody arrived whole"
else
  say "the melody did NOT arrive whole"
fi
exit $verdict
