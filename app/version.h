// The program's version, as "1.2.3".
#pragma once

extern const char kLumentaVersion[];
