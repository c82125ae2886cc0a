#!/usr/bin/env bash
# ./dev bench [--quick] [--seconds N]: pacing, latency, processor and memory of the whole program,
# beside what a user would type instead (ffmpeg, GStreamer), in the same set-ups and by the same
# receiver; then the benchmarks of the parts. Prints figures and targets, and never fails on one.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/.."
source tools/dev/common.sh

SECONDS_EACH=20 # of each measurement
SECONDS_LONG=60 # of the one that compares with real time
PARTS_TIME=0.5  # seconds for each benchmark of a part
STARTS=40       # of each program
HELLOS=200      # of each handshake measurement
PARTS=(parts_bench)
while [ $# -gt 0 ]; do
  case $1 in
    --quick) SECONDS_EACH=5 SECONDS_LONG=5 PARTS_TIME=0.05 STARTS=5 HELLOS=50 ;;
    --seconds)
      SECONDS_EACH=${2:?--seconds needs a number} SECONDS_LONG=$2
      shift
      ;;
    *) fail "usage: ./dev bench [--quick] [--seconds N]" ;;
  esac
  shift
done

need_packages "${BUILD_PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
configure release -DQUORIN_BENCH=ON
build release quorin-stream quorin-meter empty_window field_bench "${PARTS[@]}"
source tools/dev/private_session.sh
source bench/senders.sh

OUT=$PWD/build/bench
mkdir -p "$OUT"
RESULTS=$OUT/results.tsv # set-up, load, sender, figure, value
: >"$RESULTS"

# note SETUP LOAD SENDER FIGURE VALUE
note() { printf '%s\t%s\t%s\t%s\t%s\n' "$@" >>"$RESULTS"; }

# record SETUP LOAD SENDER COMMAND...: notes the figures that the command prints. A sender that
# fails is said and left out; the others go on.
record() {
  local setup=$1 load=$2 sender=$3 line
  shift 3
  "$@" >"$SESSION/figures" || { echo "   $sender could not be measured" && return; }
  while read -r line; do
    note "$setup" "$load" "$sender" "${line% *}" "${line#* }"
  done <"$SESSION/figures"
}

# measure SETUP LOAD SENDER PLAYER SECONDS [CLIENTS]
measure() {
  local setup=$1 load=$2 sender=$3 player=$4 seconds=$5 clients=${6:-1}
  echo "   $setup, $load: $sender${6:+ with $6 clients}"
  "start_$sender" "$clients"
  [ "$load" = idle ] || occupy_processors
  record "$setup" "$load" "$sender$clients" \
    "${PRIVATE[@]}" "$BIN/quorin-meter" stream "$seconds" "$STARTED" quorin "$player" "$TARGET" "$clients"
  [ "$load" = idle ] || release_processors
  stop_sender
}

# Ten seconds of useless datagrams, while one client listens.
flooded() {
  echo "   low-latency-player, flooded: quorin"
  start_quorin
  ("$BIN/quorin-meter" flood 14 "$TARGET" 50000 | sed 's/rate/   flood, datagrams a second:/') &
  record low-latency-player flooded quorin1 \
    "${PRIVATE[@]}" "$BIN/quorin-meter" stream 10 "$STARTED" quorin 20 "$TARGET"
  wait $!
  stop_sender
}

BUSY_PIDS=()
occupy_processors() {
  for _ in $(seq "$(nproc)"); do
    (while :; do :; done) &
    BUSY_PIDS+=("$!")
    SESSION_PIDS+=("$!")
  done
}
release_processors() {
  kill "${BUSY_PIDS[@]}" 2>/dev/null || true
  wait "${BUSY_PIDS[@]}" 2>/dev/null || true
  BUSY_PIDS=()
}

all_senders() { # all_senders SETUP PLAYER SECONDS_WHEN_IDLE
  local sender load seconds
  say "set-up: $1"
  for load in idle busy; do
    seconds=$SECONDS_EACH
    [ "$load" = busy ] || seconds=$3
    for sender in quorin ffmpeg gstreamer; do
      measure "$1" "$load" "$sender" "$2" "$seconds"
    done
  done
  for sender in quorin gstreamer; do measure "$1" idle "$sender" "$2" "$SECONDS_EACH" 10; done
}

# From a phone's HELLO to its READY, idle, and while nine others listen and the window is resized.
handshakes() {
  say "HELLO to READY"
  start_quorin
  record hello idle quorin "$BIN/quorin-meter" hello "$HELLOS" "$TARGET" 0
  resize_for_ever "$STARTED" &
  local resizing=$!
  record hello busy quorin "$BIN/quorin-meter" hello "$HELLOS" "$TARGET" 9
  kill "$resizing"
  wait "$resizing" 2>/dev/null || true
  stop_sender
}
resize_for_ever() {
  local window width
  window=$("${PRIVATE[@]}" xdotool search --onlyvisible --pid "$1" | tail -n 1)
  while :; do
    for width in 760 860 960 1060 1160; do
      "${PRIVATE[@]}" xdotool windowsize "$window" "$width" 720 2>/dev/null
    done
  done
}

# The main thread stands still for half a second, again and again, while one client listens.
main_thread_blocked() {
  echo "   low-latency-player, main thread blocked: quorin"
  start_quorin
  local sender=$STARTED
  (for _ in 1 2 3 4 5 6 7 8; do
    "$BIN/quorin-meter" stop "$sender" 500
    sleep 1
  done) &
  record low-latency-player blocked quorin1 \
    "${PRIVATE[@]}" "$BIN/quorin-meter" stream 8 "$sender" quorin 20 "$TARGET"
  wait $!
  stop_sender
}

# Ten phones in a network of their own, the second time nine of them leave without a word.
vanishing_phones() {
  say "phones that vanish"
  record vanish present quorin "$BIN/field_bench" phones 0
  record vanish vanished quorin "$BIN/field_bench" phones 9
}

# The same sound as frames over a channel: to a phone simulated on this machine.
cable() {
  local figures=$OUT/cable.json arrivals=$OUT/cable.arrivals
  say "the cable"
  background quorin-stream "${PRIVATE[@]}" QT_QPA_PLATFORM=xcb "$BIN/quorin-stream" --start cable
  local sender=$STARTED
  timeout "$((SECONDS_EACH + 30))" \
    "$BIN/quorin-listen" --cable --seconds "$((SECONDS_EACH + 8))" --arrivals "$arrivals" --json \
    >"$figures" &
  local phone=$!
  sleep 9 # splash, check, the next attempt to connect, and the notice that nothing plays
  record cable idle quorin1 "$BIN/quorin-meter" usage "$sender" "$SECONDS_EACH"
  if wait "$phone"; then
    local name
    for name in p50 p99 max; do
      note cable idle quorin1 "deviation_$name" "$(json_number "$name" "$figures")"
    done
    note cable idle quorin1 delivered "$(delivered_once_aligned "$arrivals")"
    note cable idle quorin1 ping_p50 "$(round_trip 0.5)"
    note cable idle quorin1 ping_p99 "$(round_trip 0.99)"
  else
    echo "   the cable could not be measured: is port 2345 free?"
  fi
  STARTED=$sender
  stop_sender
}
# Sound against time from the fifth second on, as the meter does: until then the ticks move to
# where the chunks come.
delivered_once_aligned() {
  awk 'NR == 1 { begin = $1 + 5e9 }
       $1 < begin { next }
       !from { from = $1 }
       { sound += before; before = $2 / 44100; last = $1 }
       END { if (last > from) printf "%.6f", sound / ((last - from) / 1e9) }' "$1"
}
# The value below which this share of the round trips lies that the program has written down.
round_trip() {
  sed -n 's/.*Ping total roundtrip time: \([0-9.]*\) ms.*/\1/p' "$SESSION/quorin-stream.log" |
    sort -n | awk -v share="$1" '{ t[NR] = $1 } END { print t[int(share * (NR - 1)) + 1] }'
}
json_number() { sed -n "s/.*\"$1\": *\([-0-9.e]*\).*/\1/p" "$2" | head -n 1; }

# What a window costs: from the start of the process to its first picture, and its memory.
windows() {
  say "the window beside an empty one"
  local program platform
  for platform in xcb offscreen; do
    record "start-$platform" idle quorin-stream "${PRIVATE[@]}" QT_QPA_PLATFORM="$platform" \
      "$BIN/quorin-meter" start "$STARTS" "$BIN/quorin-stream" "$BIN/empty_window"
  done
  for program in empty_window quorin-stream; do
    background "$program" "${PRIVATE[@]}" QT_QPA_PLATFORM=xcb "$BIN/$program"
    sleep 4 # the splash is over by then
    record window idle "$program" "$BIN/quorin-meter" pss "$STARTED"
    stop_sender
  done
}

start_display 1280x800x24
start_pulseaudio
windows
all_senders low-latency-player 20 "$SECONDS_LONG"
flooded
main_thread_blocked
handshakes
vanishing_phones
cable
all_senders default-player default "$SECONDS_EACH"
end_servers
start_pipewire
all_senders pipewire 20 "$SECONDS_EACH"
end_servers

say "whole program (all times in ms; the parts follow)"
awk -F '\t' -f bench/report.awk "$RESULTS" | tee "$OUT/report.txt"
say "the parts"
for part in "${PARTS[@]}"; do
  "$BIN/$part" --benchmark_min_time="$PARTS_TIME" 2>/dev/null
done | tee "$OUT/parts.txt"
awk -f bench/parts.awk "$OUT/parts.txt" | tee -a "$OUT/report.txt"
say "left in build/bench: report.txt, parts.txt, results.tsv"
