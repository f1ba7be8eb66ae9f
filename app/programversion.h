// SPDX-License-Identifier: MIT
// The program's version, its commit and the time of its build.
#pragma once

extern const char kLumentaVersion[]; // such as "1.2.3"
extern const char kLumentaCommit[];  // such as "v1.2.3-4-g0123abc"; empty if it was not built in a git tree
extern const char kBuildStamp[];     // such as "11:02:57  Jul 20 2001"
