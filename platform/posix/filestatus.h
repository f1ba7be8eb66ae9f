// A file's status out of the system's own record.
#pragma once

#include "platform/viewedmark.h"

#include <sys/stat.h>

FileStatus FileStatusFrom(const struct stat& system);
