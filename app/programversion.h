// The program's version and the time of its build.
#pragma once

extern const char kLumentaVersion[]; // such as "1.2.3"
extern const char kBuildStamp[];     // such as "11:02:57  Jul 20 2001"
