// Opening page files.
#pragma once

#include "platform/cstring.h"

// Opens a regular file for reading, links followed. Anything else (directory, FIFO, device, no permission, no
// file, a path of 4096 bytes and more) gives -1 and never blocks. The caller closes the descriptor.
int OpenRegularFile(const CString& path);
