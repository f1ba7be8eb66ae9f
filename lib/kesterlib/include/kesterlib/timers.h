/* A process-wide table of 64 stopwatches, numbered 0 to 63, that add up how long stages of the work take.
 * Other numbers do nothing. The table is used from one thread at a time. */
#ifndef KESTERLIB_TIMERS_H
#define KESTERLIB_TIMERS_H

#include "kesterlib/export.h"

KESTERLIB_BEGIN

/* Seconds, in steps of a millisecond, of a clock that never goes back but starts at 0 again after 2^32 ms. */
KESTERLIB_API double millisec_time(void);

/* Both ends included. Forgets name, passes and total. */
KESTERLIB_API void timerReset(int first, int last);

KESTERLIB_API void timerOn(int number);

/* Adds the time since timerOn, and one pass, and returns the seconds of this pass. Without a timerOn ever,
 * the time is counted from the clock's 0. The first name that is not null stays; it is copied. */
KESTERLIB_API double timerOff(int number, const char* name);

/* Writes the title and a line for each timer with a name to standard output: total seconds, passes, name. */
KESTERLIB_API void timerShow(int first, int last, const char* title);

KESTERLIB_END

#endif
