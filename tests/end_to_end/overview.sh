#!/usr/bin/env bash
# The overview, a second window with the whole page: its size, its growth, and clicks that move the page.
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

# frame_at LEFT TOP RIGHT BOTTOM: true if the overview shows a black frame with a white one inside, around
# these pixels of the picture. Right and bottom are excluded.
frame_at()
{
  local width=$(($3 - $1)) height=$(($4 - $2)) part color crops
  import -window "$overview" "$scratch/frame.png"
  for color in black white; do
    [[ $color == black ]] && part=0 || part=1
    crops=("$((width - 2 * part))x1+$(($1 + part))+$(($2 + part))" "$((width - 2 * part))x1+$(($1 + part))+$(($4 - 1 - part))"
      "1x$((height - 2 * part))+$(($1 + part))+$(($2 + part))" "1x$((height - 2 * part))+$(($3 - 1 - part))+$(($2 + part))")
    for part in "${crops[@]}"; do
      [[ $(convert "$scratch/frame.png" -crop "$part" +repage -format '%[fx:mean]' info:) == \
        $([[ $color == black ]] && echo 0 || echo 1) ]] || return 1
    done
  done
}

# await_frame X Y WHAT: waits until the frame surrounds the part that the page view shows at position X, Y.
await_frame()
{
  await "$3: no frame" frame_at $(($1 / 8)) $(($2 / 8)) $((($1 + view_width + 7) / 8 > 375 ? 375 : ($1 + view_width + 7) / 8)) \
    $((($2 + view_height + 7) / 8 > 500 ? 500 : ($2 + view_height + 7) / 8))
}

# Presses the right button in the middle of the view and moves the pointer 100 pixels to the right.
drag_line()
{
  read -r main_left main_top < <(xwininfo -id "$window" |
    awk '/Absolute upper-left/ { printf "%s ", $NF } END { print "" }')
  line_x=$((view_x + view_width / 2)) line_y=$((view_y + view_height / 2))
  xdotool mousemove $((main_left + line_x)) $((main_top + line_y)) mousedown 3 \
    mousemove_relative 60 0 mousemove_relative 40 0
}
line_shows()
{
  import -window "$window" "$scratch/line.png"
  [[ $(convert "$scratch/line.png" -crop "101x1+$line_x+$line_y" +repage -format '%[fx:mean]' info:) == 0 &&
    $(convert "$scratch/line.png" -crop "101x1+$line_x+$((line_y + 1))" +repage -format '%[fx:mean]' info:) == 1 ]]
}

noise_page "$scratch/page.tif" 3001 4003
for scale in 1 1.5 2; do
  export QT_SCALE_FACTOR=$scale
  bar_room=$(awk "BEGIN { print int(24 * $scale) }")
  mkdir -p "$(dirname "$settings_file")"
  printf '[window]\nMainFrame=600 0 1240 900\n' >"$settings_file"
  open_page "$scratch/page.tif" "Plate 7"
  find_view "$scratch/page.tif"

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
  await_frame $((200 * 8 - view_width / 2)) $((300 * 8 - view_height / 2)) "a click in the picture"
  xdotool mousemove $((left + 190)) $((top + 260))
  await_page $((190 * 8 - view_width / 2)) $((260 * 8 - view_height / 2)) "a drag in the picture"
  await_frame $((190 * 8 - view_width / 2)) $((260 * 8 - view_height / 2)) "a drag in the picture"
  xdotool mouseup 1 mousemove $((left + 370)) $((top + 495)) click 1
  await_page $((3001 - view_width)) $((4003 - view_height)) "a click in its last corner"

  # The right button draws a line from the press to the pointer. The release removes it.
  xdotool windowactivate --sync "$window"
  drag_line
  await "no line" line_shows
  xdotool mouseup 3
  await_page $((3001 - view_width)) $((4003 - view_height)) "measuring"

  # Scaled Page shows the same window again, even if it was minimized.
  xdotool windowminimize "$overview"
  await "the page's window is not active" visible "Plate 7 - LUMENTA"
  xdotool windowactivate --sync "$window" key ctrl+alt+s
  await "the window is not shown again" overview_named
  xdotool key alt+F4
  await "the window does not close" window_gone "$overview"
  xdotool windowactivate --sync "$window"
  quit_program
done
