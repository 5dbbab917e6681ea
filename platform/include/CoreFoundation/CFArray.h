/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFArray: objects in a row. The conventions of CFBase.h hold, but a mutable array is used by one
 * thread at a time.
 */
#ifndef COREFOUNDATION_CFARRAY_H
#define COREFOUNDATION_CFARRAY_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What an array does with its values: with kCFTypeArrayCallBacks it holds a count of each; without
 * (null) it keeps bare pointers. There are no others. */
typedef struct CFArrayCallBacks {
  CFIndex version;
} CFArrayCallBacks;
SPEECH_PLATFORM_API extern const CFArrayCallBacks kCFTypeArrayCallBacks;

SPEECH_PLATFORM_API CFTypeID CFArrayGetTypeID(void);

/* An array of `numValues` values. Null also when `numValues` is negative. */
SPEECH_PLATFORM_API CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values,
                                             CFIndex numValues, const CFArrayCallBacks* callBacks);

/* An empty array that grows; `capacity` is not looked at. */
SPEECH_PLATFORM_API CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator,
                                                           CFIndex capacity,
                                                           const CFArrayCallBacks* callBacks);

SPEECH_PLATFORM_API void CFArrayAppendValue(CFMutableArrayRef array, const void* value);

SPEECH_PLATFORM_API CFIndex CFArrayGetCount(CFArrayRef array);

/* The value of that index, from 0, which stays the array's own; null outside. */
SPEECH_PLATFORM_API const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

#ifdef __cplusplus
}
#endif

#endif
