#!/usr/bin/env bash
# ./dev bench [--quick]: pacing, latency, processor and memory of the whole program,
# beside what a user would type instead (ffmpeg, GStreamer), in the same set-ups and by the same
# receiver. Prints figures and targets, and never fails on one.
set -euo pipefail
cd -- "$(dirname -- "$(readlink -f -- "$0")")/.."
source tools/dev/common.sh

SECONDS_EACH=20 # of each measurement
SECONDS_LONG=60 # of the one that compares with real time
STARTS=40       # of each program
case "$*" in
  "") ;;
  --quick) SECONDS_EACH=5 SECONDS_LONG=5 STARTS=5 ;;
  *) fail "usage: ./dev bench [--quick]" ;;
esac

need_packages "${BUILD_PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
configure bench
build bench quorin-stream quorin-meter empty_window field_bench
source tools/dev/private_session.sh
source bench/senders.sh

OUT=$PWD/build/bench/report
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
    "${PRIVATE[@]}" "$BIN/quorin-meter" "$seconds" "$STARTED" quorin "$player" "$FROM" "$clients"
  [ "$load" = idle ] || release_processors
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

# Ten phones in a network of their own, the second time nine of them leave without a word.
vanishing_phones() {
  say "phones that vanish"
  record vanish present quorin "$BIN/field_bench" 0
  record vanish vanished quorin "$BIN/field_bench" 9
}

# first_picture PLATFORM PROGRAM: the milliseconds from the start of a process to the first picture
# that it hands to the screen, which Qt logs.
first_picture() {
  local said=$SESSION/said begin program
  [ -p "$said" ] || mkfifo "$said"
  begin=${EPOCHREALTIME/[.,]/}
  "${PRIVATE[@]}" QT_QPA_PLATFORM="$1" QT_LOGGING_RULES=qt.widgets.painting=true "$BIN/$2" \
    >"$SESSION/$2.log" 2>"$said" &
  program=$!
  grep -q -m 1 Flushing "$said" && echo $(((${EPOCHREALTIME/[.,]/} - begin) / 1000))
  kill "$program" 2>/dev/null || true
  wait "$program" 2>/dev/null || true
}

# What a window costs: its start, in turns with an empty one, and its memory.
windows() {
  say "the window beside an empty one"
  local program platform
  for platform in xcb offscreen; do
    for _ in $(seq "$STARTS"); do
      for program in empty_window quorin-stream; do
        first_picture "$platform" "$program" >>"$SESSION/$platform-$program"
      done
    done
    for program in empty_window quorin-stream; do
      note "start-$platform" idle "$program" start_p50 \
        "$(sort -n "$SESSION/$platform-$program" | sed -n "$(((STARTS + 1) / 2))p")"
    done
  done
  for program in empty_window quorin-stream; do
    background "$program" "${PRIVATE[@]}" QT_QPA_PLATFORM=xcb "$BIN/$program"
    sleep 4 # the splash is over by then
    note window idle "$program" pss \
      "$(awk '$1 == "Pss:" { print $2 / 1024 }' "/proc/$STARTED/smaps_rollup")"
    stop_sender
  done
}

start_display 1280x800x24
start_pulseaudio
windows
all_senders low-latency-player 20 "$SECONDS_LONG"
vanishing_phones
say "the cable, to a phone simulated on this machine"
measure low-latency-player idle cable 20 "$SECONDS_EACH"
all_senders default-player default "$SECONDS_EACH"
end_servers
start_pipewire
all_senders pipewire 20 "$SECONDS_EACH"
end_servers

say "all times in ms"
awk -F '\t' -f bench/report.awk "$RESULTS" | tee "$OUT/report.txt"
say "left in build/bench/report: report.txt, results.tsv"
