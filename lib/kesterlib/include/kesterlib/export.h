/* What the headers of kesterlib share: the mark of an exported function, and C linkage for C++. */
#ifndef KESTERLIB_EXPORT_H
#define KESTERLIB_EXPORT_H

#if defined(__GNUC__)
#define KESTERLIB_API __attribute__((visibility("default")))
/* Arguments from `first` on go with the format text at `text`, both counted from 1. */
#define KESTERLIB_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define KESTERLIB_API
#define KESTERLIB_PRINTF(text, first)
#endif

#ifdef __cplusplus
#define KESTERLIB_BEGIN extern "C" {
#define KESTERLIB_END }
#else
#define KESTERLIB_BEGIN
#define KESTERLIB_END
#endif

#endif
