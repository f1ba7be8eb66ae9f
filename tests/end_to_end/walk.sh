#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Moves over a page by keys and pointer, and compares each step with the page. Then it checks that the place
# and the state of the window are kept for the next run.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

width=3001 height=4003
noise_page "$scratch/walk.tif" "$width" "$height" --dpi 300
open_page "$scratch/walk.tif" "Plate 7"
equal "a first window fills the screen" "0 0 1280 960" "$(frame_of_window)"
find_view "$scratch/walk.tif"

right=$((width - view_width)) bottom=$((height - view_height)) # the largest positions
page_x=$((view_width - 1)) page_y=$((view_height - 1))         # the steps of the page keys

# Each line has the position on the page that its keys lead to. The first key of some lines must do nothing.
while read -r x y keys; do
  # shellcheck disable=SC2086
  xdotool key --delay 1 $keys
  await_page "$x" "$y" "$keys"
done <<EOT
3 0 Left Right Right Right
3 5 Up Down Down Down Down Down
3 $((5 + page_y)) Next
$((3 + page_x)) $((5 + page_y)) ctrl+Right
3 5 Prior ctrl+Left
$right $bottom End ctrl+End
$right $bottom Right Down Next ctrl+Right
0 0 Home ctrl+Home
1 0 Left Right
EOT

# While the button is down, the page follows the pointer and stops at its edges.
xdotool key --delay 1 Home Right ctrl+Home
await_page 1 0 "the way back"
drag -101 -53
await_page 102 53 "a drag"
xdotool mousemove_relative -- 7 -10
await_page 95 63 "a drag that continues"
xdotool mouseup 1 mousemove_relative 30 30 key Right
await_page 96 63 "a step after the button is up"
drag 300 30
xdotool mouseup 1
await_page 0 33 "a drag beyond the edge"
xdotool click 5 click 5
await_page 0 129 "two notches of the wheel"
xdotool keydown shift click 5 keyup shift
await_page 48 129 "the wheel with Shift"
xdotool click 4
await_page 48 81 "the wheel upwards"

# The wheel has the same effect over the scroll bars and in the corner between them.
bar_x=$((view_width + bar_room / 3)) bar_y=$((view_y + view_height + bar_room / 3))
xdotool mousemove --window "$window" "$bar_x" $((view_y + view_height / 2)) click 5
await_page 48 129 "the wheel over the vertical bar"
xdotool mousemove --window "$window" $((view_width / 2)) "$bar_y" click 4
await_page 48 81 "the wheel over the horizontal bar"
xdotool mousemove --window "$window" "$bar_x" "$bar_y" keydown shift click 5 keyup shift
await_page 96 81 "the wheel with Shift in the corner"
xdotool keydown shift click 4 keyup shift
await_page 48 81 "the way back"

# cover X Y WIDTH HEIGHT: covers that part of the screen with another window; sets cover and cover_pid.
cover()
{
  : >"$scratch/cover"
  "$grab" cover "$@" >"$scratch/cover" &
  cover_pid=$!
  at_exit_kill+=("$cover_pid")
  await "the view is not covered" test -s "$scratch/cover"
  cover=$(cat "$scratch/cover")
}

# The display loses pixels of the view that another window covers: they must be sent again when the window is
# gone, and the view must not move them.
cover 300 400 350 250
end_process "$cover_pid"
await_page 48 81 "a window that covered the view for a while"
xdotool windowminimize "$window"
await "the window is not minimized" window_gone "$window"
xdotool windowactivate "$window"
await_page 48 81 "a minimized window"
cover 300 400 350 250
xdotool mousemove --window "$window" 100 $((view_y + view_height / 2)) click 5 click 5
above=(0 "$view_y" "$view_width" 300)
await "scrolling below another window" "$grab" same "$window" "$page" 48 $((81 + 96)) "${above[@]}"
for place in "320 230" "700 500" "320 420" "-100 600" "900 800"; do
  # shellcheck disable=SC2086
  xdotool click 5 windowmove "$cover" $place click 5 keydown shift click 5 keyup shift
done
end_process "$cover_pid"
await_page $((48 + 5 * 48)) $((81 + 12 * 48)) "scrolling while another window moves"
xdotool keydown shift click --repeat 5 4 keyup shift click --repeat 12 4
await_page 48 81 "the way back"

# A click below the slider of the scroll bar moves by a page.
xdotool mousemove --window "$window" "$bar_x" $((view_y + view_height - 40)) click 1
await_page 48 $((81 + page_y)) "the scroll bar"

xdotool mousemove --window "$window" $((view_width / 2)) $((view_height / 2)) key --delay 1 ctrl+Home Home
await_page 0 0 "the way back"

# Moves the window. The stored place includes the frame of the window manager.
xdotool windowsize "$window" 901 613 windowmove "$window" 77 91
extents=$(xprop -id "$window" _NET_FRAME_EXTENTS)
IFS=', ' read -r left right top bottom <<<"${extents#*= }"
place="$((77 - left)) $((91 - top)) $((77 + 901 + right)) $((91 + 613 + bottom))"
await "the window does not move" frame_is "$place"
find_view "$page"
await_page 0 0 "a smaller window"
quit_program
want "the place is not stored" setting "MainFrame=$place"
want "the state is not stored" setting "Maximize%20MainFrame=0"

open_page "$page" "Plate 7"
await "the place is not restored" frame_is "$place"
want "the window is maximized without a request" normal
find_view "$page"

# Maximizes and restores the window, in one run and across runs. The normal place is unchanged.
toggle_maximized
await "the window is not maximized" maximized
find_view "$page"
quit_program
want "maximizing has changed the stored place" setting "MainFrame=$place"
want "the state is not stored" setting "Maximize%20MainFrame=1"

open_page "$page" "Plate 7"
await "the window is not maximized again" maximized
find_view "$page"
want "the maximized view is too small" test "$view_width" -ge $((1280 - bar_room))
toggle_maximized
await "the window is still maximized" normal
await "the normal place is not restored" frame_is "$place"
find_view "$page"
xdotool windowmove "$window" 137 61
place="$((137 - left)) $((61 - top)) $((137 + 901 + right)) $((61 + 613 + bottom))"
await "the window does not move" frame_is "$place"
quit_program
want "the place is not stored" setting "MainFrame=$place"
want "the state is not stored" setting "Maximize%20MainFrame=0"
