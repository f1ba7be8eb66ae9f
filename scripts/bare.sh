#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# bare.sh [DIRECTORY]: installs the Debian packages of DIRECTORY (build/package/packages) in a bare Debian 12 in
# build/bare, as a user would, and checks them:
#   1. lumenta alone: the viewer starts and shows a sample. Its picture is saved in build/bare.png. Then the
#      package is removed.
#   2. all packages on a system with the tools of a desktop: the type of a page file is known, its default
#      program opens it, the tools read it, and a C program that is linked with the library decodes it. After
#      the packages are removed, nothing of them is left.
# Needs root. scripts/check.sh bare installs the needed packages and calls this script.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

answer_help "$@"
packages=${1:-$root/build/package/packages}
if (($# > 1)) || [[ ! -d $packages && -n ${1:-} ]]; then
  wrong_usage "needs one directory, got $*"
fi
((EUID == 0)) || die "needs root"
bare=$root/build/bare
[[ -n $(compgen -G "$packages/lumenta_*.deb") ]] || die "there are no packages; run scripts/check.sh package first"
umask 022

# inside COMMAND...: runs a command in the bare system, on the private display.
inside()
{
  chroot "$bare" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    HOME=/tmp/home XDG_CONFIG_HOME=/tmp/home/config XDG_CURRENT_DESKTOP=GNOME DISPLAY="$DISPLAY" "$@"
}

# apt_get ARGUMENT...: runs apt-get in the bare system. Prints its output only if it fails.
apt_get()
{
  inside apt-get -q -y -o Acquire::Retries=3 "$@" >"$scratch/apt.log" 2>&1 || {
    cat "$scratch/apt.log" >&2
    die "apt-get $* has failed"
  }
}

# equal WHAT WANTED GOT
equal() { [[ $2 == "$3" ]] || die "$1 is '$3', not '$2'"; }

# Prints all files of the bare system, except those that apt and dpkg keep for themselves, logs and caches.
list_files()
{
  (cd "$bare" && find . -xdev \( -path ./var/lib/dpkg -o -path ./var/lib/apt -o -path ./var/cache -o -path ./var/log \
    -o -path ./tmp -o -path ./proc -o -path ./packages \) -prune -o -print) | sort
}

# nothing_left BEFORE: compares the files with those of a list that list_files has printed.
nothing_left()
{
  list_files >"$scratch/after"
  comm -13 "$1" "$scratch/after" >"$scratch/left"
  [[ ! -s $scratch/left ]] || { cat "$scratch/left" >&2; die "the removed packages have left files"; }
  comm -23 "$1" "$scratch/after" >"$scratch/gone"
  [[ ! -s $scratch/gone ]] || { cat "$scratch/gone" >&2; die "files of other packages are gone"; }
  ! grep -rlE 'lumenta|kesterlib' "$bare/usr/share/mime" "$bare/usr/share/applications" "$bare/etc" 2>/dev/null ||
    die "these files still name the removed packages"
}

# use_viewer TITLE COMMAND...: runs the command, which must show a page with that title, and ends the viewer.
use_viewer()
{
  local title=$1
  shift
  inside "$@" &
  at_exit_kill+=("$!")
  wait_for 30 window_exists "$title" || die "$*: no window has the title $title"
  wait_for 30 page_is_drawn || die "$*: the window shows no page"
  xdotool search --onlyvisible --name "$title" windowactivate --sync key ctrl+q
  wait_for 30 window_is_gone "$title" || die "$*: the viewer does not end"
}

window_exists() { xdotool search --onlyvisible --name "$1" >/dev/null 2>&1; }
window_is_gone() { ! window_exists "$1"; }

# Whether the screen has a picture of the page, which is much black beside much white. Saves the screen.
page_is_drawn()
{
  local black white
  import -window root "png:$root/build/bare.png"
  read -r black white < <(convert "$root/build/bare.png" -format '%c' histogram:info:- |
    awk '/#000000/ { black = $1 + 0 } /#FFFFFF/ { white = $1 + 0 } END { print black + 0, white + 0 }')
  ((black > 10000 && white > 10000))
}

if [[ -e $bare ]]; then
  ! mountpoint -q "$bare/proc" || umount "$bare/proc"
  rm -rf --one-file-system "$bare"
fi
private_environment
start_display 1280x960
start_window_manager

say "making a bare Debian 12 in build/bare"
mkdir -p "$root/build/bare-cache"
debootstrap --variant=minbase --cache-dir="$root/build/bare-cache" bookworm "$bare" >"$scratch/debootstrap.log" || {
  tail "$scratch/debootstrap.log" >&2
  die "debootstrap has failed"
}
mount -t proc proc "$bare/proc"
at_exit_unmount+=("$bare/proc")
printf '#!/bin/sh\nexit 101\n' >"$bare/usr/sbin/policy-rc.d" # packages must not start services here
chmod 755 "$bare/usr/sbin/policy-rc.d"
mkdir -p "$bare/packages" "$bare/tmp/home"
for package in lumenta kesterlib-tools libkesterlib1 libkesterlib-dev; do
  cp "$packages/${package}"_*.deb "$bare/packages/$package.deb"
done
cp "$root"/samples/*.fax "$root/lib/kesterlib/example/decode_page.c" "$bare/packages"
apt_get update

say "installing lumenta alone"
apt_get install /packages/lumenta.deb
inside lumenta --version
use_viewer "1.B Ink and Paper" lumenta /packages/sample-squeeze.fax
apt_get purge lumenta

say "installing all packages"
apt_get install --no-install-recommends xdg-utils shared-mime-info desktop-file-utils libglib2.0-bin \
  hicolor-icon-theme gcc libc6-dev pkg-config
list_files >"$scratch/before"
! grep -E 'lumenta|Lumenta' "$scratch/before" || die "the removed package has left these files"
apt_get install /packages/lumenta.deb /packages/kesterlib-tools.deb /packages/libkesterlib1.deb \
  /packages/libkesterlib-dev.deb
equal "the type of a page file" image/x-lumenta-page "$(inside xdg-mime query filetype /packages/sample-jbig.fax)"
equal "the default program" com.vestrel.Lumenta.desktop "$(inside xdg-mime query default image/x-lumenta-page)"
use_viewer "2.4 Ink and Paper" xdg-open /packages/sample-jbig.fax
read -r -a flags < <(inside pkg-config --cflags --libs kesterlib)
inside cc -o /packages/decode_page /packages/decode_page.c "${flags[@]}"
for kind in squeeze group4 jbig plain; do
  page=/packages/sample-$kind.fax
  inside page-info -s "$page"
  inside page-check "$page"
  inside page-to-pbm "$page" >"$scratch/tool.pbm"
  inside /packages/decode_page "$page" >"$scratch/example.pbm"
  cmp "$scratch/tool.pbm" "$scratch/example.pbm"
done
apt_get purge lumenta kesterlib-tools libkesterlib1 libkesterlib-dev
nothing_left "$scratch/before"
echo "bare.sh passed"
