// The program's version, as "1.2.3", and when it was built, as "11:02:57  Jul 20 2001".
#pragma once

extern const char kLumentaVersion[];
extern const char kBuildStamp[];
