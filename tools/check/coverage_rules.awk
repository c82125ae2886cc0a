#!/usr/bin/awk -f
# Each listed file's branches; fails for one below 95 % without a reason, and for one not built.
# usage: coverage_rules.awk COVERAGE.csv RULES.txt
BEGIN { FS = "," }
FNR == NR && FNR == 1 {
  for (i = 1; i <= NF; ++i) column[$i] = i
  next
}
FNR == NR {
  total[$1] = $column["branch_total"]
  taken[$1] = $column["branch_covered"]
  next
}
/^#/ || /^$/ { next }
{
  file = reason = $0
  sub(/ .*/, "", file)
  if (!sub(/^[^ ]+ +/, "", reason)) reason = ""
  if (!(file in total)) {
    printf "%-44s is not there\n", file
    failed = 1
    next
  }
  share = total[file] ? 100 * taken[file] / total[file] : 100
  verdict = reason
  if (share < 95 && reason == "") {
    verdict = "BELOW 95 % without a reason"
    failed = 1
  }
  printf "%-44s %4d of %4d  %5.1f %%  %s\n", file, taken[file], total[file], share, verdict
}
END { exit failed }
