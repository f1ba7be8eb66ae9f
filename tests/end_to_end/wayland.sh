#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The program on Wayland. The screen of the compositor is a window on the private display, which gives it a
# keyboard and a pointer. One page pixel is one pixel of that screen at the scales 1 and 2.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# start_compositor SCALE: starts a compositor with a screen of 1000 x 800 pixels. Sets window, to that screen,
# and compositor_pid.
start_compositor()
{
  weston --backend=x11-backend.so --use-pixman --width=$((1000 / $1)) --height=$((800 / $1)) --scale="$1" \
    --socket=lumenta-test --idle-time=0 --config="$scratch/weston.ini" >"$scratch/weston.log" 2>&1 &
  compositor_pid=$!
  at_exit_kill+=("$compositor_pid")
  wait_for "$patience" compositor_ready || fail "no compositor: window $window, $(tail -n 3 "$scratch/weston.log")"
  equal "size of the compositor's screen" "1000 800 " "$(size_of "$window")"
}
compositor_ready()
{
  window=$(xdotool search --onlyvisible --class weston | head -n 1) || return 1
  [[ -n $window && -S $XDG_RUNTIME_DIR/lumenta-test ]] || return 1
  xdotool windowactivate "$window"
  [[ $(xdotool getactivewindow) == "$window" && $(panel_colours) -gt 20 ]]
}
# The clock in the panel has many colours. They show that the compositor is ready.
panel_colours() { import -silent -window "$window" -crop 1000x32+0+0 -format %k info:-; }

# Moves the pointer to the status bar, because it is part of the picture. The compositor uses relative moves,
# not always from the true position, but the pointer stops at the edges.
park_pointer() { xdotool mousemove --window "$window" 5 5 mousemove --window "$window" 995 795; }

# True if only a scroll bar is beside the view, and only a scroll bar and the status bar are below it.
fills_screen()
{
  local below
  read -r view_x view_y view_width view_height < <("$grab" view "$window" "$page") || return 1
  below=$((800 - view_y - view_height))
  ((view_x == 0 && view_width >= 1000 - 24 * scale && below >= 30 * scale && below <= 60 * scale))
}
covers_page() { ! shows "$1" "$2"; }

printf '[shell]\nanimation=none\nclose-animation=none\nstartup-animation=none\nlocking=false\n' >"$scratch/weston.ini"
noise_page "$scratch/wayland.tif" 3001 4003
page=$scratch/wayland.tif

for scale in 1 2; do
  start_compositor "$scale"
  park_pointer
  rm -f "$settings_file"
  DISPLAY='' WAYLAND_DISPLAY=lumenta-test start_program "$page"
  await "the window is not maximized at $scale" fills_screen
  xdotool key --delay 1 ctrl+End End
  x=$((3001 - view_width)) y=$((4003 - view_height))
  await_page "$x" "$y" "the far corner at $scale"
  xdotool key --delay 1 Up Left Left
  await_page $((x - 2)) $((y - 1)) "the arrow keys at $scale"
  xdotool mousemove --window "$window" 500 400 click 4
  park_pointer
  await_page $((x - 2)) $((y - 49)) "a notch of the wheel at $scale"

  xdotool key ctrl+p
  await "no dialog opens at $scale" covers_page $((x - 2)) $((y - 49))
  xdotool key Escape
  await_page $((x - 2)) $((y - 49)) "the end of the dialog at $scale"
  xdotool key Home ctrl+Home
  await_page 0 0 "the way back at $scale"
  want "a renderer is loaded" test -z "$(grep -E 'wayland-egl|LLVM' "/proc/$program_pid/maps")"
  # The compositor opens a menu only if its key is still down when the program requests it.
  xdotool keydown alt keydown f
  await "no menu opens at $scale" covers_page 0 0
  xdotool keyup f keyup alt
  xdotool key x
  program_ends "Exit at $scale"
  want "the window is not stored as maximized" setting "Maximize%20MainFrame=1"
  end_process "$compositor_pid"
done
