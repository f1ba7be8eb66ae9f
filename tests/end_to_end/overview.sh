#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The page and the overview at three scales of the desktop. One page pixel is one pixel of the screen. The
# overview becomes complete in its own size, and clicks in it move the page.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# True if two successive pictures of the window are equal and its lowest lines are no longer white.
whole()
{
  import -window "$overview" "$scratch/one.png"
  import -window "$overview" "$scratch/two.png"
  cmp -s "$scratch/one.png" "$scratch/two.png" || return 1
  [[ $(convert "$scratch/two.png" -crop 300x4+0+490 -format '%[fx:mean > 0.3 && mean < 0.7]' info:) == 1 ]]
}

overview_named() { overview=$(visible 'Plate 7  .1/8.'); }

while read -r scale photometric; do
  noise_page "$scratch/page.tif" 3001 4003 --photometric "$photometric"
  export QT_SCALE_FACTOR=$scale
  bar_room=$(awk "BEGIN { print int(24 * $scale) }")
  mkdir -p "$(dirname "$settings_file")"
  printf '[window]\nMainFrame=600 0 1240 900\n' >"$settings_file"
  open_page "$scratch/page.tif" "Plate 7"
  find_view "$scratch/page.tif"
  xdotool key --delay 1 Right Right Right Down Down Down Down Down
  await_page 3 5 "arrow keys"
  drag -37 -51
  xdotool mouseup 1
  await_page 40 56 "a drag"
  xdotool key --delay 1 Up Left Left Left Left Left Left Left
  await_page 33 55 "the way back"

  xdotool key ctrl+alt+s
  await "no scaled window" overview_named
  overview=$(visible 'Plate 7  .1/8.')
  await "the picture does not become complete" whole
  read -r width height < <(size_of "$overview")
  want "the window has another size than the picture: $width x $height" \
    test "$width" -ge 375 -a "$width" -le 378 -a "$height" -ge 500 -a "$height" -le 503

  read -r left top < <(xwininfo -id "$overview" |
    awk '/Absolute upper-left/ { printf "%s ", $NF } END { print "" }')
  want "the window is not in the corner: $left, $top" test "$left" -le 10 -a "$top" -le 40
  xdotool mousemove $((left + 200)) $((top + 300)) mousedown 1
  await_page $((200 * 8 - view_width / 2)) $((300 * 8 - view_height / 2)) "a click in the picture"
  xdotool mousemove $((left + 190)) $((top + 260))
  await_page $((190 * 8 - view_width / 2)) $((260 * 8 - view_height / 2)) "a drag in the picture"
  xdotool mouseup 1 mousemove $((left + 370)) $((top + 495)) click 1
  await_page $((3001 - view_width)) $((4003 - view_height)) "a click in its last corner"

  # Scaled Page shows the same window again, even if it was minimized.
  xdotool windowminimize "$overview"
  await "the page's window is not active" visible "Plate 7 - LUMENTA"
  xdotool windowactivate --sync "$window" key ctrl+alt+s
  await "the window is not shown again" overview_named
  xdotool key alt+F4
  await "the window does not close" window_gone "$overview"
  xdotool windowactivate --sync "$window"
  quit_program
done <<EOT
1 miniswhite
1.5 minisblack
2 minisblack
EOT
