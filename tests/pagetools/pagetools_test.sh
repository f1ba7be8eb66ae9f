#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# pagetools_test.sh TOOLS MAKEPAGE: tests the page tools in the directory TOOLS.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

export LC_ALL=C TZ=UTC
PATH=$1:$PATH makepage=$2
cd "$scratch"
kinds=(plain squeeze raw group4 jbig)

# expect STATUS OUTPUT MESSAGES COMMAND...: the command ends with this status after it has written these texts
# to standard output and standard error. A text of "*" is not checked.
expect()
{
  local wanted=$1 status=0
  "${@:4}" >stdout 2>stderr || status=$?
  [[ $status == "$wanted" ]] || die "${*:4}: status $status, not $wanted; $(<stderr)"
  [[ $2 == '*' || $(<stdout) == "$2" ]] || die "${*:4}: wrote '$(<stdout)', not '$2'"
  [[ $3 == '*' || $(<stderr) == "$3" ]] || die "${*:4}: message '$(<stderr)', not '$3'"
}
image_is() { cmp -- "$1" "$2" || die "wrong image: $3"; }
through_pipe() { "$@" | cat; }
from_pipe() { cat "$1" | "${@:2}"; }

# --- Good pages, from files and pipes -----------------------------------------------------------------------

draw() { "$makepage" --draw mixed --width 2001 --height 1000 --kind "$@"; }
row_bytes=251
draw plain plain.fax
draw squeeze squeeze.fax
draw squeeze --raw-rows always raw.fax
draw group4 group4.fax
draw jbig --stripe 64 jbig.fax
{ printf 'P4\n2001 1000\n' && tail -c +4097 plain.fax; } >wanted.pbm
for kind in "${kinds[@]}"; do
  expect 0 '*' '' page-to-pbm "$kind.fax"
  image_is stdout wanted.pbm "$kind from a file"
  expect 0 '*' '' through_pipe page-to-pbm -o - "$kind.fax"
  image_is stdout wanted.pbm "$kind to a pipe"
  expect 0 '*' '' from_pipe "$kind.fax" page-to-pbm -p -
  image_is stdout wanted.pbm "$kind from a pipe"
  expect 0 '' '' page-to-pbm -o new.pbm <"$kind.fax"
  image_is new.pbm wanted.pbm "$kind from standard input"
  expect 0 'standard input: OK' '' from_pipe "$kind.fax" page-check -
  # The page begins at the current position of standard input.
  { echo before && cat "$kind.fax"; } >two.txt
  expect 0 'standard input: OK' '' bash -c 'read -r && page-check -' <two.txt
done

# The bits after the width of a plain row, which are 1 here, are not in the image.
{ head -c 4096 plain.fax && head -c $((1000 * row_bytes)) /dev/zero | tr '\0' '\377'; } >ones.fax
expect 0 '*' '' page-to-pbm ones.fax
[[ $(tail -c 1 stdout | od -An -tx1) == ' 80' ]] || die "bits after the width are in the image"

# --- Damaged pages ------------------------------------------------------------------------------------------

# Cut pages. The image has the good rows, and page-check names the first row after them.
for kind in "${kinds[@]}"; do
  size=$(stat -c %s "$kind.fax")
  middle=$((4096 + (size - 4096) / 2))
  if [[ $kind == jbig ]]; then # the raster must end with the mark of a stripe
    middle=$(grep -abo $'\xff\x02' jbig.fax | awk -F: -v m=$middle '$1 > m { print $1 + 2; exit }')
  fi
  head -c "$middle" "$kind.fax" >cut.fax
  expect 1 '*' '' page-check cut.fax
  row=$(sed -n 's/^cut.fax: DAMAGED at row \([0-9]*\) of 1000: [a-z].*$/\1/p' stdout)
  ((row > 100 && row < 900)) || die "$kind: $(<stdout)"
  message="page-to-pbm: $(<stdout)"

  { printf 'P4\n2001 %4d\n' "$row" && head -c $((13 + row * row_bytes)) wanted.pbm | tail -c +14; } >part.pbm
  expect 1 '*' "$message" through_pipe page-to-pbm cut.fax
  image_is stdout part.pbm "$kind, cut, to a pipe"
  expect 1 '*' "$message" page-to-pbm cut.fax
  image_is stdout part.pbm "$kind, cut, to a file"
  expect 1 '' "$message" page-to-pbm -o part2.pbm cut.fax
  image_is part2.pbm part.pbm "$kind, cut, with -o"
  { head -c $((13 + row * row_bytes)) wanted.pbm && head -c $(((1000 - row) * row_bytes)) /dev/zero; } >padded.pbm
  expect 1 '*' "$message" through_pipe page-to-pbm -p cut.fax
  image_is stdout padded.pbm "$kind, cut, padded"
done

# --- Lines and statuses of page-check -----------------------------------------------------------------------

header() { sed "s,/$1 [-0-9]*$,/$1 $2," "$3"; } # header KEY VALUE PAGE: prints the page with another value
header ImageHeight 3000000000 plain.fax >tall.fax
header DataWidth 0 plain.fax >empty.fax
header Compression 77 plain.fax >unknown.fax
header DataWidth 2002 jbig.fax >other.fax
header DataWidth 1 squeeze.fax | header ImageHeight 9000000 - >narrow.fax
head -c 4000 plain.fax >short.fax
draw jbig --width 601 --height 300 small.fax
head -c 9000 jbig.fax >end.fax
name=$'\e[1m\nv\xff\xc2\x9b.fax'
cp plain.fax "$name"
while IFS='|' read -r status options page line; do
  page=${page//NAME/$name}
  # shellcheck disable=SC2086 # the options are separate words
  expect "$status" "${line:+${page//[$'\e\n\xff\xc2\x9b']/?}: $line}" '' page-check $options -- "$page"
  expect "$status" '*' '*' page-to-pbm -- "$page"
done <<'END'
0||plain.fax|OK
0|-q|plain.fax|
0|-m 1|small.fax|OK
1||tall.fax|BAD: 2001 x 3000000000 pixels cannot be decoded
1||empty.fax|BAD: 0 x 1000 pixels cannot be decoded
1||unknown.fax|BAD: unknown kind of raster, 77
1||other.fax|BAD: the JBIG raster has rows of 2001 pixels, the header states 2002
1|-q|short.fax|BAD: not a page file
1||end.fax|BAD: the data are cut off
END
expect 0 '?[1m?v??.fax: OK' '' page-check "$name"
expect 1 'plain.fax: BAD: 2001 x 1000 pixels are above the limit' '' page-check -m2 plain.fax
expect 1 'narrow.fax: BAD: 1 x 9000000 pixels are above the limit' '' page-check -m 2000 narrow.fax
# A stripe of 600 megapixels without data. Its pattern needs none, but its pixels are decoded one by one.
header ImageHeight 30000 jbig.fax | sed 's,/DataWidth 2001,/DataWidth 20000,' >sides.fax
{
  head -c 4096 sides.fax
  printf '\0\0\1\0\0\0\x4e\x20\0\0\x75\x30\0\0\x75\x30\0\0\0\0\xff\x02'
} >costly.fax
expect 1 'costly.fax: BAD: decoding takes longer than the limit allows' '' page-check costly.fax
expect 1 'costly.fax: BAD: 20000 x 30000 pixels are above the limit' '' page-check -m 599 costly.fax
expect 0 'costly.fax: OK' '' page-check -m 100000 costly.fax
expect 2 'plain.fax: OK' 'page-check: none.fax: No such file or directory' page-check none.fax plain.fax
expect 2 '' 'page-check: .: Is a directory' page-check .

# Results are printed in the order of the arguments, also of more pages than the tool keeps results.
pages=()
for ((i = 0; i < 300; ++i)); do
  pages+=(jbig.fax short.fax)
done
expect 1 "$(printf '%s\n' "${pages[@]}" | sed 's/jbig.fax/&: OK/; s/short.fax/&: BAD: not a page file/')" '' \
  page-check "${pages[@]}"

# --- Arguments ----------------------------------------------------------------------------------------------

while IFS='|' read -r command message; do
  tool=${command%% *}
  # shellcheck disable=SC2086 # the arguments are separate words
  expect 2 '' "$tool: $message; try $tool --help" $command
done <<'END'
page-info|no page is named
page-info -sx a|unknown option -x
page-info -s -j a|-s and -j cannot be used together
page-info - plain.fax -|standard input is named twice
page-check --quiet a|unknown option --quiet
page-check a -qm|option -m needs an argument
page-check -m 0 a|option -m needs a whole number from 1 to 5000000000000, not 0
page-check -m 2x a|option -m needs a whole number from 1 to 5000000000000, not 2x
page-to-pbm a b|more than one page is named: b
END
for tool in page-info page-to-pbm page-check; do
  expect 0 "$tool $(sed -n 's/^#define KESTERLIB_VERSION "\(.*\)"/\1/p' "$root"/lib/kesterlib/include/kesterlib/version.h)" \
    '' $tool --version
  expect 0 '*' '' $tool --help -x
  grep -q "^Usage: $tool " stdout || die "$tool --help: $(<stdout)"
  # Each option of the help is in the manual page and in the completion.
  grep -o '^  -[a-z]' stdout | while read -r option; do
    grep -q "Fl ${option#-}" "$root/packaging/man/$tool.1" || die "$tool.1 does not have $option"
    grep -q -- " *'\?.*$option " "$root/packaging/completion/$tool" || die "the completion of $tool lacks $option"
  done
  expect 2 '' "$tool: cannot write to standard output: No space left on device" bash -c "$tool --help >/dev/full"
done

# --- Files that page-to-pbm writes --------------------------------------------------------------------------

expect 2 '*' '*' script -qec 'page-to-pbm plain.fax' typescript
grep -q 'will not write an image to a terminal' stdout || die "a terminal is not refused: $(<stdout)"
expect 2 '' 'page-to-pbm: standard output: No space left on device' bash -c 'page-to-pbm plain.fax >/dev/full'
expect 2 '' 'page-to-pbm: /dev/full: No space left on device' page-to-pbm -o /dev/full plain.fax
expect 2 '' 'page-to-pbm: standard output: Bad file descriptor' bash -c 'page-to-pbm plain.fax >&-'
ln -s none dangling
for file in '' dangling; do # neither is replaced
  expect 2 '' "page-to-pbm: $file: No such file or directory" page-to-pbm -o "$file" plain.fax
done
expect 2 '' 'page-to-pbm: none/x: No such file or directory' page-to-pbm -o none/x plain.fax

mkdir out
# only_old TEXT: out/ has only the file page.pbm with its old contents.
only_old() { [[ $(ls -A out) == page.pbm && $(<out/page.pbm) == old ]] || die "$1: out/ has $(ls -A out)"; }
echo old >out/page.pbm
expect 1 '' '*' page-to-pbm -o out/page.pbm short.fax
only_old "a file that is no page file"
expect 2 '' 'page-to-pbm: out/page.pbm: File too large' bash -c 'ulimit -f 8; page-to-pbm -o out/page.pbm plain.fax'
only_old "a write error"
temporary() { compgen -G 'out/.page-to-pbm.*' >/dev/null; }
header ImageHeight 2000000000 squeeze.fax >endless.fax
for signal in INT TERM HUP; do
  env --default-signal=INT page-to-pbm -p -o out/page.pbm endless.fax & # a background job ignores SIGINT
  pid=$!
  wait_for 30 temporary || die "no temporary file"
  kill -s "$signal" "$pid"
  status=0
  wait "$pid" || status=$?
  ((status == 128 + $(kill -l "$signal"))) || die "SIG$signal: status $status"
  only_old "SIG$signal"
done
ln -s page.pbm out/link
chmod 604 out/page.pbm
(umask 027 && page-to-pbm -o out/link plain.fax && page-to-pbm -o out/new plain.fax)
[[ -L out/link && $(stat -c %a out/page.pbm out/new) == 604$'\n'640 ]] || die "wrong link or mode"
image_is out/page.pbm wanted.pbm "written through a link"

# --- page-info ----------------------------------------------------------------------------------------------

"$makepage" --draw blank --width 100 --height 50 --dpi 300 --dpi-y 200 --kind jbig --job $'N"\\\e\xe9' --page 12 \
  --pages 34 --layer 5 --job-id 4294967295 --destination $'P\e1' --destination P2 --negate info.fax
expect 0 'info.fax: 12.5 N"\??: JBIG, 100 x 50, 300 x 200 dpi' '' page-info -s info.fax
expect 0 '*' '' page-info info.fax
for line in 'Label:              12.5 N"\??' 'Layer:              5, spot 1' 'Destination:        P?1' \
  'Negative:           yes' 'Page number:        12 of 34'; do
  grep -qxF -e "$line" stdout || die "page-info does not print '$line'"
done
expect 1 '*' '' page-info -j info.fax short.fax "$name"
jq -es 'length == 3 and (.[0] | .job_name == "N\"\\\u001b?" and .job_id == 4294967295 and .layer_name == "spot 1"
    and .destinations == ["P\u001b1", "P2"] and .negative and .mirrored == false and .y_resolution == 200)
  and .[1] == {page: "short.fax", error: "not a page file"}
  and .[2].page == "\u001b[1m\nv?\u009b.fax"' stdout >/dev/null || die "wrong JSON: $(<stdout)"
expect 0 '*' '' page-info -j - <plain.fax
jq -e '.page == "-" and .kind == "plain"' stdout >/dev/null || die "wrong JSON: $(<stdout)"
