#!/usr/bin/env bash
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
printf '%b' "$(printf '\\0\\0\\x1\\0'
  printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((width >> 24)) $((width >> 16 & 255)) $((width >> 8 & 255)) $((width & 255)) \
    $((height >> 24)) $((height >> 16 & 255)) $((height >> 8 & 255)) $((height & 255)) \
    $((lines >> 24)) $((lines >> 16 & 255)) $((lines >> 8 & 255)) $((lines & 255))
  printf '\\0\\0\\0\\0\\0\\0\\0\\0\\xff\\x02')" >>"$long_page"
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
  await "the window does not close" process_gone "$program_pid"
  status=0
  wait "$program_pid" || status=$?
  equal "exit status after $end" 0 "$status"
  equal "standard error stream" "" "$(<"$scratch/program.err")"
done
