# shellcheck shell=bash
# A sound server, a display and programs of our own, apart from the user's. Sourced after
# common.sh. Everything started here ends with the script that sourced it.

SESSION=$(mktemp -d)
SESSION_PIDS=() # everything that was started
SERVER_PIDS=()  # the sound server's part of it

end_processes() { # end_processes PID...: the last started first
  local i
  for ((i = $#; i > 0; --i)); do kill "${!i}" 2>/dev/null || true; done
  wait "$@" 2>/dev/null || true
}
end_servers() {
  end_processes "${SERVER_PIDS[@]}"
  SERVER_PIDS=()
  rm -rf "$SESSION"/pulse "$SESSION"/pipewire-* "$SESSION"/bus
}
end_session() {
  end_processes "${SESSION_PIDS[@]}"
  rm -rf "$SESSION"
}
trap end_session EXIT

# What leads a program to our own servers and to none of the user's. Words and not a function, so
# that the process that `background` starts is the program itself.
PRIVATE=(
  env -u WAYLAND_DISPLAY -u PULSE_SINK -u PULSE_SOURCE
  XDG_RUNTIME_DIR="$SESSION" XDG_CONFIG_HOME="$SESSION" XDG_STATE_HOME="$SESSION"
  PULSE_SERVER="unix:$SESSION/pulse/native" DBUS_SESSION_BUS_ADDRESS="unix:path=$SESSION/bus"
)

# background NAME PROGRAM...: its output goes to NAME.log; its process id into $STARTED.
background() {
  local name=$1
  shift
  "$@" >"$SESSION/$name.log" 2>&1 &
  STARTED=$!
  SESSION_PIDS+=("$STARTED")
}

server() {
  background "$@"
  SERVER_PIDS+=("$STARTED")
}

# wait_for SECONDS WHAT COMMAND...: until the command succeeds; fails when it does not in time.
wait_for() {
  local tries=$(($1 * 20)) what=$2
  shift 2
  while ! "$@" >/dev/null 2>&1; do
    if ((--tries <= 0)); then
      tail -n 5 "$SESSION"/*.log >&2
      fail "$what did not come up; the lines above are the last ones of each program."
    fi
    sleep 0.05
  done
}

# The device of the system's name as the default sink, its monitor as the default source.
QUORIN_SINK=(
  module-null-sink sink_name=quorin rate=48000 norewinds=1
  "sink_properties='device.description=\"Quorin Audio\"'"
)
make_quorin_default() {
  wait_for 10 "The sink" "${PRIVATE[@]}" pactl set-default-sink quorin
  wait_for 10 "The source" "${PRIVATE[@]}" pactl set-default-source quorin.monitor
}

start_pulseaudio() {
  mkdir -p "$SESSION/pulse"
  server pulseaudio "${PRIVATE[@]}" pulseaudio -n --daemonize=no --use-pid-file=no \
    --exit-idle-time=-1 \
    -L "module-native-protocol-unix auth-anonymous=1 socket=$SESSION/pulse/native" \
    -L "${QUORIN_SINK[*]}"
  wait_for 10 "PulseAudio" "${PRIVATE[@]}" pactl info
  make_quorin_default
}

start_pipewire() {
  server dbus "${PRIVATE[@]}" dbus-daemon --session --nofork --address="unix:path=$SESSION/bus"
  wait_for 10 "D-Bus" test -S "$SESSION/bus"
  server pipewire "${PRIVATE[@]}" pipewire
  wait_for 10 "PipeWire" test -S "$SESSION/pipewire-0"
  server wireplumber "${PRIVATE[@]}" DISPLAY= wireplumber
  server pipewire-pulse "${PRIVATE[@]}" pipewire-pulse
  wait_for 10 "PipeWire's pulse server" "${PRIVATE[@]}" pactl info
  "${PRIVATE[@]}" pactl load-module "${QUORIN_SINK[@]}" >/dev/null
  make_quorin_default
}

# start_display GEOMETRY: sets DISPLAY to a virtual screen.
start_display() {
  background xvfb Xvfb -displayfd 3 -screen 0 "$1" -nolisten tcp -noreset 3>"$SESSION/display"
  wait_for 20 "Xvfb" test -s "$SESSION/display"
  DISPLAY=:$(cat "$SESSION/display")
  export DISPLAY
}

# A free UDP port of this machine.
free_port() {
  local port
  for port in {9000..9099}; do
    udp_port_is_taken "$port" || { echo "$port" && return; }
  done
  fail "All UDP ports from 9000 to 9099 are taken."
}
udp_port_is_taken() { grep -qi ":$(printf '%04X' "$1") " <(cut -c1-24 /proc/net/udp); }
