/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFDictionary: values by their keys. The conventions of CFBase.h hold, but a mutable dictionary is
 * used by one thread at a time.
 *
 * Keys that are objects are compared with CFEqual. Looking one up takes time in proportion to the
 * number of keys: dictionaries here are small.
 */
#ifndef COREFOUNDATION_CFDICTIONARY_H
#define COREFOUNDATION_CFDICTIONARY_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a dictionary does with its keys and values: with the callbacks below it holds a count of
 * each; without (null) it keeps bare pointers, and compares keys as such. There are no others. */
typedef struct CFDictionaryKeyCallBacks {
  CFIndex version;
} CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks {
  CFIndex version;
} CFDictionaryValueCallBacks;
SPEECH_PLATFORM_API extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
SPEECH_PLATFORM_API extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

SPEECH_PLATFORM_API CFTypeID CFDictionaryGetTypeID(void);

/* A dictionary of `numValues` keys and as many values; of equal keys the first stays. Null also
 * when `numValues` is negative. */
SPEECH_PLATFORM_API CFDictionaryRef CFDictionaryCreate(
    CFAllocatorRef allocator, const void** keys, const void** values, CFIndex numValues,
    const CFDictionaryKeyCallBacks* keyCallBacks, const CFDictionaryValueCallBacks* valueCallBacks);

/* An empty dictionary that changes; `capacity` is not looked at. */
SPEECH_PLATFORM_API CFMutableDictionaryRef CFDictionaryCreateMutable(
    CFAllocatorRef allocator, CFIndex capacity, const CFDictionaryKeyCallBacks* keyCallBacks,
    const CFDictionaryValueCallBacks* valueCallBacks);

/* Adds the key, unless it is there. */
SPEECH_PLATFORM_API void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key,
                                              const void* value);

/* Adds the key, or puts the value in the place of the one it has. */
SPEECH_PLATFORM_API void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key,
                                              const void* value);

SPEECH_PLATFORM_API void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary,
                                                 const void* key);

SPEECH_PLATFORM_API CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);

SPEECH_PLATFORM_API Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);

/* The key's value, which stays the dictionary's own; null when it is not there. */
SPEECH_PLATFORM_API const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

/* Whether the key is there; then `*value` (may be null) receives its value. */
SPEECH_PLATFORM_API Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary,
                                                          const void* key, const void** value);

/* Fills both arrays (each may be null), which have room for CFDictionaryGetCount entries, in the
 * same order. */
SPEECH_PLATFORM_API void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                                      const void** values);

#ifdef __cplusplus
}
#endif

#endif
