#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A page that takes hours to decode: 26 bytes of JBIG for two billion rows, in stripes that take a second or
# more. Escape ends a jump to the end of the page with one message box, and the keyboard works again. Closing
# the window or a signal ends the program without a box.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
patience=60 # enough for the first stripe on a busy machine

width=131056
height=2000000000
lines=16382
long_page=$scratch/long.f
"$makepage" --draw noise --width 64 --height 64 --kind jbig --page 7 --job Long "$scratch/small.f"
# The larger numbers lengthen the header. The same number of blanks is cut off at its end.
head -c 4096 "$scratch/small.f" | sed "s/DataWidth 64/DataWidth $width/; s/ImageHeight 64/ImageHeight $height/" \
  >"$long_page"
truncate -s 4096 "$long_page"
perl -e 'print pack("C4 N3 x8 n", 0, 0, 1, 0, @ARGV, 0xff02)' "$width" "$height" "$lines" >>"$long_page"
equal "bytes of the page" $((4096 + 26)) "$(stat -c %s "$long_page")"

# True after the program has used a second of processor time since $since.
processor_ticks() { awk '{ print $14 + $15 }' "/proc/$program_pid/stat"; }
works_on() { (($(processor_ticks) >= since + $(getconf CLK_TCK))); }
jump_to_end()
{
  open_page "$long_page" "7.B Long"
  since=$(processor_ticks)
  xdotool key ctrl+End
  await "the jump does not begin" works_on
  since=$(processor_ticks)
  await "the jump has already ended" works_on
}

jump_to_end
xdotool key Escape
dialog_named LUMENTA
xdotool key Return
await "the box does not close" window_gone "$dialog"
xdotool key ctrl+Home ctrl+End Page_Up
choose alt+v m
await "the keyboard does not work" setting "Units=1"
quit_program

close_window() { xdotool key alt+F4; }
end_by_signal() { kill -TERM "$program_pid"; }
for end in close_window end_by_signal; do
  jump_to_end
  "$end"
  program_ends "$end"
done
