/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFArray: arrays. The conventions of CFBase.h apply; one thread at a time uses a mutable array.
 */
#ifndef COREFOUNDATION_CFARRAY_H
#define COREFOUNDATION_CFARRAY_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How an array treats its values: with kCFTypeArrayCallBacks it retains them; with null it stores
 * plain pointers. There are no other callbacks. */
typedef struct CFArrayCallBacks {
  CFIndex version;
} CFArrayCallBacks;
SPEECH_PLATFORM_API extern const CFArrayCallBacks kCFTypeArrayCallBacks;

SPEECH_PLATFORM_API CFTypeID CFArrayGetTypeID(void);

/* Creates an array of `numValues` values. Null also if `numValues` is negative. */
SPEECH_PLATFORM_API CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values,
                                             CFIndex numValues, const CFArrayCallBacks* callBacks);

/* Creates an empty mutable array; `capacity` is ignored. */
SPEECH_PLATFORM_API CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator,
                                                           CFIndex capacity,
                                                           const CFArrayCallBacks* callBacks);

/* Appends a value. If out of memory, the array is unchanged. */
SPEECH_PLATFORM_API void CFArrayAppendValue(CFMutableArrayRef array, const void* value);

/* Returns the number of values. */
SPEECH_PLATFORM_API CFIndex CFArrayGetCount(CFArrayRef array);

/* Returns the value at an index, from 0; it belongs to the array. Null if out of range. */
SPEECH_PLATFORM_API const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

#ifdef __cplusplus
}
#endif

#endif
