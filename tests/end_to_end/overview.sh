#!/usr/bin/env bash
# The whole page in a second window beside the page: its size, its growth, and a click in it that moves the page.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Two looks at the window a moment apart are equal, and its lowest lines are no longer white.
whole()
{
  import -window "$overview" "$scratch/one.png"
  import -window "$overview" "$scratch/two.png"
  cmp -s "$scratch/one.png" "$scratch/two.png" || return 1
  [[ $(convert "$scratch/two.png" -crop 300x4+0+490 -format '%[fx:mean > 0.3 && mean < 0.7]' info:) == 1 ]]
}

overview_named() { overview=$(visible 'Plate 7  .1/8.'); }

noise_page "$scratch/page.tif" 3001 4003
for scale in 1 1.5; do
  export QT_SCALE_FACTOR=$scale
  bar_room=$(awk "BEGIN { print int(24 * $scale) }")
  mkdir -p "$(dirname "$settings_file")"
  printf '[window]\nMainFrame=600 0 1240 900\n' >"$settings_file"
  open_page "$scratch/page.tif" "Plate 7"
  find_view "$scratch/page.tif"

  xdotool key ctrl+alt+s
  await "no scaled window" overview_named
  overview=$(visible 'Plate 7  .1/8.')
  await "the picture does not grow to its end" whole
  read -r width height < <(size_of "$overview")
  want "as large as the picture: $width x $height" \
    test "$width" -ge 375 -a "$width" -le 378 -a "$height" -ge 500 -a "$height" -le 503

  read -r left top < <(xwininfo -id "$overview" |
    awk '/Absolute upper-left/ { printf "%s ", $NF } END { print "" }')
  want "the window stands in the corner: $left, $top" test "$left" -le 10 -a "$top" -le 40
  xdotool mousemove $((left + 200)) $((top + 300)) mousedown 1
  await_page $((200 * 8 - view_width / 2)) $((300 * 8 - view_height / 2)) "a click in the picture"
  xdotool mouseup 1 mousemove $((left + 370)) $((top + 495)) click 1
  await_page $((3001 - view_width)) $((4003 - view_height)) "a click in its last corner"

  # The same window again, also from where it was put away to.
  xdotool windowminimize "$overview"
  await "the page's window is not active" visible "Plate 7 - LUMENTA"
  xdotool windowactivate --sync "$window" key ctrl+alt+s
  await "the window does not come back" overview_named
  xdotool key alt+F4
  await "the window stays" window_gone "$overview"
  xdotool windowactivate --sync "$window"
  quit_program
done
