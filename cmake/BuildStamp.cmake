# SPDX-License-Identifier: MIT
# cmake -D OUTPUT=FILE -P BuildStamp.cmake: writes a source with the time of the build, as "11:02:57  Jul 20
# 2001". A day of one digit has a blank before it. If SOURCE_DATE_EPOCH is set, the stamp is that time in UTC,
# so that a later build of the same source has the same bytes.
cmake_minimum_required(VERSION 3.25)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(zone UTC)
endif()
string(TIMESTAMP now "%H:%M:%S;%m;%d;%Y" ${zone})
list(GET now 0 time)
list(GET now 1 month)
list(GET now 2 day)
list(GET now 3 year)
set(months Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec) # English in any locale
math(EXPR month "1${month} - 101") # without the 1, "08" would be an octal number
list(GET months ${month} month)
string(REGEX REPLACE "^0" " " day ${day})
file(WRITE ${OUTPUT} "#include \"app/programversion.h\"\n\nconst char kBuildStamp[] = \"${time}  ${month} ${day} ${year}\";\n")
