#!/usr/bin/env bash
# Opens every kind of page file. The picture must be the same in each pixel, and the title must be that of the
# header. The last file is of no kind.
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

# Opens the samples of the tree. Each must have the title of its line in samples/README.md.
samples=$(dirname "${BASH_SOURCE[0]}")/../../samples
while read -r sample width height title; do
  "$makepage" --draw sample --width "$width" --height "$height" --dpi 75 --compression none "$scratch/sample.tif"
  open_page "$samples/sample-$sample.fax" "$title Ink and Paper"
  await "sample $sample is not shown" "$grab" view "$window" "$scratch/sample.tif"
  quit_program
done <<END
squeeze 620 877 1.B
plain 437 620 2.C
group4 620 877 1.M
jbig 620 877 2.4
END

# A header without a raster is no page. The message is that of the kind tried last.
head -c 4095 "$scratch/page" >"$scratch/short"
tolerated="bad magic number" # libtiff writes this
start_program "$scratch/short"
dialog_named LUMENTA
xdotool key Return
await "the box does not close" window_gone "$dialog"
window_named LUMENTA
quit_program
