#!/usr/bin/env bash
# Every kind of page file as a user opens it: the same picture, pixel for pixel, and the title that its header gives;
# and what no kind is.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

picture=(--draw noise --width 2003 --height 1501)
"$makepage" "${picture[@]}" --compression none "$scratch/picture.tif"
for kind in squeeze plain; do
  "$makepage" "${picture[@]}" --kind "$kind" --job "Late City" --page 12 --layer 1 "$scratch/page"
  open_page "$scratch/page" "12.C Late City"
  find_view "$scratch/picture.tif"
  xdotool key ctrl+End End
  await_page $((2003 - view_width)) $((1501 - view_height)) "the way to the end of a $kind page"
  quit_program
done

# A header alone is no page; the words are those of the kind that was tried last.
head -c 4095 "$scratch/page" >"$scratch/short"
tolerated="bad magic number" # libtiff says so too
start_program "$scratch/short"
dialog_named LUMENTA
xdotool key Return
await "the box stays open" window_gone "$dialog"
window_named LUMENTA
quit_program
