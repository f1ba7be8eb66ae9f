#!/usr/bin/env bash
# Many pages. Twenty pages of all kinds are chosen by keys and shown one after the other. The dialog must list
# those not viewed yet: after a rewrite, for a page that cannot be marked, and in the next run. Then four
# separations are compared at one place, forward and back. Bad settings follow, and a file with a tab and a
# semicolon in its name.
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

# Makes a new configuration directory. The standard input becomes the settings file.
new_settings()
{
  rm -rf "$XDG_CONFIG_HOME"
  mkdir -p "${settings_file%/*}"
  cat >"$settings_file"
  give "$XDG_CONFIG_HOME"
}

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

# --- The pages ------------------------------------------------------------------------------------------------

mkdir "$pages"
for number in {1..20}; do
  make_page "$number" "$number"
done
new_settings <<<$'[window]\nMainFrame=100 100 740 580'
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
mkdir "$pages/odd"
"$makepage" --draw blank --width 803 --height 601 "$pages/odd/"$'tab\tsemi;colon.fax'
start_program
window_named LUMENTA
all_listed 3 "${unmarked[@]}"
all_listed "${unmarked[@]}"

# Opens one page by its name. The directory and the type of file are those of Open Multiple.
tolerated=inotify_add_watch # Qt writes this, because the other user cannot watch the scratch directory
xdotool key ctrl+o
dialog_named Open
xdotool type --delay 5 "${file_of[5]##*/}"
xdotool key Return
await "the dialog does not close" window_gone "$dialog"
window_named "${title_of[5]} - LUMENTA"

# A path ends at its first tab or semicolon. There is no page at the short path, and a box reports that. Then
# a page is written to it.
open_multiple
xdotool key --delay 5 bracketleft o ctrl+Return
take ctrl+a
dialog_named LUMENTA
xdotool key Return
await "the box does not close" window_gone "$dialog"
window_named ".*LUMENTA"
"$makepage" --draw noise --width 803 --height 601 --name "Cut off" "$pages/odd/tab"
open_multiple
take End
window_named "Cut off - LUMENTA"
quit_program

# --- Separations ----------------------------------------------------------------------------------------------

# shows_separation NUMBER X Y WHAT: the page with that number must be open and each pixel must show it from X,
# Y on. The message field has the number of the page in the list. Its picture must be new the first time, and
# the same later.
declare -A field_of=()
shows_separation()
{
  page=$scratch/layer-$1.tif
  await_page "$2" "$3" "$4"
  window_named "Layer $1 - LUMENTA"
  if [[ -z ${field_of[$1]:-} ]]; then
    await "$4: no number of the page in the message field" new_field
    field_of[$1]=$(status_bar)
  else
    await "$4: another number of the page" same_status_bar "${field_of[$1]}"
  fi
}
new_field()
{
  local now field
  now=$(status_bar)
  for field in "$quiet" "${field_of[@]}"; do
    [[ $now != "$field" ]] || return 1
  done
}

separations=$scratch/separations
mkdir "$separations"
for number in {1..4}; do
  noise_page "$scratch/layer-$number.tif" 1603 1201 --seed "$number"
  "$makepage" --draw noise --width 1603 --height 1201 --seed "$number" --name "Layer $number" \
    "$separations/$number.tif"
done
give "$separations"
new_settings <<EOT
[window]
MainFrame=100 80 1100 760
[Defaults]
Page%20Directory=$separations/
Page%20Filter=*.tif
EOT

# Outside the window the pointer causes no read-out in the message field.
xdotool mousemove 1200 900
start_program "$separations/1.tif"
window_named "Layer 1 - LUMENTA"
find_view "$scratch/layer-1.tif"
# The message field is up to date if the position beside it is.
bar_width=900
before=$(status_bar)
xdotool key Right
await "the position does not change" other_status_bar "$before"
bar_width=400
quiet=$(status_bar)
open_multiple
take ctrl+a
shows_separation 1 0 0 "Open Multiple"
xdotool key --delay 1 Right Right Right Next
x=3 y=$((view_height - 1))
await_page "$x" "$y" "the way to the place"
xdotool key ctrl+alt+n
shows_separation 2 0 0 "Next Page without Keep Place"
choose alt+v k
await "Keep Place is not stored" setting "Keep%20Place=1"
xdotool key --delay 1 Right Right Right Next
await_page "$x" "$y" "the way to the place"
xdotool key ctrl+alt+n
shows_separation 3 "$x" "$y" "Next Page"
xdotool key ctrl+alt+p Down
shows_separation 2 "$x" $((++y)) "Previous Page and a step"
xdotool mousemove --window "$window" 200 200 click 8 mousemove 1200 900
shows_separation 1 "$x" "$y" "the back button"
xdotool mousemove --window "$window" 200 200 click 9 click 9 mousemove 1200 900
shows_separation 3 "$x" "$y" "the forward button twice"

# Without a list, no number is shown and Previous Page does nothing.
choose alt+v c
await "the number is still shown after Clear List" same_status_bar "$quiet"
xdotool key ctrl+alt+p Right
await_page $((++x)) "$y" "Previous Page without a list"
quit_program

# --- Settings -------------------------------------------------------------------------------------------------

# good_run WHAT: the program must start with an empty window and without a message box, and end with status 0.
good_run()
{
  echo "settings: $1"
  start_program
  window_named LUMENTA
  quit_program
}

new_settings <<'EOT'
[App]
Units=many
Lines%20Per%20Update=@Size(3 4)
[Defaults]
Page%20Directory=@ByteArray(\0\xff)
Page%20Filter=a, b, c
Mark%20Viewed=@Rect(1 2 3 4)
[window]
MainFrame=100
Maximize%20MainFrame=@Invalid()
[Recent%20File%20List]
File1=@ByteArray(\0\xff)
File2=@Point(1 2)
EOT
good_run "values of wrong types"
"$makepage" --draw noise --width 1024 --height 512 --kind plain "$scratch/noise"
tail -c 65536 "$scratch/noise" | new_settings
good_run "random bytes"
equal "files in other places" "" "$(find "$HOME" -type f -not -path '*/.cache/*')"
