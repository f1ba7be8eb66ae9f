#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# packages.sh GROUP...: prints the Debian packages of these groups on one line, as in
#   apt-get install --no-install-recommends $(scripts/packages.sh build test)
# The groups are run, build, display, test, check, package, bare, matrix and bench. No other file lists packages.
# If sourced, this file prints nothing and defines packages_of.

newest_clang=22 # the newest clang in Debian 12

packages_of()
{
  local group
  for group in "$@"; do
    case $group in
    run) # needed to run the program; a Wayland desktop also needs qt6-wayland, which is in the group test
      echo libqt6widgets6 libqt6printsupport6 libtiff6 libelf1 hicolor-icon-theme fonts-dejavu-core
      ;;
    build) # needed to compile it
      echo g++ cmake ninja-build pkg-config qt6-base-dev libtiff-dev libelf-dev libxcb1-dev
      ;;
    display) # a private display, a window manager, and tools that inspect and control windows
      echo xvfb xauth openbox xdotool x11-utils imagemagick
      ;;
    test)
      packages_of display
      echo libgtest-dev libgmock-dev libjbig-dev libtiff-tools poppler-utils fonts-dejavu-core git weston qt6-wayland jq
      ;;
    check)
      echo clang-14 clang-tidy-14 clang-format-14 libclang-rt-14-dev llvm-14 shellcheck git
      ;;
    package) # what makes the Debian packages and checks them
      echo dpkg-dev file librsvg2-bin desktop-file-utils appstream libxml2-utils shared-mime-info libglib2.0-bin
      echo mandoc lintian imagemagick doxygen
      ;;
    bare) # a bare system to install the packages in
      packages_of display
      echo debootstrap
      ;;
    matrix) # other compilers, and tools that build and run the codec library for other processors
      echo "clang-$newest_clang" "libclang-rt-$newest_clang-dev" "llvm-$newest_clang" dpkg-dev
      echo g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user-static googletest
      ;;
    bench)
      packages_of display
      echo libjbig-dev libleptonica-dev fonts-dejavu-core
      ;;
    *)
      wrong_usage "unknown group '$group'; the groups are: run build display test check package bare matrix bench"
      ;;
    esac
  done
}

if ((${#BASH_SOURCE[@]} == 1)); then # called, not sourced
  set -euo pipefail
  source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
  answer_help "$@"
  list=$(packages_of "$@")
  tr -s ' \n' '\n' <<<"$list" | sort -u | paste -sd ' '
fi
