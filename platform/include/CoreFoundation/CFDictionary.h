/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFDictionary: values by key. The conventions of CFBase.h apply; one thread at a time uses a
 * mutable dictionary.
 *
 * Keys that are objects are compared with CFEqual. Lookup is a linear search, in time proportional
 * to the number of keys: dictionaries here are small.
 */
#ifndef COREFOUNDATION_CFDICTIONARY_H
#define COREFOUNDATION_CFDICTIONARY_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How a dictionary treats its keys and values: with the callbacks below it retains them; with null
 * it stores plain pointers, and compares keys as pointers. There are no other callbacks. */
typedef struct CFDictionaryKeyCallBacks {
  CFIndex version;
} CFDictionaryKeyCallBacks;
typedef struct CFDictionaryValueCallBacks {
  CFIndex version;
} CFDictionaryValueCallBacks;
SPEECH_PLATFORM_API extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
SPEECH_PLATFORM_API extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

SPEECH_PLATFORM_API CFTypeID CFDictionaryGetTypeID(void);

/* Creates a dictionary of `numValues` keys and as many values; of equal keys the first is kept.
 * Null also if `numValues` is negative. */
SPEECH_PLATFORM_API CFDictionaryRef CFDictionaryCreate(
    CFAllocatorRef allocator, const void** keys, const void** values, CFIndex numValues,
    const CFDictionaryKeyCallBacks* keyCallBacks, const CFDictionaryValueCallBacks* valueCallBacks);

/* Creates an empty mutable dictionary; `capacity` is ignored. */
SPEECH_PLATFORM_API CFMutableDictionaryRef CFDictionaryCreateMutable(
    CFAllocatorRef allocator, CFIndex capacity, const CFDictionaryKeyCallBacks* keyCallBacks,
    const CFDictionaryValueCallBacks* valueCallBacks);

/* Adds a key with its value. No effect if the key exists, or if out of memory. */
SPEECH_PLATFORM_API void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key,
                                              const void* value);

/* Adds a key with its value, or replaces the value of an existing key. If out of memory, the key is
 * missing afterwards. */
SPEECH_PLATFORM_API void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key,
                                              const void* value);

/* Removes a key with its value. No effect if there is no such key. */
SPEECH_PLATFORM_API void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary,
                                                 const void* key);

/* Returns the number of keys. */
SPEECH_PLATFORM_API CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);

/* Returns true if the key exists. */
SPEECH_PLATFORM_API Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);

/* Returns the value of a key; it belongs to the dictionary. Null if there is no such key. */
SPEECH_PLATFORM_API const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

/* Returns true if the key exists, and stores its value in `*value` (`value` may be null). Otherwise
 * `*value` is unchanged. */
SPEECH_PLATFORM_API Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary,
                                                          const void* key, const void** value);

/* Fills both arrays in the same order. Each may be null, or has room for CFDictionaryGetCount
 * elements. */
SPEECH_PLATFORM_API void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                                      const void** values);

#ifdef __cplusplus
}
#endif

#endif
