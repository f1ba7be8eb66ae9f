#!/usr/bin/env bash
# Every kind of page file as a user opens it: the same picture, pixel for pixel, and the title that its header gives;
# and what no kind is.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

picture=(--draw noise --width 2003 --height 1501)
"$makepage" "${picture[@]}" --compression none "$scratch/picture.tif"
for kind in squeeze plain group4 jbig; do
  "$makepage" "${picture[@]}" --kind "$kind" --job "Late City" --page 12 --layer 1 "$scratch/page"
  open_page "$scratch/page" "12.C Late City"
  find_view "$scratch/picture.tif"
  xdotool key ctrl+End End
  await_page $((2003 - view_width)) $((1501 - view_height)) "the way to the end of a $kind page"
  quit_program
done

# The samples of the tree, each with the title that its line in samples/README.md leads to.
samples=$(dirname "${BASH_SOURCE[0]}")/../../samples
while read -r sample width height title; do
  "$makepage" --draw sample --width "$width" --height "$height" --dpi 75 --compression none "$scratch/sample.tif"
  open_page "$samples/sample-$sample.fax" "$title Ink and Paper"
  await "sample $sample does not show" "$grab" view "$window" "$scratch/sample.tif"
  quit_program
done <<END
squeeze 620 877 1.B
plain 437 620 2.C
group4 620 877 1.M
jbig 620 877 2.4
END

# A header alone is no page; the words are those of the kind that was tried last.
head -c 4095 "$scratch/page" >"$scratch/short"
tolerated="bad magic number" # libtiff says so too
start_program "$scratch/short"
dialog_named LUMENTA
xdotool key Return
await "the box stays open" window_gone "$dialog"
window_named LUMENTA
quit_program
