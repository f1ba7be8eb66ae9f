#!/usr/bin/env bash
# One page pixel is one pixel of the screen at every scale of the desktop, for each kind of page, at each
# position and in each size of the window.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# walk WHAT: moves from the top left corner of the page by odd numbers of pixels on both axes, then to the
# bottom right corner.
walk()
{
  local x y
  find_view "$page"
  xdotool key --delay 1 Right Right Right Down Down Down Down Down
  await_page 3 5 "$1: arrow keys"
  drag -37 -51
  xdotool mouseup 1
  await_page 40 56 "$1: a drag"
  xdotool key --delay 1 Up Left Left Left Left Left Left Left
  await_page 33 55 "$1: back"
  xdotool key --delay 1 ctrl+End End
  x=$((3001 - view_width)) y=$((4003 - view_height))
  await_page "$x" "$y" "$1: the far corner"
  xdotool key --delay 1 Up Left Left Left
  await_page $((x - 3)) $((y - 1)) "$1: back from there"
  xdotool key --delay 1 ctrl+Home Home
}

while read -r scale bits photometric; do
  noise_page "$scratch/scale.tif" 3001 4003 --bits "$bits" --photometric "$photometric"
  rm -f "$settings_file"
  export QT_SCALE_FACTOR=$scale
  bar_room=$(awk "BEGIN { print int(24 * $scale) }")
  page=$scratch/scale.tif
  open_page "$page" "Plate 7"
  walk "at $scale"
  xdotool windowsize "$window" 751 533
  walk "at $scale in a window of 751 x 533"
  quit_program
done <<EOT
1.25 1 miniswhite
1.5 8 minisblack
2 1 minisblack
EOT
