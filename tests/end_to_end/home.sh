#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The files that a run leaves: only the settings. There is no other file in the user's directories and no
# temporary file, however the run ends.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Prints all files, except those of others: the cache of the font library and the log of the display.
everything()
{
  find "$HOME" "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR" "$TMPDIR" -mindepth 1 -not -path '*/.cache' \
    -not -path '*/.cache/fontconfig*' | sort
}
# find fails if a file of another program vanishes while it reads a directory.
temporary_files() { { find "$TMPDIR" /var/tmp /tmp -maxdepth 1 -name 'SQZ*' 2>/dev/null || true; } | sort; }
# A temporary file of another program may be seen for a moment, before its name is removed.
no_temporary_files() { [[ -z $(comm -13 <(echo "$before") <(temporary_files)) ]]; }
has_temporary_file() { grep -qE " $1/SQZ[^/]* \(deleted\)\$" "/proc/$program_pid/maps"; }

ours=$(printf '%s\n' "$XDG_CONFIG_HOME/Vestrel" "$settings_file")
before=$(temporary_files)
noise_page "$scratch/home.tif" 3001 4003
cp "$scratch/home.tif" "$scratch/before.tif"
equal "files before the first run" "" "$(everything)"

# This run uses many functions: it moves the page, changes the unit and opens the print dialog.
open_page "$scratch/home.tif" "Plate 7"
find_view "$scratch/home.tif"
want "the rows are not in a temporary file" has_temporary_file "$TMPDIR"
equal "files while a page is open" "$ours" "$(everything)"
xdotool key ctrl+End
choose alt+v m
xdotool key ctrl+p
dialog_named Print
xdotool key Escape
window_named "Plate 7 - LUMENTA"
quit_program
equal "files after the first run" "$ours" "$(everything)"
want "the page has changed" cmp "$scratch/home.tif" "$scratch/before.tif"

# A killed program leaves no more files.
open_page "$scratch/home.tif" "Plate 7"
find_view "$scratch/home.tif"
want "the rows are not in a temporary file" has_temporary_file "$TMPDIR"
kill -KILL "$program_pid"
await "SIGKILL does not end the program" process_gone "$program_pid"
equal "files after SIGKILL" "$ours" "$(everything)"

# A signal that asks the program to end closes all open windows, and the settings are stored.
while read -r signal file keys dialog_title; do
  rm "$settings_file"
  # The shell makes its background processes ignore SIGINT.
  env --default-signal=INT "$lumenta" "$scratch/$file" >"$scratch/program.out" 2>"$scratch/program.err" &
  program_pid=$!
  at_exit_kill+=("$program_pid")
  [[ $file == none.tif ]] || window_named "Plate 7 - LUMENTA"
  [[ $keys == - ]] || xdotool key "$keys"
  [[ -z $dialog_title ]] || dialog_named "$dialog_title"
  kill -"$signal" "$program_pid"
  program_ends "SIG$signal ($file, $keys)"
  want "SIG$signal does not store the window's place ($file, $keys)" grep -q '^MainFrame=' "$settings_file"
  want "SIG$signal does not store the settings ($file, $keys)" setting "Mark%20Viewed=0"
  equal "files after SIG$signal ($file, $keys)" "$ours" "$(everything)"
done <<EOT
TERM home.tif -
INT home.tif -
HUP home.tif alt+f
INT home.tif ctrl+p Print
TERM none.tif - LUMENTA
EOT

# A signal that the caller ignores remains ignored, as with nohup.
env --ignore-signal=HUP "$lumenta" "$scratch/home.tif" >"$scratch/program.out" 2>"$scratch/program.err" &
program_pid=$!
at_exit_kill+=("$program_pid")
window_named "Plate 7 - LUMENTA"
want "SIGHUP is no longer ignored" grep -q '^SigIgn:.*[13579bdf]$' "/proc/$program_pid/status"
quit_program
await "a temporary file is left" no_temporary_files
