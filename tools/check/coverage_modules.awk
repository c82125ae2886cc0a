#!/usr/bin/awk -f
# Sums gcovr's table by module: src/wifi, src/platform/audio, tools/quorin-listen.
BEGIN { FS = "," }
FNR == 1 {
  for (i = 1; i <= NF; ++i) column[$i] = i
  next
}
{
  n = split($1, part, "/")
  module = part[1] "/" part[2] (part[2] == "platform" ? "/" part[3] : "")
  sum(module)
  sum("~ together") # sorts last
}
function sum(name) {
  lines[name] += $column["line_total"]
  reached[name] += $column["line_covered"]
  branches[name] += $column["branch_total"]
  taken[name] += $column["branch_covered"]
}
function percent(part, whole) { return whole ? sprintf("%5.1f %%", 100 * part / whole) : "      -" }
END {
  printf "%-26s %6s %8s %9s %8s\n", "module", "lines", "reached", "branches", "reached"
  for (name in lines) {
    printf "%-26s %6d %8s %9d %8s\n", name, lines[name], percent(reached[name], lines[name]),
      branches[name], percent(taken[name], branches[name]) | "LC_ALL=C sort"
  }
}
