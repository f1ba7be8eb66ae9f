# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Shared by the scripts. Source this file. It defines
#   root          the top of the source tree
#   scratch       a temporary directory, which is deleted when the script ends
#   at_exit_kill  the processes that are ended when the script ends
#   at_exit_unmount  the mounts that are removed after that
# and functions that print the script's head comment as its manual, install packages, configure and build, and
# set up a private display and environment. It sets the traps for EXIT, INT, TERM and HUP.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
scratch=$(mktemp -d "${TMPDIR:-/tmp}/lumenta-XXXXXX")
at_exit_kill=()
at_exit_unmount=()

# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"

say() { printf '\n== %s\n' "$*"; }
die() { printf '%s: %s\n' "${0##*/}" "$*" >&2; exit 1; }

# Prints the head comment of the script, which begins after the line with the licence.
print_manual() { sed -n '3,${ /^#/!q; s/^# \{0,1\}//; p }' "$0"; }

# wrong_usage TEXT: ends the script with status 2, after the text and the manual.
wrong_usage()
{
  {
    printf '%s: %s\n\n' "${0##*/}" "$1"
    print_manual
  } >&2
  exit 2
}

# answer_help ARGUMENT...: ends the script after its manual if --help is one of its arguments.
answer_help()
{
  local argument
  for argument; do
    [[ $argument != --help ]] || { print_manual; exit 0; }
  done
}

clean_up()
{
  local i
  # In reverse order: programs end before the window manager, and the window manager before its display.
  for ((i = ${#at_exit_kill[@]} - 1; i >= 0; i--)); do
    end_process "${at_exit_kill[i]}"
  done
  for ((i = ${#at_exit_unmount[@]} - 1; i >= 0; i--)); do
    umount "${at_exit_unmount[i]}" || umount -l "${at_exit_unmount[i]}" || true
  done
  rm -rf "$scratch"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

# end_process PID: ends a process that this script has started. Sends SIGTERM, and after two seconds SIGKILL.
end_process()
{
  local pid=$1
  kill "$pid" 2>/dev/null || true
  wait_for 2 process_gone "$pid" || kill -KILL "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
}

# process_gone PID: whether the process has ended. A zombie (ended, but its parent has not called wait) counts
# as ended.
process_gone()
{
  local line
  line=$(cat "/proc/$1/stat" 2>/dev/null) || return 0
  [[ ${line##*) } == [ZX]* ]]
}

# wait_for SECONDS COMMAND...: runs the command until it succeeds. Returns 1 if it does not within that time.
wait_for()
{
  local end=$((SECONDS + $1 + 1))
  shift
  until "$@"; do
    ((SECONDS < end)) || return 1
    sleep 0.05
  done
}

# Prints the names of all installed packages and the names that they provide: a renamed package provides its
# old name.
installed_names()
{
  dpkg-query -W -f='${db:Status-Abbrev},${Package},${Provides}\n' | sed -n 's/^ii *,//p' | tr ',' '\n' |
    sed -E 's/^ +//; s/[ :].*//' | sort -u
}

# need GROUP...: installs the packages of these groups that are missing. If none is missing, it changes
# nothing.
need()
{
  local wanted missing=() package as_root=()
  wanted=$(packages_of "$@")
  if ! command -v dpkg-query >/dev/null; then
    echo "This is not a Debian system. Install the contents of these packages: $(paste -sd ' ' <<<"$wanted")" >&2
    return 0
  fi
  installed_names >"$scratch/installed"
  for package in $wanted; do
    grep -qxF -e "$package" "$scratch/installed" || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  if ((EUID != 0)); then
    command -v sudo >/dev/null || die "packages are missing, and this user cannot install them without sudo.
Install them as root: apt-get install --no-install-recommends ${missing[*]}"
    as_root=(sudo)
  fi
  say "installing ${missing[*]}"
  local options=(-o Acquire::Retries=3 -o DPkg::Lock::Timeout=300)
  "${as_root[@]}" apt-get -q "${options[@]}" -o APT::Update::Error-Mode=any update
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y "${options[@]}" \
    install --no-install-recommends "${missing[@]}"
}

# Prints how many compilers and tests to run at once: one per core, but no more than fit in memory.
# LUMENTA_JOBS overrides this.
parallel_jobs()
{
  local cores room
  if [[ -n ${LUMENTA_JOBS:-} ]]; then
    echo "$LUMENTA_JOBS"
    return
  fi
  cores=$(nproc)
  room=$(awk '/^MemAvailable:/ { print int($2 / 800000) }' /proc/meminfo) # 0.8 GB per compiler, with the Qt headers
  ((room >= 1)) || room=1
  echo $((cores < room ? cores : room))
}

# build_preset PRESET DIRECTORY [-Dx=y...] [-- TARGET...]: configures the preset into build/DIRECTORY and
# builds.
build_preset()
{
  local preset=$1 directory=$root/build/$2 settings=()
  shift 2
  while (($#)) && [[ $1 != -- ]]; do
    settings+=("$1")
    shift
  done
  (($# == 0)) || shift
  say "building preset $preset in build/${directory##*/}"
  (cd "$root" && cmake --preset "$preset" -B "$directory" "${settings[@]}" >/dev/null)
  cmake --build "$directory" --parallel "$(parallel_jobs)" ${1+--target "$@"}
}

# Builds what the tests need, without the benchmark programs. So the packages of these programs are not
# needed.
build_tests() { build_preset release test -DLUMENTA_BENCH=OFF; }

# tree_files DIRECTORY: prints the files of the source tree in DIRECTORY, one per line: those that git tracks
# or would track. If DIRECTORY is not the top of a git tree, prints all files except those in .git and build/.
tree_files()
{
  local top=$1 file
  if [[ $(git -C "$top" rev-parse --show-toplevel 2>/dev/null) == "$(cd "$top" && pwd -P)" ]]; then
    git -C "$top" ls-files --cached --others --exclude-standard
  else
    (cd "$top" && find . -type d \( -name .git -o -path ./build \) -prune -o -type f -print | sed 's,^\./,,')
  fi | sort -u | while IFS= read -r file; do
    [[ ! -f $top/$file ]] || printf '%s\n' "$file" # a tracked file may have been deleted
  done
}

# Sets up an environment in which programs see neither the user's settings nor a desktop's bus, scaling or
# theme. The bus address is invalid on purpose: a bus that accepts a connection and never answers would block
# Qt forever.
private_environment()
{
  unset WAYLAND_DISPLAY QT_QPA_PLATFORM QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE QT_SCALE_FACTOR \
    QT_SCREEN_SCALE_FACTORS QT_AUTO_SCREEN_SCALE_FACTOR QT_ENABLE_HIGHDPI_SCALING QT_FONT_DPI \
    QT_LOGGING_RULES QT_PLUGIN_PATH QT_SCALE_FACTOR_ROUNDING_POLICY
  mkdir -p "$scratch/config"
  export XDG_CONFIG_HOME=$scratch/config
  export DBUS_SESSION_BUS_ADDRESS=unix:path=$scratch/no-bus
  export LC_ALL=C.UTF-8
  if [[ -z ${XDG_RUNTIME_DIR:-} ]]; then
    mkdir -m 700 "$scratch/runtime"
    export XDG_RUNTIME_DIR=$scratch/runtime
  fi
}

# start_display [WIDTHxHEIGHT]: starts a private X server with one screen of that size (1280x960). Exports
# DISPLAY.
start_display()
{
  local size=${1:-1280x960} number=
  mkfifo "$scratch/display"
  Xvfb -displayfd 3 -screen 0 "${size}x24" -dpi 96 -nolisten tcp -noreset \
    3>"$scratch/display" >"$scratch/xvfb.log" 2>&1 &
  at_exit_kill+=("$!")
  # The server writes its number when it is ready for clients. If it ends before that, the pipe closes.
  if ! read -r -t 30 number <"$scratch/display" || [[ -z $number ]]; then
    cat "$scratch/xvfb.log" >&2
    die "the private display did not start"
  fi
  rm -f "$scratch/display"
  export DISPLAY=:$number
  unset WAYLAND_DISPLAY
}

# Starts a window manager on the private display. Without one, no window becomes active and none receives
# keys.
start_window_manager()
{
  mkdir -p "$scratch/cache"
  XDG_CACHE_HOME=$scratch/cache openbox --sm-disable >"$scratch/openbox.log" 2>&1 3>&- &
  at_exit_kill+=("$!")
  if ! wait_for 30 window_manager_ready; then
    cat "$scratch/openbox.log" >&2
    die "the window manager did not start"
  fi
}

# Whether the window manager handles requests. While openbox is starting, it can lose a request, for example
# that of a program to show its window.
window_manager_ready()
{
  xdotool set_num_desktops 1 && [[ $(xdotool get_num_desktops) == 1 ]]
} 2>/dev/null

# run_tests BUILD [CTEST-ARGUMENT...]: runs the tests of a build on a private display. The last line of the
# output is ctest's count of the tests, and the status is ctest's. A build without tests fails.
# LUMENTA_TEST_TIMEOUT (300) is the time limit of a single test in seconds.
run_tests()
{
  local build=$1 status=0
  shift
  private_environment
  start_display 1280x960
  start_window_manager
  ctest --test-dir "$build" --output-on-failure --no-tests=error --parallel "$(parallel_jobs)" \
    --timeout "${LUMENTA_TEST_TIMEOUT:-300}" "$@" 2>&1 |
    tee "$scratch/ctest.log" || status=$?
  echo
  grep -E '^[0-9]+% tests passed' "$scratch/ctest.log" || echo "no tests were run"
  return "$status"
}
