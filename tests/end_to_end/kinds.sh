#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Opens the samples of the tree, one of each kind of page file. The picture must be the same in each pixel.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Each must have the title of its line in samples/README.md.
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
