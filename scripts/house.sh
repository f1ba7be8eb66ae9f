#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# house.sh [DIRECTORY]: checks the rules that need no compiler, in this source tree or in that of DIRECTORY:
# which folder may include which, names of files and test classes, the line with the licence, trailing blanks,
# long lines, file sizes, and paths and hosts that exist on one machine only. Prints one line per finding,
# FILE:LINE: TEXT, and ends with status 1 if there is any.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

answer_help "$@"
if (($# > 1)) || [[ ! -d ${1:-.} ]]; then
  wrong_usage "needs one directory, got $*"
fi
tree=$(cd "${1:-$root}" && pwd -P)
cd "$tree"
found=$scratch/found
: >"$found"

tree_files . >"$scratch/files"
# Corpus entries, samples and pictures are data: only their size counts.
grep -vE '^(fuzz/corpus|samples)/|\.(png|tif|ico)$' "$scratch/files" >"$scratch/texts" || true
grep -E '\.(h|hpp|c|cc|cpp)$' "$scratch/texts" >"$scratch/sources" || true
[[ -s $scratch/files ]] || die "no files in $tree"

# sources_in PATTERN: prints the sources whose path matches.
sources_in() { grep -E "$1" "$scratch/sources" || true; }

# complain TEXT PATTERN [GREP-OPTION...]: reads file names from the input, and adds a finding for each line
# that matches.
complain()
{
  local text=$1 pattern=$2
  shift 2
  tr '\n' '\0' | { xargs -0 -r grep -HnIE "$@" -e "$pattern" -- || true; } | cut -d: -f1,2 |
    sed "s|\$|: $text|" >>"$found"
}

# --- Qt is used only in platform/qt and in the sources of platform/testing ----------------------------------

qt_include='^[[:space:]]*#[[:space:]]*include[[:space:]]*([<"]([^">]*/)?Q([A-Z]|t[A-Z])|<q[a-z]+\.h>)'
qt_name='\bQt::|^[[:space:]]*(class|struct)[[:space:]]+Q[A-Z][A-Za-z]*[[:space:]]*;'
qt_name+='|^[^#]*\bQ(Widget|String|Object|Event|Image|Painter|Application|Settings|Printer|Dialog|Menu|Timer)\b'
qt_free='^(app|lib|pagetools)/|^platform/([^/]+|posix/.*|testing/.*\.h)$'
sources_in "$qt_free" | complain "includes Qt outside platform/qt" "$qt_include"
sources_in "$qt_free" | complain "uses a type of Qt outside platform/qt" "$qt_name"

# --- Which top folder may include which ---------------------------------------------------------------------

# Prints FILE LINE NAME for each include. NAME has its opening quote or angle bracket: "wnd.h or <vector.
list_includes()
{
  tr '\n' '\0' | { xargs -0 -r grep -HnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*["<]' -- || true; } |
    sed -E 's/^([^:]*):([0-9]+):[[:space:]]*#[[:space:]]*include[[:space:]]*(["<][^">]*).*/\1 \2 \3/'
}

# The keys of is_source are the paths of all sources. For every path, folder_has has the keys "FOLDER TAIL":
# FOLDER is its top folder, and TAIL is the rest of the path after any slash.
declare -A is_source=() folder_has=()
while IFS= read -r file; do
  is_source[$file]=1
  tail=$file
  while [[ $tail == */* ]]; do
    tail=${tail#*/}
    folder_has["${file%%/*} $tail"]=1
  done
done <"$scratch/sources"

# in_folder FOLDER FILE NAME: whether NAME, included by FILE, is a header of that top folder. Like the
# compiler, this first searches the folder of FILE, and then its top folder.
in_folder()
{
  local folder=$1 file=$2 name=$3
  [[ $name != "$folder"/* && $name != */"$folder"/* ]] || return 0
  [[ -z ${is_source[${file%/*}/$name]:-} && -z ${folder_has["${file%%/*} $name"]:-} ]] || return 1
  [[ -n ${folder_has["$folder $name"]:-} || ($folder == lib && $name == kesterlib/*) ]]
}

c_headers='assert|complex|ctype|errno|fenv|float|inttypes|iso646|limits|locale|math|setjmp|signal|stdalign|stdarg'
c_headers+='|stdatomic|stdbool|stddef|stdint|stdio|stdlib|stdnoreturn|string|tgmath|threads|time|uchar|wchar|wctype'
c_headers+='|immintrin|arm_neon' # headers of the compiler, for vector instructions

posix_headers='fcntl|sys/[a-z]+|unistd'

sources_in '^(app|lib|pagetools|platform|tools)/' | list_includes | while read -r file line include; do
  name=${include:1}
  wrong=
  case ${file%%/*} in
  platform)
    ! in_folder app "$file" "$name" || wrong="platform includes app"
    ! in_folder lib "$file" "$name" || wrong="platform includes lib"
    ;;
  lib)
    ! in_folder app "$file" "$name" || wrong="lib includes app"
    ! in_folder platform "$file" "$name" || wrong="lib includes platform"
    if [[ -z $wrong && $include == '<'* && $name != kesterlib/* ]]; then
      [[ $name =~ ^([a-z_]+|($c_headers)\.h)$ ]] || wrong="lib includes more than the standard library"
    fi
    ;;
  pagetools)
    # Only headers of its own folder are in quotes.
    [[ $include == '<'* || -n ${is_source[pagetools/$name]:-} ]] || wrong="pagetools includes another folder"
    if [[ $include == '<'* && $name != kesterlib/* ]]; then
      [[ $name =~ ^([a-z_]+|($c_headers|$posix_headers)\.h)$ ]] || wrong="pagetools includes more than kesterlib"
    fi
    ;;
  app)
    [[ ! $name =~ (^|/)((qt|posix)/|hooks\.h$) ]] || wrong="app includes a private header of platform"
    ;;
  esac
  if [[ $file != platform/testing/* && $name =~ (^|/)testing/ ]]; then
    wrong="the program includes code that only tests use"
  fi
  [[ -z $wrong ]] || printf '%s:%s: %s: %s\n' "$file" "$line" "$wrong" "$name" >>"$found"
done

# --- Names of files and test classes ------------------------------------------------------------------------

# A name says which file is meant, without its folder.
awk -F/ '{ if ($NF in first) print $0 ":0: has the name of " first[$NF]; else first[$NF] = $0 }' \
  "$scratch/sources" >>"$found"

# The name of a test class or test suite says which file has it.
sources_in '^tests/' | tr '\n' '\0' |
  { xargs -0 -r grep -HnoE '^(class [A-Za-z0-9_]+ : public |[A-Z_]*TEST[A-Z_]*\([A-Za-z0-9_]+,)' -- || true; } |
  sed -E 's/:(class|[A-Z_]*TEST[A-Z_]*)[ (]([A-Za-z0-9_]+).*/:\1:\2/; s/:[A-Z_]*TEST[A-Z_]*:/:suite:/' |
  awk -F: '{
    name = $3 " " $4
    if (!(name in first))
      first[name] = $1
    else if (first[name] != $1 && !seen[name, $1]++)
      print $1 ":" $2 ": " name " is in " first[name] " too"
  }' >>"$found"

# A header without an include guard is included to be compiled again with other macros. Its name says so.
sources_in '\.h$' | tr '\n' '\0' | { xargs -0 -r grep -LE '^#(pragma once|ifndef [A-Z0-9_]+_H)$' -- || true; } |
  { grep -vE '_tmpl\.h$' || true; } | sed 's/$/:0: has no include guard and no _tmpl in its name/' >>"$found"
sources_in '_tmpl\.h$' | complain "has an include guard and _tmpl in its name" '^#(pragma once|ifndef [A-Z0-9_]+_H)$'

# --- The licence --------------------------------------------------------------------------------------------

# It is in the first line, or in the second one after "#!".
{ grep -E '\.(h|hpp|c|cc|cpp|sh|cmake|awk)$|(^|/)CMakeLists\.txt$|^\.ci/' "$scratch/texts" || true; } | tr '\n' '\0' |
  xargs -0 -r awk 'function finish() {
      if (name != "" && !has_licence) print name ":1: has no line SPDX-License-Identifier: MIT"
    }
    FNR == 1 { finish(); name = FILENAME; has_licence = 0; last = /^#!/ ? 2 : 1 }
    FNR == last && /^(#|\/\/|\/\*) SPDX-License-Identifier: MIT( \*\/)?$/ { has_licence = 1 }
    END { finish() }' >>"$found"

# --- Blanks, lines, sizes, references -----------------------------------------------------------------------

complain "blanks at the end of the line" $'[ \t\r]+$' <"$scratch/texts"

# clang-format wraps code, but not comments.
complain "longer than 110 columns" '.{111}' <"$scratch/sources"

tr '\n' '\0' <"$scratch/files" | xargs -0 stat -c '%s %n' -- |
  awk '$1 > 1000000 { size = $1; sub(/^[0-9]+ /, ""); print $0 ":0: larger than 1 MB (" size " bytes)" }' >>"$found"

# Paths and hosts that exist only on one machine. A letter in brackets keeps this file from matching itself.
places='(^|[^A-Za-z0-9_.])/([w]ork|[f]arm|[r]oot|[U]sers)/|(^|[^A-Za-z0-9_.])/[h]ome/[a-z]'
places+='|https?://(deb|registry|security|mirror)[.]'
complain "names a path or host of one machine" "$places" <"$scratch/texts"

if [[ -s $found ]]; then
  sort -u -t: -k1,1 -k2,2n -k3 "$found"
  exit 1
fi
