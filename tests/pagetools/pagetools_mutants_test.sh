#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# pagetools_mutants_test.sh TOOLS MAKEPAGE [COUNT]: damages COUNT (40) pages, always in the same way, and runs
# the tools on them. The image must have the rows before the one that page-check names, whether it is written
# to a file or to a pipe.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

export LC_ALL=C
PATH=$1:$PATH makepage=$2 count=${3:-40}
cd "$scratch"
kinds=(plain squeeze group4 jbig)
for kind in "${kinds[@]}"; do
  "$makepage" --draw mixed --width 601 --height 300 --dpi 50 --kind "$kind" "$kind.fax"
done

RANDOM=1
damaged=0 refused=0
for ((i = 0; i < count; ++i)); do
  kind=${kinds[i % 4]}
  cp "$kind.fax" page.fax
  size=$(stat -c %s page.fax)
  # One to three bytes of the raster, or a byte in the lines of the header, change. Some pages are cut.
  for ((n = i % 3; n >= 0; --n)); do
    if ((i % 8 == 7)); then at=$((RANDOM % 600)); else at=$((4096 + RANDOM * 32768 % (size - 4096))); fi
    printf '%b' "\\x$(printf %x $((RANDOM % 256)))" | dd of=page.fax bs=1 seek=$at conv=notrunc status=none
  done
  ((i % 5 != 4)) || truncate -s $((4000 + RANDOM * 32768 % (size - 4000))) page.fax

  status=0 image_status=0
  page-check page.fax >line 2>messages || status=$?
  page-to-pbm page.fax >image 2>image_message || image_status=$?
  page-to-pbm page.fax 2>pipe_message | cat >pipe_image || true
  text="mutant $i, $kind: $(<line)"
  [[ $status == [01] && $image_status == "$status" && ! -s messages ]] || die "$text: $status, $image_status; $(<messages)"
  cmp image pipe_image || die "$text: other image in a pipe"
  cmp image_message pipe_message || die "$text: other message with a pipe"
  case $(<line) in
  *OK) rows= ;; # the header may state another height
  *DAMAGED*) rows=$(sed 's/.*at row \([0-9]*\) of.*/\1/' line) damaged=$((damaged + 1)) ;;
  *) refused=$((refused + 1)) && continue ;;
  esac
  read -r _ image_width image_rows <<<"$(head -n 2 image | tr '\n' ' ')"
  [[ -z $rows || $image_rows == "$rows" ]] || die "$text: the image has $image_rows rows"
  header=$(head -n 2 image | wc -c)
  [[ $(stat -c %s image) == $((header + image_rows * ((image_width + 7) / 8))) ]] || die "$text: wrong size"
done
echo "$count mutants: $damaged damaged, $refused refused"
((damaged > count / 4)) || die "only $damaged mutants are damaged"
