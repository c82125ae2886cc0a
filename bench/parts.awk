# The parts that have a target, from the lines of parts_bench: name (with blanks), time, "ns", ...
match($0, / +[0-9.e+]+ ns /) {
  split(substr($0, RSTART), field, " ")
  time[substr($0, 1, RSTART - 1)] = field[1]
}

END {
  printf "882 samples to 16 bits: %.0f ns, of 20 ms\n", time["882 samples to 16 bits"]
  bare = time["ten clients/bare sendmmsg"]
  printf "one chunk to ten clients: %.2f x one bare sendmmsg (target 1.2; ten sendto %.2f x)\n",
         time["ten clients/ours"] / bare, time["ten clients/ten sendto"] / bare
}
