# shellcheck shell=bash
# How each sender is started, the way a user would do it who has read its manual. Sourced by
# bench.sh; needs the private session. Each leaves its process in $STARTED and, in $FROM, where the
# meter receives it.

BIN=$PWD/build/bench/bin

start_quorin() {
  local port
  port=$(free_port)
  background quorin-stream "${PRIVATE[@]}" QT_QPA_PLATFORM=xcb "$BIN/quorin-stream" \
    --start wifi --port "$port"
  wait_for 20 "quorin-stream's UDP port $port" udp_port_is_taken "$port"
  FROM=127.0.0.1:$port
}

start_cable() {
  background quorin-stream "${PRIVATE[@]}" QT_QPA_PLATFORM=xcb "$BIN/quorin-stream" --start cable
  FROM=cable
}

start_ffmpeg() {
  FROM=$(free_port)
  background ffmpeg "${PRIVATE[@]}" ffmpeg -nostdin -hide_banner -loglevel error -fflags nobuffer \
    -f pulse -fragment_size 1764 -sample_rate 44100 -channels 1 -i quorin.monitor \
    -f s16le "udp://127.0.0.1:$FROM?pkt_size=1764"
}

start_gstreamer() { # start_gstreamer CLIENTS
  local clients i
  FROM=$(free_port)
  clients=127.0.0.1:$FROM
  for ((i = 1; i < $1; ++i)); do clients+=,127.0.0.1:$((FROM + i)); done
  background gstreamer "${PRIVATE[@]}" gst-launch-1.0 -q \
    pulsesrc device=quorin.monitor latency-time=20000 buffer-time=40000 ! \
    audio/x-raw,format=S16LE,rate=44100,channels=1 ! multiudpsink clients="$clients" sync=false
}

stop_sender() {
  kill "$STARTED" 2>/dev/null || true
  wait "$STARTED" 2>/dev/null || true
}
