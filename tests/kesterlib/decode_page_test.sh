#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# decode_page_test.sh DECODE_PAGE MAKEPAGE SAMPLES: tests the example program with pages of all kinds and with
# files that it must refuse.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

export LC_ALL=C
decode_page=$1 makepage=$2 samples=$3
cd "$scratch"

# refuses TEXT FILE: the program ends with status 1 and a message that begins with the file's name and has the
# text.
refuses()
{
  local status=0
  "$decode_page" "$2" >stdout 2>stderr || status=$?
  if [[ $status != 1 ]] || ! grep -q "^$2: .*$1" stderr; then
    die "$2: status $status, $(<stderr)"
  fi
}

# More than one batch of rows, and a width that is no multiple of 8.
draw() { "$makepage" --draw mixed --width 9001 --height 1000 --kind "$@"; }
draw plain plain.fax
{ printf 'P4\n9001 1000\n' && tail -c +4097 plain.fax; } >wanted.pbm
draw squeeze squeeze.fax
draw squeeze --raw-rows always raw.fax
draw group4 group4.fax
draw jbig jbig.fax
for page in plain squeeze raw group4 jbig; do
  "$decode_page" $page.fax >got.pbm || die "$page.fax: status $?"
  cmp got.pbm wanted.pbm || die "$page.fax: wrong rows"
done
for page in "$samples"/*.fax; do
  "$decode_page" "$page" >got.pbm || die "$page: status $?"
done

refuses "No such file" missing.fax
for page in plain squeeze group4 jbig; do
  sed 's,/ImageHeight 1000,/ImageHeight 3000000000,' $page.fax >tall.fax
  refuses "/ImageHeight 3000000000" tall.fax
  sed 's,/DataWidth 9001,/DataWidth 4000000000,' $page.fax >wide.fax
  refuses "/DataWidth 4000000000" wide.fax
done
sed 's,/Compression 2000,/Compression 7777,' group4.fax >unknown.fax
refuses "unknown kind" unknown.fax
for page in plain squeeze group4; do
  head -c 50000 $page.fax >cut.fax
  refuses "row [1-9][0-9]*: CUT OFF" cut.fax
done
head -c 50000 jbig.fax >cut.fax
refuses "cannot open the raster: CUT OFF" cut.fax
# At the end of a stripe JBIG data can be cut off without an error of the decoder.
mark=$(grep -obUaP '\xff\x02' jbig.fax | sed -n '3s/:.*//p')
head -c $((mark + 2)) jbig.fax >cut.fax
refuses "row 384: CUT OFF" cut.fax
for page in squeeze group4; do
  { head -c 30000 $page.fax && head -c 64 /dev/zero && tail -c +30065 $page.fax; } >damaged.fax
  refuses "row [1-9][0-9]*: DAMAGED" damaged.fax
done
{ head -c 4108 jbig.fax && printf '\x7f' && tail -c +4110 jbig.fax; } >large.fax
refuses "cannot open the raster: too large" large.fax
head -c 4000 plain.fax >short.fax
refuses "not a page file" short.fax
