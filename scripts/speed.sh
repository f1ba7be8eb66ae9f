# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Makes tables of the figures that the benchmark programs report. Source this file. The input is a file with
# one line per figure and tabs between the fields: run, program, name, median, spread, unit, goal, where,
# verdict (see bench/harness.h).

# Shared by the functions below. Reads the figures. sort_values(key) sorts the medians of all runs of a
# figure, and sets n (number of runs), median and spread.
# shellcheck disable=SC2016 # these are variables of awk
speed_figures='
BEGIN { FS = "\t" }
{
  key = $2 "\t" $3 "\t" $8
  if (!(key in count)) {
    order[++keys] = key
    program[key] = $2; name[key] = $3; unit[key] = $6; goal[key] = $7; where[key] = $8
  }
  # Some goals depend on the speed of the machine in that run. The strictest one is shown.
  number = $7
  sub(/.* /, "", number)
  shown = goal[key]
  sub(/.* /, "", shown)
  if (($7 ~ /^at least/ && number + 0 > shown + 0) || ($7 ~ /^at most/ && number + 0 < shown + 0))
    goal[key] = $7
  values[key, ++count[key]] = $4 + 0
  if ($9 == "missed")
    ++missed[key]
}
function sort_values(key,   i, j, v) {
  n = count[key]
  for (i = 1; i <= n; ++i) {
    v = values[key, i]
    for (j = i - 1; j >= 1 && value[j] > v; --j)
      value[j + 1] = value[j]
    value[j + 1] = v
  }
  median = n % 2 ? value[(n + 1) / 2] : (value[n / 2] + value[n / 2 + 1]) / 2
  spread = sprintf("%.4g to %.4g", value[1], value[n])
}'

# speed_table FIGURES RUNS: prints the method and a table for each program, as Markdown.
speed_table()
{
  cat <<END
$2 runs of all programs. A run has several rounds. In each round, our code and its peer (the library or program that we
compare with) run once, in turn. The first round is not counted. A figure is the median of the medians of the runs, with
the lowest and the highest of these medians. Before a program measures, it checks that the results are right. A goal is
missed if a run's median is worse than the goal by more than a tenth.

- "A / B" is the time of A divided by the time of B. "A, times as fast as B" is the time of B divided by the time of A.
- "X": measured on an X display, and the time includes the display's answer. "memory": measured without a display.
- "cached": the file of the page is in the system's file cache. "cold": the file was dropped from this cache before
  (posix_fadvise), but the programs are still in it.
- "plain" after the name of a code: measured without AVX2. "plain rows" and "image, plain": pages without compression.
END
  awk "$speed_figures"'
  END {
    for (i = 1; i <= keys; ++i) {
      key = order[i]
      if (program[key] in done)
        continue
      done[program[key]] = 1
      printf "\n## `%s`\n\n| | median | lowest to highest | unit | goal | where |\n|---|---|---|---|---|---|\n", program[key]
      for (k = i; k <= keys; ++k) {
        other = order[k]
        if (program[other] != program[key])
          continue
        sort_values(other)
        printf "| %s | %.4g | %s | %s | %s%s | %s |\n", name[other], median, spread, unit[other], goal[other],
          missed[other] ? ", missed in " missed[other] " of " n : "", where[other]
      }
    }
  }' "$1"
}

# missed_goals FIGURES: prints a line for each goal that was missed in any run.
missed_goals()
{
  awk "$speed_figures"'
  END {
    for (i = 1; i <= keys; ++i)
      if (missed[order[i]]) {
        sort_values(order[i])
        printf "%s: %s: %.4g (%s) %s, goal: %s, missed in %d of %d runs\n", program[order[i]], name[order[i]],
          median, spread, unit[order[i]], goal[order[i]], missed[order[i]], n
      }
  }' "$1"
}

# The figures that README.md shows, between the lines <!-- speed --> and <!-- /speed -->.
readme_figures='start, 20 000 x 30 000 page	X, cached
large page, jump to the last row / libtiff	memory, cached
full repaint, 1280 x 960	X
Next Page, TIFF, Group 4	X, cached
Group 4, text, times as fast as libtiff	memory'

# speed_in_readme FIGURES README: replaces the text between the two marker lines. Ends the script if a figure
# is missing.
speed_in_readme()
{
  local figures=$1 readme=$2 block missing
  block=$(awk -v wanted="$readme_figures" "$speed_figures"'
  END {
    print "| | median | lowest to highest | where |\n|---|---|---|---|"
    count_wanted = split(wanted, lines, "\n")
    for (w = 1; w <= count_wanted; ++w) {
      found = 0
      for (i = 1; i <= keys; ++i)
        if (name[order[i]] "\t" where[order[i]] == lines[w]) {
          sort_values(order[i])
          printf "| %s | %.3g %s | %s | %s |\n", name[order[i]], median, unit[order[i]], spread, where[order[i]]
          found = 1
        }
      if (!found)
        print "missing: " lines[w]
    }
  }' "$figures")
  missing=$(sed -n 's/^missing: //p' <<<"$block")
  [[ -z $missing ]] || die "no program reports these figures of the README:
$missing"
  BLOCK=$block awk '
    $0 == "<!-- /speed -->" { inside = 0 }
    !inside { print }
    $0 == "<!-- speed -->" { inside = 1; print ENVIRON["BLOCK"] }' "$readme" >"$readme.new"
  mv "$readme.new" "$readme"
}
