/* SPDX-License-Identifier: MIT */
/* Macros that all headers of kesterlib use: marks of functions, and C linkage in C++. */
#ifndef KESTERLIB_EXPORT_H
#define KESTERLIB_EXPORT_H

#if defined(__GNUC__)
#define KESTERLIB_API __attribute__((visibility("default")))
/* Lets the compiler check printf arguments: `text` is the number of the format parameter, `first` that of
 * the first argument; both count from 1. */
#define KESTERLIB_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define KESTERLIB_API
#define KESTERLIB_PRINTF(text, first)
#endif

/* The compiler warns if a call ignores the result: it says whether the call has failed, or it is all that the
 * call is for. */
#if defined(__cplusplus)
#define KESTERLIB_NODISCARD [[nodiscard]]
#elif defined(__GNUC__)
#define KESTERLIB_NODISCARD __attribute__((warn_unused_result))
#else
#define KESTERLIB_NODISCARD
#endif

#ifdef __cplusplus
#define KESTERLIB_BEGIN extern "C" {
#define KESTERLIB_END }
#else
#define KESTERLIB_BEGIN
#define KESTERLIB_END
#endif

#endif
