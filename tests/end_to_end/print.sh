#!/usr/bin/env bash
# A page printed into a PDF file by the print dialog: one image of one bit a pixel, without loss.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

pdf_complete() { pdfinfo "$1"; }

# dialog_answered KEY: the first one may go to the list of names that the field proposes, if that has opened by then.
dialog_answered() { window_gone "$dialog" || { xdotool key "$1" && false; }; }

# print_to_pdf: the page that shows, by the dialog, into the file $pdf; then the program ends.
print_to_pdf()
{
  xdotool key ctrl+p
  dialog_named Print
  xdotool key alt+f ctrl+a
  xdotool type --delay 1 "$pdf"
  await "the print dialog stays" dialog_answered Return
  await "no PDF file" pdf_complete "$pdf"
  window_named "Plate 7 - LUMENTA"
  quit_program
}

# The images in $pdf, a line each: page num type width height color comp bpc enc
images() { pdfimages -list "$pdf" | awk 'NR > 2 { print $1, $2, $3, $4, $5, $6, $7, $8, $9 }'; }

for photometric in miniswhite minisblack; do
  noise_page "$scratch/$photometric.tif" 9001 4000 --dpi 1200 --photometric "$photometric"
  pdf=$scratch/$photometric.pdf
  open_page "$scratch/$photometric.tif" "Plate 7"

  # Nothing is printed if the user thinks better of it.
  xdotool key ctrl+p
  dialog_named Print
  xdotool key alt+f ctrl+a type "$pdf"
  await "the print dialog stays" dialog_answered Escape
  window_named "Plate 7 - LUMENTA"
  want "printed all the same" test ! -e "$pdf"

  print_to_pdf
  equal "files printed" "$pdf" "$(find "$scratch" -name '*.pdf' -newer "$scratch/$photometric.tif")"

  equal "pages" 1 "$(pdfinfo "$pdf" | awk '/^Pages:/ { print $2 }')"
  equal "title" "Plate 7" "$(pdfinfo "$pdf" | sed -n 's/^Title: *//p')"
  equal "images" "1 0 image 9001 4000 gray 1 1 image" "$(images)"
  pdfimages "$pdf" "$scratch/$photometric"
  want "the image is not the page" "$grab" pbm "$scratch/$photometric-000.pbm" "$scratch/$photometric.tif"
done

# One larger than the paper is printed smaller, in smooth grey and without loss: of 2 x 2 pixels each, five greys.
noise_page "$scratch/large.tif" 9600 2600 --dpi 1200
pdf=$scratch/large.pdf
open_page "$scratch/large.tif" "Plate 7"
print_to_pdf
equal "images" "1 0 image 4800 1300 gray 1 8 image" "$(images)"
pdfimages -png "$pdf" "$scratch/large"
equal "greys" 5 "$(identify -format %k "$scratch/large-000.png")"

# The dialog proposes a file with the page's label as its name, which has points in it, but no slash.
"$makepage" --draw text --width 800 --height 600 --kind group4 --job "A/B v1.x" --page 7 "$scratch/label.fax"
open_page "$scratch/label.fax" "7.B A/B v1.x"
xdotool key ctrl+p
dialog_named Print
await "the print dialog stays" dialog_answered Return
pdf="$HOME/7.B A_B v1.x.pdf"
await "no PDF file of that name" pdf_complete "$pdf"
window_named "7.B A/B v1.x - LUMENTA"
quit_program
equal "title" "7.B A/B v1.x" "$(pdfinfo "$pdf" | sed -n 's/^Title: *//p')"
