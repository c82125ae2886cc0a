# The table of ./dev bench, from lines of "set-up, load, sender, figure, value".
{ value[$1, $2, $3, $4] = $5 }

function figure(setup, load, sender, name, format,   key) {
  key = setup SUBSEP load SUBSEP sender SUBSEP name
  return key in value ? sprintf(format, value[key]) : "-"
}

function line(name, target, quorin, ffmpeg, gstreamer, bare) {
  printf "%-46s %-22s %-22s %-22s %-22s %s\n", name, target, quorin, ffmpeg, gstreamer, bare
}

# Two or three figures of one sender, joined by slashes.
function joined(setup, load, sender, names, format,   list, count, i, text) {
  count = split(names, list, " ")
  for (i = 1; i <= count; ++i)
    text = text (i > 1 ? " / " : "") figure(setup, load, sender, list[i], format)
  return text
}

function row(title, target, setup, load, names, format, bare) {
  line(title ", " setup ", " load, target,
       joined(setup, load, "quorin1", names, format), joined(setup, load, "ffmpeg1", names, format),
       joined(setup, load, "gstreamer1", names, format), bare)
}

# The p99 allows for what the machine did to a thread that only slept meanwhile.
function calm(setup) {
  return sprintf("0.05 / %.2f", 1.5 * value[setup, "idle", "quorin1", "loop_p99"])
}

END {
  setups = split("low-latency-player default-player pipewire", setup, " ")
  split("idle busy", load, " ")
  pacing = "deviation_p50 deviation_p99 deviation_max"
  line("figure", "target", "quorin-stream", "ffmpeg", "gstreamer", "bare loops beside quorin-stream (normal; real-time)")
  for (i = 1; i <= setups; ++i)
    for (k = 1; k <= 2; ++k)
      row("pacing p50/p99/max", k == 1 ? calm(setup[i]) : "p99 0.5 if real-time", setup[i],
          load[k], pacing, "%.2f",
          joined(setup[i], load[k], "quorin1", "loop_p50 loop_p99 loop_max", "%.2f") "; " \
          joined(setup[i], load[k], "quorin1",
                 "realtime_loop_p50 realtime_loop_p99 realtime_loop_max", "%.2f"))
  line("pacing p50/p99, received of 500, nine of ten gone",
       joined("vanish", "present", "quorin", "deviation_p50 deviation_p99", "%.2f") ", " figure("vanish", "present", "quorin", "received", "%d"),
       joined("vanish", "vanished", "quorin", "deviation_p50 deviation_p99", "%.2f") ", " figure("vanish", "vanished", "quorin", "received", "%d"))
  line("pacing p50/p99/max, cable", "as over Wi-Fi", joined(setup[1], "idle", "cable1", pacing, "%.2f"))
  for (i = 1; i <= setups; ++i)
    for (k = 1; k <= 2; ++k) row("buffer needed p1-p99", "under 1", setup[i], load[k], "buffer", "%.2f")
  for (i = 1; i <= setups; ++i)
    for (k = 1; k <= 2; ++k)
      row("latency p50/max", "25 / 45", setup[i], load[k], "latency_p50 latency_max", "%.1f")
  row("delivered / real time", "1.0000", setup[1], "idle", "delivered", "%.4f")
  for (i = 1; i <= setups; ++i)
    for (k = 1; k <= 2; ++k)
      row("processor, % of a core", "1, and under the peers", setup[i], load[k], "processor", "%.2f")
  for (i = 1; i <= setups; ++i)
    line("processor with 10 clients, " setup[i], "under the peers",
         figure(setup[i], "idle", "quorin10", "processor", "%.2f"), "-",
         figure(setup[i], "idle", "gstreamer10", "processor", "%.2f"))
  line("processor, cable", "1", figure(setup[1], "idle", "cable1", "processor", "%.2f"))
  line("delivered / real time, cable", "1.0000", figure(setup[1], "idle", "cable1", "delivered", "%.4f"))
  line("latency p50/max, cable", "25 / 45", joined(setup[1], "idle", "cable1", "latency_p50 latency_max", "%.1f"))
  window = figure("window", "idle", "empty_window", "pss", "%.1f")
  target = window == "-" ? "-" : sprintf("%.1f (2 x empty)", 2 * window)
  for (i = 1; i <= setups; ++i)
    for (k = 1; k <= 2; ++k) row("memory, MB of PSS", target, setup[i], load[k], "pss", "%.1f")
  print ""
  split("xcb offscreen", platform, " ")
  for (i = 1; i <= 2; ++i) {
    empty = value["start-" platform[i], "idle", "empty_window", "start_p50"]
    own = value["start-" platform[i], "idle", "quorin-stream", "start_p50"]
    if (empty > 0)
      printf "start to first picture, %s: %.0f ms, %.2f x an empty window's %.0f (target 1.4)\n",
             platform[i], own, own / empty, empty
  }
  if (window > 0)
    printf "memory at the menu: %s MB, %.2f x an empty window's (target 2)\n",
           figure("window", "idle", "quorin-stream", "pss", "%.1f"),
           value["window", "idle", "quorin-stream", "pss"] / window
  print "\nreal-time priority granted to quorin-stream: " \
        (figure(setup[1], "idle", "quorin1", "realtime", "%d") == 1 ? "yes" : "no") \
        "; an empty Qt window takes " window " MB"
  print "latency: from the moment at which, by its own clock, the sink plays a tick to the kernel's" \
        " stamp on the datagram that brings it"
}
