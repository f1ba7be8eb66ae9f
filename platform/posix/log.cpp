// SPDX-License-Identifier: MIT
// Writes lines to the system log.
#include "platform/log.h"

#include <syslog.h>

void OutputDebugStringA(const char* text)
{
    syslog(LOG_USER | LOG_DEBUG, "%s", text);
}
