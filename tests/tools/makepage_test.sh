#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# makepage_test.sh MAKEPAGE: tests the files, the messages and the exit status of that program.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

makepage=$1
cd "$scratch"

# ends STATUS TEXT ARGUMENT...: the program ends with that status and a message that contains the text, and
# leaves no file out.*
ends()
{
  local status=0
  "$makepage" "${@:3}" >stdout 2>stderr || status=$?
  [[ $status == "$1" && $(<stderr) == "makepage: "*"$2"* ]] || die "${*:3}: status $status, $(<stderr)"
  ! compgen -G 'out.*' >leftovers || die "${*:3}: left $(<leftovers)"
}

same() { cmp "$1" "$2" || die "$1 and $2 differ"; }

draw=(--draw mixed --width 333 --height 250)
"$makepage" "${draw[@]}" --dpi 120 --dpi-y 240 --photometric minisblack page.tif
job=(--job "Ink and Paper" --page -7 --layer 4 --multiplier 10 --destination A --destination B --negate
  --time "1999:12:31 23:59:58" --header-version 2 --job-id 9 --header-size 5000)
for kind in squeeze plain group4 jbig; do
  "$makepage" "${draw[@]}" --dpi 120 --dpi-y 240 --kind $kind "${job[@]}" drawn.$kind
  "$makepage" page.tif --kind $kind "${job[@]}" read.$kind
  same drawn.$kind read.$kind
done
printf '%s\n' '<<' ' /FaxHeaderVersion 2' ' /HeaderSize 5000' ' /JobName Ink and Paper' ' /PageNumber -7' \
  ' /CreateTime 1999:12:31 23:59:58' ' /ImageHeight 250' ' /DataWidth 333' ' /Compression -1' \
  ' /ResolutionMultiplier 10' ' /XResolution 1200' ' /YResolution 2400' ' /Layer 4' ' /ImageNegate true' \
  ' /JobID 9' '<<' ' /NumDestinations 2' ' /Destination A' ' /Destination B' >wanted
head -c 5000 drawn.plain | grep -Fxf wanted >got
same wanted got

{ printf 'P4\n333 250\n' && tail -c +5001 drawn.plain; } >page.pbm
"$makepage" page.pbm --dpi 120 --dpi-y 240 --kind plain "${job[@]}" pbm.plain
same drawn.plain pbm.plain
"$makepage" --raw-rows always --kind squeeze page.pbm raw.fax
(($(stat -c %s raw.fax) == 4096 + 250 * (1 + 42))) || die "raw rows of $(stat -c %s raw.fax) bytes"
# stripe L0 LAST-BYTE ARGUMENT...: the header has L0 rows per stripe, and the last byte is that of a marker.
stripe()
{
  "$makepage" --kind jbig "${@:3}" page.pbm stripes.fax
  local got
  got="$(tail -c +4109 stripes.fax | head -c 4 | od -An -tu1) $(tail -c 1 stripes.fax | od -An -tu1)"
  got=$(xargs <<<"$got")
  [[ $got == "0 0 0 $1 $2" ]] || die "${*:3}: $got"
}
stripe 1 2 --stripe 1
stripe 40 3 --stripe 40 --reset
"$makepage" page.pbm again.tif
"$makepage" --dpi 300 again.tif --kind plain "${job[@]}" --multiplier 4 again.plain
cmp <(tail -c +5001 drawn.plain) <(tail -c +5001 again.plain) || die "the page differs after PBM and TIFF"

ends 2 "no output file"
ends 2 "--draw is missing" out.tif
ends 2 "unknown option" "${draw[@]}" --frob 1 out.tif
ends 2 "--job is valid only with" "${draw[@]}" --job x out.tif
ends 2 "only a TIFF file" "${draw[@]}" --bits 8 --kind squeeze out.fax
ends 2 "at most 31 bytes" "${draw[@]}" --kind squeeze --job 12345678901234567890123456789012 out.fax
ends 2 "a number from 1 to 9600" "${draw[@]}" --dpi 0 --dpi 100 out.tif
ends 2 "hh:mm:ss" "${draw[@]}" --kind squeeze --time yesterday out.fax
ends 1 "none.tif: No such file" --kind plain none.tif out.fax
ends 1 "Header is too large" --kind plain --header-size 99 page.pbm out.fax
