#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The print dialog prints a page into a PDF file as one lossless image with one bit per pixel.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

pdf_complete() { pdfinfo "$1"; }

# dialog_answered KEY: presses the key until the dialog closes. A list of proposed names may take the first
# key.
dialog_answered() { window_gone "$dialog" || { xdotool key "$1" && false; }; }

# print_to_pdf: prints the open page by the dialog into the file $pdf and then ends the program.
print_to_pdf()
{
  xdotool key ctrl+p
  dialog_named Print
  xdotool key alt+f ctrl+a
  xdotool type --delay 1 "$pdf"
  await "the print dialog does not close" dialog_answered Return
  await "no PDF file" pdf_complete "$pdf"
  window_named "Plate 7 - LUMENTA"
  quit_program
}

# Prints a line for each image in $pdf: page num type width height color comp bpc enc
images() { pdfimages -list "$pdf" | awk 'NR > 2 { print $1, $2, $3, $4, $5, $6, $7, $8, $9 }'; }

noise_page "$scratch/page.tif" 9001 4000 --dpi 1200
pdf=$scratch/page.pdf
open_page "$scratch/page.tif" "Plate 7"

# Cancel prints nothing.
xdotool key ctrl+p
dialog_named Print
xdotool key alt+f ctrl+a type "$pdf"
await "the print dialog does not close" dialog_answered Escape
window_named "Plate 7 - LUMENTA"
want "Escape has printed the page" test ! -e "$pdf"

print_to_pdf
equal "files printed" "$pdf" "$(find "$scratch" -name '*.pdf' -newer "$scratch/page.tif")"

equal "pages" 1 "$(pdfinfo "$pdf" | awk '/^Pages:/ { print $2 }')"
equal "title" "Plate 7" "$(pdfinfo "$pdf" | sed -n 's/^Title: *//p')"
equal "images" "1 0 image 9001 4000 gray 1 1 image" "$(images)"
pdfimages "$pdf" "$scratch/page"
for picture in page-000.pbm page.tif; do
  "$makepage" --kind plain --dpi 1200 "$scratch/$picture" "$scratch/$picture.fax"
done
want "the image differs from the page" cmp "$scratch/page-000.pbm.fax" "$scratch/page.tif.fax"

# The dialog proposes the page's label as the file name. Its points are kept, its slash is replaced.
"$makepage" --draw text --width 800 --height 600 --kind group4 --job "A/B v1.x" --page 7 "$scratch/label.fax"
open_page "$scratch/label.fax" "7.B A/B v1.x"
xdotool key ctrl+p
dialog_named Print
await "the print dialog does not close" dialog_answered Return
pdf="$HOME/7.B A_B v1.x.pdf"
await "no PDF file of that name" pdf_complete "$pdf"
window_named "7.B A/B v1.x - LUMENTA"
quit_program
equal "title" "7.B A/B v1.x" "$(pdfinfo "$pdf" | sed -n 's/^Title: *//p')"
