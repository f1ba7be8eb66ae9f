#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Many pages. Twenty pages of all kinds are chosen by keys and shown one after the other. The dialog must list
# those not viewed yet: after a rewrite, for a page that cannot be marked, and in the next run.
set -euo pipefail
# Marks are extended attributes of users. A tmpfs has them only since Linux 6.6.
[[ $(stat -f -c %T "${TMPDIR:-/tmp}") != tmpfs ]] || export TMPDIR=$PWD
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# File permissions do not limit root, so root starts the program as another user. give FILE... gives files to
# that user.
limited=yes
give() { :; }
if ((EUID == 0)); then
  chmod 711 "$scratch"
  install -D -m 755 "$lumenta" "$scratch/bin/lumenta"
  cat >"$scratch/as-other" <<EOT
#!/bin/sh
exec setpriv --reuid=65534 --regid=65534 --clear-groups sh -c 'exec "\$0" "\$@"' "$scratch/bin/lumenta" "\$@"
EOT
  chmod 755 "$scratch/as-other"
  if "$scratch/as-other" --version >/dev/null 2>&1; then
    lumenta=$scratch/as-other
    give() { chown -R 65534:65534 "$@"; }
  else
    limited=
    echo "Skipped: files that may not be written. This is root, and no other user can start the program in $scratch."
  fi
fi
give "$HOME" "$TMPDIR" "$XDG_RUNTIME_DIR"

# make_page NUMBER SEED: writes the page with that number and its picture. The number selects its format.
pages=$scratch/pages
declare -A title_of=() file_of=()
make_page()
{
  local drawing=(--draw noise --width 803 --height 601 --seed "$2") header=(--job Night --page "$1") name
  printf -v name '%s-%02d' "$( (($1 % 2)) && echo page || echo PAGE)" "$1"
  title_of[$1]="$1.B Night"
  case $(($1 % 5)) in
  0) name+=.tif drawing+=(--name "$1.B Night") ;;
  1) name+=.fax drawing+=(--kind squeeze "${header[@]}") ;;
  2) name+=.f drawing+=(--kind plain "${header[@]}") ;;
  3) title_of[$1]=$name name+=.low drawing+=(--compression deflate) ;;
  4) name+=.f drawing+=(--kind jbig "${header[@]}") ;;
  esac
  file_of[$1]=$pages/$name
  "$makepage" "${drawing[@]:0:8}" --compression none "$scratch/$1.tif"
  "$makepage" "${drawing[@]}" "${file_of[$1]}"
  give "${file_of[$1]}"
}

open_multiple()
{
  xdotool key ctrl+m
  dialog_named "Open Multiple"
}

# take KEY...: presses these keys in the dialog and then Return.
take()
{
  xdotool key --delay 5 "$@" Return
  await "the dialog does not close" window_gone "$dialog"
}

# walk_through NUMBER...: shows these pages in turn: the first opens by itself, the third by the mouse, the
# others by keys. No page follows the last. row is the page row at the top of the view.
walk_through()
{
  local step=0 number
  for number; do
    case $((step++)) in
    0) ;;
    2) xdotool mousemove --window "$window" 200 200 click --repeat 2 --delay 30 3 ;;
    *) xdotool key ctrl+alt+n ;;
    esac
    window_named "${title_of[$number]} - LUMENTA"
    [[ -n ${view_x:-} ]] || find_view "$scratch/$number.tif"
    page=$scratch/$number.tif row=0
    await_page 0 0 "opening page $number"
  done
  window_named ".*LUMENTA"
  xdotool key ctrl+alt+n Down
  await_page 0 $((++row)) "a step down after the last page"
}

# all_listed NUMBER...: the dialog must list exactly these pages. All are selected and shown.
all_listed()
{
  open_multiple
  take ctrl+a
  walk_through "$@"
}

mkdir "$pages"
for number in {1..20}; do
  make_page "$number" "$number"
done
mkdir -p "${settings_file%/*}"
printf '[window]\nMainFrame=100 100 740 580\n' >"$settings_file"
give "$XDG_CONFIG_HOME"
cd "$pages"
start_program
cd "$OLDPWD"
window_named LUMENTA
choose alt+f Up Up Up Return # up from the first command to the last ones; Print is skipped without a page
dialog_named "Open Multiple"
# Sets the mark box; selects another type, then all; selects one entry by name, others with Shift and Control.
xdotool key --delay 5 Tab Tab Tab space alt+t f Home alt+f p a g e minus 1 2
take shift+Down ctrl+Home ctrl+Down ctrl+Down ctrl+Down ctrl+Down ctrl+space \
  ctrl+End ctrl+space ctrl+Up ctrl+Up ctrl+Up ctrl+Up ctrl+space
walk_through 4 12 13 16 20
all_listed 1 2 3 {5..11} 14 15 17 18 19
all_listed
make_page 12 112
all_listed 12

# A page that the user may not write. If possible, it belongs to another user.
make_page 7 107
unmarked=()
if [[ $limited ]]; then
  chmod 444 "${file_of[7]}"
  ((EUID)) || chown 0:0 "${file_of[7]}"
  unmarked=(7)
fi
all_listed 7
all_listed "${unmarked[@]}"
open_multiple
take Tab Tab space alt+f ctrl+a # lists the viewed pages too
walk_through {1..20}
quit_program
want "the directory is not stored" setting "Page%20Directory=$pages/"
want "the type is not stored" setting "Page%20Filter=*.*"
want "the mark box is not stored" setting "Mark%20Viewed=1"

# The next run knows the same marks.
make_page 3 103
start_program
window_named LUMENTA
all_listed 3 "${unmarked[@]}"
all_listed "${unmarked[@]}"
quit_program
