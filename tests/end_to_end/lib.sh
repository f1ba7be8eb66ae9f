# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Shared functions of the end-to-end tests. Each test sources this file; its arguments are the paths of
# lumenta, makepage and grab. The file starts a private display with a window manager. Its functions start and
# end the program, press keys, and check the place and the content of the window. The first failure ends the
# test and saves a picture of the screen in the working directory.

source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"
(($# == 3)) || die "usage: ${0##*/} LUMENTA MAKEPAGE GRAB"
lumenta=$1
makepage=$2
grab=$3
patience=60 # limit of each wait in seconds, long enough for a busy machine

unset XDG_RUNTIME_DIR XDG_CACHE_HOME XDG_DATA_HOME XDG_STATE_HOME
private_environment
mkdir "$scratch/home" "$scratch/tmp"
export HOME=$scratch/home TMPDIR=$scratch/tmp
settings_file=$XDG_CONFIG_HOME/Vestrel/LUMENTA.ini
start_display 1280x960
start_window_manager

fail()
{
  local picture=$PWD/${0##*/}
  picture=${picture%.sh}.png
  printf 'FAILED: %s\n' "$*" >&2
  [[ ! -s $scratch/program.err ]] || sed 's/^/lumenta says: /' "$scratch/program.err" >&2
  ! import -window root "$picture" 2>/dev/null || printf 'The screen is in %s\n' "$picture" >&2
  exit 1
}

# await WHAT COMMAND...: waits until the command succeeds. WHAT describes the failure.
await()
{
  wait_for "$patience" "${@:2}" >"$scratch/await.out" 2>&1 ||
    fail "$1 (${*:2}): $(tail -n 3 "$scratch/await.out")"
}

# want WHAT COMMAND...: the command must succeed at once. WHAT describes the failure.
want() { "${@:2}" || fail "$1 (${*:2})"; }

# equal WHAT WANTED GOT: the two texts must be equal.
equal() { [[ $2 == "$3" ]] || fail "$1: wanted \"$2\", got \"$3\""; }

# --- The program ----------------------------------------------------------------------------------------------

# start_program ARGUMENT...: sets program_pid.
start_program()
{
  "$lumenta" "$@" >"$scratch/program.out" 2>"$scratch/program.err" &
  program_pid=$!
  at_exit_kill+=("$program_pid")
}

# open_page PAGE TITLE: starts the program with a page and waits for its window; sets window.
open_page()
{
  start_program "$1"
  window_named "$2 - LUMENTA"
}

# visible TITLE [TYPE]: prints the number of the active window if it has that title and type (NORMAL or
# DIALOG).
visible()
{
  local id
  for id in $(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null); do
    if [[ $(xprop -id "$id" _NET_WM_WINDOW_TYPE) == *"_${2:-NORMAL}"* &&
      $(xdotool getactivewindow) == "$id" ]]; then
      echo "$id"
      return
    fi
  done
  return 1
}

# window_named TITLE: waits until a main window with that title is active; sets window.
window_named()
{
  await "no active window \"$1\"" visible "$1"
  window=$(visible "$1")
}

# dialog_named TITLE: the same for a message box or dialog; sets dialog.
dialog_named()
{
  await "no active dialog \"$1\"" visible "$1" DIALOG
  # shellcheck disable=SC2034 # the tests use it
  dialog=$(visible "$1" DIALOG)
}

# choose KEY...: chooses a command by the keys of the menus, as in "choose alt+v m". Then it waits until no
# menu is open, because an open menu would take the next key.
choose()
{
  xdotool key "$@"
  await "a menu is still open" menus_closed
}
menus_closed()
{
  local id
  for id in $(xdotool search --onlyvisible --class lumenta 2>/dev/null); do
    [[ $(xprop -id "$id" _NET_WM_WINDOW_TYPE 2>/dev/null) != *_MENU* ]] || return 1
  done
}

window_gone() { ! xwininfo -id "$1" >/dev/null 2>&1 || ! xwininfo -id "$1" | grep -q IsViewable; }

# program_ends CAUSE: waits until the program has ended. Its exit status must be 0, and its standard error
# stream must be empty, except for lines that contain $tolerated.
tolerated=
program_ends()
{
  local status=0
  await "$1 does not end the program" process_gone "$program_pid"
  wait "$program_pid" || status=$?
  equal "exit status after $1" 0 "$status"
  equal "standard error stream after $1" "" \
    "$(awk -v words="$tolerated" 'words == "" || index($0, words) == 0' "$scratch/program.err")"
}

# quit_program: ends the program by its menu.
quit_program() { xdotool key alt+f x && program_ends Exit; }

setting() { [[ -f $settings_file ]] && grep -qxF -e "$1" "$settings_file"; }

# --- The window -----------------------------------------------------------------------------------------------

# Prints the rectangle of the window, including its frame: left top right bottom.
frame_of_window()
{
  local extents left right top bottom x y width height
  extents=$(xprop -id "$window" _NET_FRAME_EXTENTS)
  IFS=', ' read -r left right top bottom <<<"${extents#*= }"
  read -r x y width height < <(xwininfo -id "$window" |
    awk '/Absolute upper-left/ || /^ *(Width|Height):/ { printf "%s ", $NF } END { print "" }')
  echo "$((x - left)) $((y - top)) $((x + width + right)) $((y + height + bottom))"
}

# Prints the width and height of a window.
size_of() { xwininfo -id "$1" | awk '/^ *(Width|Height):/ { printf "%s ", $NF } END { print "" }'; }

frame_is() { [[ $(frame_of_window) == "$1" ]]; }
maximized() { xprop -id "$window" _NET_WM_STATE | grep -q MAXIMIZED_VERT; }
normal() { ! maximized; }

# Double-clicks the middle of the title bar. This maximizes the window, or restores it.
toggle_maximized()
{
  local left top right bottom
  read -r left top right bottom < <(frame_of_window)
  xdotool mousemove $(((left + right) / 2)) $((top + 8)) click --repeat 2 --delay 30 1
}

# The text of the message field, the first pane, cannot be read here, but its picture differs with each text.
status_bar() { import -window "$window" -crop "400x20+0+$((view_y + view_height + bar_room))" rgb:- | cksum; }
other_status_bar() { [[ $(status_bar) != "$1" ]]; }
same_status_bar() { [[ $(status_bar) == "$1" ]]; }

# --- The page -------------------------------------------------------------------------------------------------

# noise_page FILE WIDTH HEIGHT [OPTION...]: writes a page "Plate 7" of noise. No two places look the same.
noise_page()
{
  "$makepage" --draw noise --width "$2" --height "$3" --name "Plate 7" --compression none "${@:4}" "$1"
}

# find_view PAGE: waits until the window shows the page from its top left corner on. Sets page, view_x, view_y
# (in the window), view_width and view_height. The rest of the window may only hold scroll bars, menu bar and
# status bar.
find_view()
{
  local width height
  page=$1
  await "the page is not shown" "$grab" view "$window" "$page"
  read -r view_x view_y view_width view_height < <("$grab" view "$window" "$page")
  read -r width height < <(size_of "$window")
  want "view too narrow: $view_width of $width" test "$view_x" -eq 0 -a "$view_width" -ge $((width - bar_room))
  want "view too low: $view_height of $height" test "$view_height" -ge $((height - 4 * bar_room))
}
bar_room=24 # largest height or width of a scroll bar, menu bar or status bar in pixels

shows() { "$grab" same "$window" "$page" "$1" "$2" "$view_x" "$view_y" "$view_width" "$view_height"; }

# await_page X Y WHAT: waits until the whole view shows the page from pixel X, Y on. WHAT names the action.
await_page() { await "$3 does not lead to $1, $2" shows "$1" "$2"; }

# drag DX DY: presses the button in the middle of the view, moves the pointer and keeps the button down.
drag()
{
  local x y
  read -r x y < <(xwininfo -id "$window" | awk '/Absolute upper-left/ { printf "%s ", $NF } END { print "" }')
  x=$((x + view_x + view_width / 2))
  y=$((y + view_y + view_height / 2))
  xdotool mousemove "$x" "$y" mousedown 1 mousemove $((x + $1 / 2)) $((y + $2 / 2)) \
    mousemove $((x + $1)) $((y + $2))
}
