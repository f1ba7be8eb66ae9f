#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Tests scripts/house.sh. It must find nothing in a small tree that keeps all rules. Then lines are added that
# break each rule, and lines that only seem to break them. It must find each line that breaks a rule, and
# nothing else.
set -euo pipefail
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE # a commit hook sets them

house=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)/scripts/house.sh
top=$(mktemp -d "${TMPDIR:-/tmp}/lumenta-house-XXXXXX")
trap 'rm -rf "$top"' EXIT
failures=0

fail()
{
  printf 'FAILED: %s\n' "$1"
  printf '%s\n' "$2" | sed 's/^/    /'
  failures=$((failures + 1))
}

mkdir -p "$top"/tree/{app,docs,scripts,tests/app,platform/qt,platform/posix,platform/testing,tools/drawing,pagetools,lib/kesterlib/{include/kesterlib,source},fuzz/corpus/x}
cd "$top/tree"
printf '#pragma once\n#include "platform/wnd.h"\n#include <kesterlib/unsqz.h>\n#include <tiffio.h>\n' >app/page.h
printf '#include "page.h"\n#include <vector>\n' >app/page.cpp
printf '#pragma once\n#include <cstdint>\nclass Widget;\n' >platform/wnd.h
printf '#include "platform/wnd.h"\n#include "qt_window.h"\n#include <QWidget>\n' >platform/qt/wnd.cpp
printf '#pragma once\n#include <QObject>\nclass QWidget;\n' >platform/qt/qt_window.h
printf '#include "../wnd.h"\n#include <sys/mman.h>\n' >platform/posix/map.cpp
printf '#pragma once\n#include "platform/wnd.h"\n' >platform/testing/testing.h
printf '#include "platform/testing/testing.h"\n#include "platform/qt/qt_window.h"\n#include <QWidget>\n' >platform/testing/keys.cpp
printf '#pragma once\n#include "platform/testing/testing.h"\n' >tests/app/window_fixture.h
printf '#include <cstdint>\n' >tools/drawing/draw.cpp
printf '#include "drop.h"\n#include <kesterlib/unsqz.h>\n#include <span>\n#include <sys/stat.h>\n' >pagetools/drop.cpp
printf '#pragma once\n' >pagetools/drop.h
printf '#ifndef KESTERLIB_UNSQZ_H\n#include <stdint.h>\n#endif\n' >lib/kesterlib/include/kesterlib/unsqz.h
printf '#include <cstdint>\n' >lib/kesterlib/source/rows_tmpl.h
printf '#include "kesterlib/unsqz.h"\n#include <algorithm>\n#include <immintrin.h>\n' >lib/kesterlib/source/unsqz.cpp
printf 'raw \n' >fuzz/corpus/x/blanks
touch docs/notes.md scripts/x.sh
printf 'class Window : public testing::Test\nTEST_F(Window, Opens)\nTEST_F(Window, Closes)\nTEST(Page, IsRead)\n' >tests/app/one_test.cpp
printf 'struct Case {\nTEST(Rows, AreRead)\n' | tee tests/app/rows_test.cpp | sed s/Rows/Columns/ >tests/app/columns_test.cpp

licence="SPDX-License-Identifier: MIT"
find . -name '*.cpp' -o -name '*.h' | while read -r file; do
  { echo "// $licence" && cat "$file"; } >"$top/file"
  cp "$top/file" "$file"
done
printf '#!/bin/sh\n# %s\n' "$licence" >scripts/x.sh
printf '# %s\n' "$licence" >app/CMakeLists.txt

got=$("$house" . 2>&1) || fail "found something in a tree that keeps all rules" "$got"

# fine FILE TEXT: adds a line that breaks no rule.
fine() { printf '%b\n' "$2" >>"$1"; }

# offence FILE FINDING TEXT: adds a line that breaks a rule.
offence()
{
  printf '%b\n' "$3" >>"$1"
  printf '%s:%d: %s\n' "$1" "$(wc -l <"$1")" "$2" >>"$top/wanted"
}

outside="includes Qt outside platform/qt"
offence app/page.cpp "$outside" '#include <QString>'
offence platform/wnd.h "uses a type of Qt outside platform/qt" 'class QPaintDevice;'
offence platform/testing/testing.h "$outside" '#include <QImage>'
fine platform/qt/wnd.cpp '#include <QtWidgets/QMenu>'
fine platform/testing/keys.cpp '#include <QtWidgets/QMenu>'
fine app/page.cpp '#include "qdecoder.h"'
fine app/page.cpp '// Quite a Query of QTables.'

offence platform/wnd.h "platform includes app: page.h" '#include "page.h"'
offence lib/kesterlib/source/unsqz.cpp "lib includes app: app/page.h" '#include "app/page.h"'
offence lib/kesterlib/source/unsqz.cpp "lib includes more than the standard library: tiffio.h" '#include <tiffio.h>'
offence app/page.cpp "app includes a private header of platform: platform/qt/qt_window.h" '#include "platform/qt/qt_window.h"'
offence app/page.cpp "app includes a private header of platform: platform/hooks.h" '#include "platform/hooks.h"'
offence pagetools/drop.cpp "pagetools includes another folder: page.h" '#include "page.h"'
offence pagetools/drop.cpp "pagetools includes another folder: kesterlib/unsqz.h" '#include "kesterlib/unsqz.h"'
offence pagetools/drop.cpp "pagetools includes more than kesterlib: tiffio.h" '#include <tiffio.h>'
testing="the program includes code that only tests use"
offence app/page.cpp "$testing: platform/testing/testing.h" '#include "platform/testing/testing.h"'
offence platform/wnd.h "$testing: testing/testing.h" '#include "testing/testing.h"'
offence platform/qt/wnd.cpp "$testing: ../testing/testing.h" '#include "../testing/testing.h"'
offence platform/posix/map.cpp "$testing: platform/testing/testing.h" '#include "platform/testing/testing.h"'
offence lib/kesterlib/source/unsqz.cpp "$testing: platform/testing/testing.h" '#include "platform/testing/testing.h"'
offence tools/drawing/draw.cpp "$testing: platform/testing/testing.h" '#include "platform/testing/testing.h"'
fine platform/posix/map.cpp '#include <map>\n#include "platform/wnd.h"'

echo "// $licence" >lib/kesterlib/source/page.cpp
echo "lib/kesterlib/source/page.cpp:0: has the name of app/page.cpp" >>"$top/wanted"
echo "// $licence" >tests/app/two_test.cpp
offence tests/app/two_test.cpp "class Window is in tests/app/one_test.cpp too" 'class Window : public testing::Test'
offence tests/app/two_test.cpp "suite Window is in tests/app/one_test.cpp too" 'TEST_F(Window, Shrinks)'
echo "// $licence" >platform/rows.h
echo "platform/rows.h:0: has no include guard and no _tmpl in its name" >>"$top/wanted"
offence lib/kesterlib/source/rows_tmpl.h "has an include guard and _tmpl in its name" '#pragma once'

no_licence="has no line SPDX-License-Identifier: MIT"
printf '\n# %s\n' "$licence" >lib/CMakeLists.txt
printf '#!/bin/sh\n\n# %s\n' "$licence" >scripts/late.sh
for file in lib/CMakeLists.txt scripts/late.sh; do
  echo "$file:1: $no_licence" >>"$top/wanted"
done

offence app/page.cpp "blanks at the end of the line" 'int x; '
offence app/page.cpp "longer than 110 columns" "// $(printf '%0108d' 0)"
fine app/page.cpp "// $(printf '%0107d' 0)"

place="names a path or host of one machine"
offence docs/notes.md "$place" "pages in /h""ome/anna/pages"
offence docs/notes.md "$place" "deb http""s://deb.example.org stable"
fine docs/notes.md 'the tree in network/home/, a page in /export/work.tif'

head -c 1000000 /dev/zero >fuzz/corpus/x/just_right
head -c 1000001 /dev/zero >fuzz/corpus/x/large
echo "fuzz/corpus/x/large:0: larger than 1 MB (1000001 bytes)" >>"$top/wanted"

"$house" . >"$top/got" 2>&1 && fail "passed a tree that breaks all rules" ""
difference=$(diff <(sort "$top/wanted") <(sort "$top/got")) || fail "expected (<) and found (>) differ" "$difference"

# In a git tree, ignored files are not checked. Files that are not tracked yet are checked.
rm -rf "$top/tree" && mkdir -p "$top/tree/app" "$top/tree/made" && cd "$top/tree"
git init -q .
printf '/made/\n' >.gitignore
printf '// %s\n#include <QString>\n#pragma once\n' "$licence" | tee made/page.h >app/page.h
got=$("$house" . 2>&1) && fail "passed a file that git does not track yet" "$got"
[[ $got == "app/page.h:2: $outside" ]] || fail "expected a finding in app/page.h only" "$got"

((failures == 0)) || exit 1
echo "house_test passed"
