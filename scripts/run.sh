#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# run.sh [PAGE]: builds the viewer in build/run and opens PAGE in it, or the sample page. If there is no
# display, it shows the viewer on a private display, saves a screenshot in build/lumenta.png and ends.
# On Debian it first installs missing packages with apt, as root or through sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

answer_help "$@"
(($# <= 1)) || wrong_usage "opens at most one page, got $#"
[[ ${1:-} != -* || -e $1 ]] || wrong_usage "unknown argument $1"
page=${1:-$root/samples/sample.tif}
viewer=$root/build/run/app/lumenta
picture=$root/build/lumenta.png

need run build
build_preset release run -DLUMENTA_TESTS=OFF -DLUMENTA_BENCH=OFF -- lumenta

if [[ -n ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]]; then
  rm -rf "$scratch" # exec does not run the EXIT trap
  exec "$viewer" "$page"
fi

need display
rm -f "$picture"
private_environment
start_display 1280x960
start_window_manager

"$viewer" "$page" >"$scratch/viewer.out" 2>"$scratch/viewer.err" &
viewer_pid=$!
at_exit_kill+=("$viewer_pid")

give_up()
{
  cat "$scratch/viewer.out" "$scratch/viewer.err" >&2
  die "$1"
}

# Whether the viewer has a window on the screen. If the viewer has ended, ends the script with an error.
window_shown()
{
  ! process_gone "$viewer_pid" || give_up "the viewer ended before it showed a window"
  window=$(xdotool search --onlyvisible --pid "$viewer_pid" 2>/dev/null | head -n 1)
  [[ -n $window ]]
}

# Whether the window has finished painting: it shows more than one colour, and since the last call the screen
# is unchanged and the viewer has used no processor time.
window_painted()
{
  local colours now
  ! process_gone "$viewer_pid" || give_up "the viewer ended before it had painted"
  colours=$(import -silent -window "$window" -format '%k' info:- 2>/dev/null) || return 1
  now=$(import -silent -window root -depth 8 rgb:- | cksum)
  now+=" $(awk '{ print $14 + $15 }' "/proc/$viewer_pid/stat" 2>/dev/null || true)"
  [[ $now == "${before:-}" ]] && ((colours > 1)) && return 0
  before=$now
  sleep 0.2
  return 1
}

wait_for 30 window_shown || give_up "no window appeared within 30 seconds"
wait_for 60 window_painted || give_up "the window did not finish painting within 60 seconds"
import -silent -window root "$picture"
cat "$scratch/viewer.err" >&2
echo "There is no display. A screenshot of the viewer is in $picture"
