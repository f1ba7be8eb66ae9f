#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The command line: options that need no display, displays that do not answer, and arguments that open a page.
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
without_display --version
equal "status of --version" 0 "$status"
want "--version prints no version" grep -qE '^lumenta [0-9]+\.[0-9]+\.[0-9]+( \([-.0-9a-z]+\))?$' "$scratch/out"

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
reason="refused.*:4711" ends_in_one_line DISPLAY=:4711 WAYLAND_DISPLAY=stale
reason=refused ends_in_one_line WAYLAND_DISPLAY="$stale" XDG_SESSION_TYPE=wayland
reason="refused.*:4711" ends_in_one_line DISPLAY=:4711 WAYLAND_DISPLAY=stale "QT_QPA_PLATFORM=wayland;xcb"
reason=nonsense ends_in_one_line DISPLAY="$good" QT_QPA_PLATFORM=nonsense
ends_in_one_line QT_QPA_PLATFORM=linuxfb:fb=/nonexistent

# A copy of the program that finds no plugin for Wayland, as on a machine without its package.
mkdir -p "$scratch/bare/plugins/platforms"
cp "$lumenta" "$scratch/bare/lumenta"
printf '[Paths]\nPlugins=%s\n' "$scratch/bare/plugins" >"$scratch/bare/qt.conf"
program=$scratch/bare/lumenta reason="wayland.*xcb" ends_in_one_line DISPLAY="$good" WAYLAND_DISPLAY=stale
program=$scratch/bare/lumenta reason=wayland ends_in_one_line DISPLAY="$good" QT_QPA_PLATFORM=wayland

# --- Arguments that open a page -------------------------------------------------------------------------------

# opens TITLE ARGUMENT...: the program must show that title and no message box. A box would block the menu.
opens()
{
  start_program "${@:2}"
  window_named "$1"
  quit_program
}

"$makepage" --draw blank --width 300 --height 200 --name "Two parts" "two parts.tif"
cp "two parts.tif" ./-e.tif
opens "Two parts - LUMENTA" two parts.tif
opens "Two parts - LUMENTA" -e.tif
opens "LUMENTA" -embedding "two parts.tif"
opens "LUMENTA"

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
