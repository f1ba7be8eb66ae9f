#!/usr/bin/env bash
# The command line: options that need no display, displays that do not answer, arguments that open a page, and
# files that cannot be opened. For these a message box opens, and the program works after it.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

mkdir "$scratch/work"
cd "$scratch/work"
ulimit -c unlimited

# without_display ARGUMENT...: runs the program; sets status, and writes its output to the files out and err.
without_display()
{
  status=0
  env -u DISPLAY timeout 10 "$lumenta" "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
  equal "files left behind" "" "$(ls -A)"
}

without_display --help
equal "status of --help" 0 "$status"
equal "first line of --help" "Usage: lumenta [FILE]" "$(head -n 1 "$scratch/out")"
equal "--help on the standard error stream" "" "$(<"$scratch/err")"
without_display --version
equal "status of --version" 0 "$status"
want "--version prints no version" grep -qE '^lumenta [0-9]+\.[0-9]+\.[0-9]+$' "$scratch/out"
equal "--version on the standard error stream" "" "$(<"$scratch/err")"

# --- Displays that do not answer ------------------------------------------------------------------------------

# ends_in_one_line NAME=VALUE...: with only these displays, the program must fail with one line that says why.
ends_in_one_line()
{
  local status=0
  env -u DISPLAY "$@" timeout -s KILL "$patience" "${program:-$lumenta}" "$scratch/page.tif" \
    >"$scratch/out" 2>"$scratch/err" || status=$?
  equal "status with \"$*\"" 1 "$status"
  equal "lines with \"$*\"" 1 "$(wc -l <"$scratch/err")"
  want "\"$*\": $(<"$scratch/err")" grep -q "^lumenta: no display: .*${reason:-}" "$scratch/err"
  equal "standard output with \"$*\"" "" "$(<"$scratch/out")"
  equal "files left behind" "" "$(ls -A)"
}

stale=$XDG_RUNTIME_DIR/stale # a socket on which no program listens
perl -MSocket -e 'socket(S, AF_UNIX, SOCK_STREAM, 0) && bind(S, pack_sockaddr_un($ARGV[0])) || die' "$stale"
good=$DISPLAY
ends_in_one_line DISPLAY=
reason=:4711 ends_in_one_line DISPLAY=:4711
reason=:4711 ends_in_one_line DISPLAY=:4711 QT_QPA_PLATFORM=xcb
reason="refused.*:4711" ends_in_one_line DISPLAY=:4711 WAYLAND_DISPLAY=stale
reason=refused ends_in_one_line WAYLAND_DISPLAY="$stale" XDG_SESSION_TYPE=wayland
reason="No such file" ends_in_one_line WAYLAND_DISPLAY=none
reason="refused.*:4711" ends_in_one_line DISPLAY=:4711 WAYLAND_DISPLAY=stale "QT_QPA_PLATFORM=wayland;xcb"
reason=refused ends_in_one_line DISPLAY="$good" WAYLAND_DISPLAY=stale QT_QPA_PLATFORM=wayland
reason=nonsense ends_in_one_line DISPLAY="$good" QT_QPA_PLATFORM=nonsense
ends_in_one_line QT_QPA_PLATFORM=linuxfb:fb=/nonexistent

# A copy of the program that finds no plugin for Wayland, as on a machine without its package.
mkdir -p "$scratch/bare/plugins/platforms"
cp "$lumenta" "$scratch/bare/lumenta"
printf '[Paths]\nPlugins=%s\n' "$scratch/bare/plugins" >"$scratch/bare/qt.conf"
program=$scratch/bare/lumenta reason="wayland.*xcb" ends_in_one_line DISPLAY="$good" WAYLAND_DISPLAY=stale
program=$scratch/bare/lumenta reason=wayland ends_in_one_line DISPLAY="$good" QT_QPA_PLATFORM=wayland

# --- Arguments that open a page -------------------------------------------------------------------------------

small_page() # FILE NAME
{
  "$makepage" --draw blank --width 300 --height 200 --name "$2" "$1"
}

# opens TITLE ARGUMENT...: the program must show that title and no message box. A box would block the menu.
opens()
{
  start_program "${@:2}"
  window_named "$1"
  quit_program
}

small_page "two parts.tif" "Two parts"
small_page "./-e.tif" "Dash"
cp "two parts.tif" unnamed.tif
"$makepage" --draw blank --width 300 --height 200 nameless.TIF
opens "Two parts - LUMENTA" two parts.tif
opens "Two parts - LUMENTA" "two parts.tif; and what follows"
opens "Dash - LUMENTA" -e.tif
opens "nameless - LUMENTA" nameless.TIF
opens "LUMENTA"
opens "LUMENTA" -e
opens "LUMENTA" -embedding "two parts.tif"
opens "LUMENTA" /embedding

# If one of two displays answers, the program opens there. It passes on Qt's messages about the other one.
tolerated=" " WAYLAND_DISPLAY=stale opens "Two parts - LUMENTA" "two parts.tif"

# If the caller has closed a standard stream, no file or connection may take its number.
: >"$scratch/program.err"
"$lumenta" "two parts.tif" <&- >&- 2>&- &
program_pid=$!
at_exit_kill+=("$program_pid")
window_named "Two parts - LUMENTA"
for stream in 0 1 2; do
  equal "stream $stream" /dev/null "$(readlink "/proc/$program_pid/fd/$stream")"
done
quit_program
status=0
"$lumenta" --version >&- 2>/dev/null || status=$?
equal "status of --version without a stream to write to" 1 "$status"

# The only directories that begin with /e belong to the system. This part needs the right to make one.
if below_e=$(mktemp -d /elumentaXXXXXX 2>/dev/null); then
  trap 'rm -rf "$below_e"; clean_up' EXIT
  small_page "$below_e/page.tif" "Below"
  opens "Below - LUMENTA" "$below_e/page.tif"
fi

# --- Files that cannot be opened ------------------------------------------------------------------------------

says() { [[ $(marked_text) == "$1" ]]; }

mkfifo pipe
head -c 200 unnamed.tif >cut.tif
tolerated=TIFF # libtiff writes to the standard error stream too
while read -r file words; do
  start_program "$file"
  dialog_named LUMENTA
  await "the box does not say \"$file: $words\"" says "$file: $words"
  xdotool key Return
  await "the box does not close" window_gone "$dialog"
  window_named LUMENTA
  quit_program
done <<EOT
nowhere.tif Open failed
pipe Open failed
cut.tif Open failed
EOT
