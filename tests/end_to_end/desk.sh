#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Work by keys: a changed page file is reported, and F5 reads it again. F11 fills the screen and restores the
# window. Keys close the overview and end the program.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

full_screen() { xprop -id "$window" _NET_WM_STATE | grep -q FULLSCREEN; }
no_full_screen() { ! full_screen; }
overview_open() { visible 'Plate 7  .1/8.'; }
fill_screen() { xdotool key F11 && await "F11 does not fill the screen" full_screen; }
quit_by_key() { xdotool key ctrl+q && program_ends Ctrl+Q; }

for seed in 1 2 3; do
  noise_page "$scratch/$seed.tif" 3001 4003 --seed "$seed"
done
cp "$scratch/1.tif" "$scratch/page.tif"
mkdir -p "$(dirname "$settings_file")"
printf '[window]\nMainFrame=100 80 900 760\n' >"$settings_file"
open_page "$scratch/page.tif" "Plate 7"
find_view "$scratch/page.tif"
place=$(frame_of_window)
xdotool mousemove 1200 900 key --delay 1 Right Right Right Next
x=3 y=$((view_height - 1))
await_page "$x" "$y" "the way to the place"

# The file is rewritten, replaced and removed. Until F5 only the message field changes.
quiet=$(status_bar)
cat "$scratch/2.tif" >"$page"
await "a rewritten page is not reported" other_status_bar "$quiet"
changed=$(status_bar)
xdotool key F5
await_page "$x" "$y" "F5"
await "the report does not disappear" same_status_bar "$quiet"
mv "$scratch/3.tif" "$page"
await "a replaced page is not reported" same_status_bar "$changed"
xdotool key F5
await_page "$x" "$y" "F5 after a replacement"
mv "$page" "$scratch/aside.tif"
await "a removed page is not reported" other_status_bar "$quiet"
want "a removed page is reported like a changed one" other_status_bar "$changed"
mv "$scratch/aside.tif" "$page"
await "a page moved back is still reported" same_status_bar "$quiet"

# The full screen has no menu, but the keys work as before. Both keys back keep the visible part.
normal=("$view_x" "$view_y" "$view_width" "$view_height")
for way_back in F11 Escape; do
  fill_screen
  await "the window does not fill the screen" frame_is "0 0 1280 960"
  xdotool key --delay 1 ctrl+Home Home
  find_view "$page"
  equal "height of the menu in full screen" 0 "$view_y"
  xdotool key --delay 1 Down ctrl+Right
  await_page $((view_width - 1)) 1 "keys in the full screen"
  x=$((view_width - 1)) y=1
  xdotool key "$way_back"
  await "$way_back does not end the full screen" no_full_screen
  await "the place is not restored" frame_is "$place"
  read -r view_x view_y view_width view_height <<<"${normal[*]}"
  await_page "$x" "$y" "the way back"
done

# Ctrl+W closes the overview, both from the overview and from the main window.
for from in itself main; do
  xdotool key ctrl+alt+s
  await "no overview" overview_open
  overview=$(overview_open)
  [[ $from == itself ]] || xdotool windowactivate --sync "$window"
  xdotool key ctrl+w
  await "Ctrl+W does not close the overview" window_gone "$overview"
  await "the page's window is not active" visible "Plate 7 - LUMENTA"
done

# If the program ends in full screen, it stores the window as it was before.
fill_screen
quit_by_key
want "the place is not stored" setting "MainFrame=$place"
want "the state is not stored" setting "Maximize%20MainFrame=0"

open_page "$page" "Plate 7"
await "the place is not restored" frame_is "$place"
toggle_maximized
await "the window is not maximized" maximized
fill_screen
xdotool key Escape
await "Escape does not end the full screen" no_full_screen
await "the window is no longer maximized" maximized
fill_screen
quit_by_key
want "the place is not stored" setting "MainFrame=$place"
want "the state is not stored" setting "Maximize%20MainFrame=1"
open_page "$page" "Plate 7"
await "the window is not maximized again" maximized
toggle_maximized
await "the normal place is not restored" frame_is "$place"
quit_by_key
