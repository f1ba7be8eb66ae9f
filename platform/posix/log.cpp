// The system log; it is reached for only when there is something to say.
#include "platform/log.h"

#include <syslog.h>

void OutputDebugStringA(const char* text)
{
    syslog(LOG_USER | LOG_DEBUG, "%s", text);
}
