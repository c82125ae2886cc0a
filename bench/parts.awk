# The parts that have a target, from the lines of parts_bench: name (with blanks), time, "ns", ...
match($0, / +[0-9.e+]+ ns /) {
  split(substr($0, RSTART), field, " ")
  time[substr($0, 1, RSTART - 1)] = field[1]
}

END {
  printf "882 samples to 16 bits: %.0f ns, of 20 ms\n", time["882 samples to 16 bits"]
  printf "one chunk to ten clients: %.2f x ten bare sendto on one socket (target 1.0)\n",
         time["ten clients/ours"] / time["ten clients/ten sendto"]
}
