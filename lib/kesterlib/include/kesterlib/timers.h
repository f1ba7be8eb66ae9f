/* SPDX-License-Identifier: MIT */
/* A process-wide table of 64 timers, numbered 0 to 63, that add up how long stages of the work take. Other
 * numbers are ignored. Use the table from one thread at a time. */
#ifndef KESTERLIB_TIMERS_H
#define KESTERLIB_TIMERS_H

#include "kesterlib/export.h"

KESTERLIB_BEGIN

/* Returns the seconds of a monotonic clock, in steps of a millisecond. The clock wraps to 0 after 2^32 ms. */
KESTERLIB_NODISCARD KESTERLIB_API double millisec_time(void);

/* Clears the name, passes and total of the timers from first to last, both included. */
KESTERLIB_API void timerReset(int first, int last);

/* Starts a pass. */
KESTERLIB_API void timerOn(int number);

/* Ends a pass: adds the time since timerOn to the total, and 1 to the passes.
 *
 *   name  copied as the timer's name if the timer has none yet; may be null
 *
 * Returns the seconds of this pass, or 0 for an ignored number. If timerOn was never called, the time
 * counts from the clock's 0. */
KESTERLIB_API double timerOff(int number, const char* name);

/* Prints to standard output: the title, then for each timer from first to last that has a name a line with
 * total seconds, passes and name. */
KESTERLIB_API void timerShow(int first, int last, const char* title);

KESTERLIB_END

#endif
