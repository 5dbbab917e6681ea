/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFBase: counted objects.
 *
 * Conventions of all Core Foundation headers here
 *  1. An object lives while its count is above zero. Functions with Create or Copy in their name
 *     hand out an object that the caller owns and ends with CFRelease; what other functions hand
 *     out stays the object's own.
 *  2. Null is allowed for every object, buffer and out parameter: the answer is null, 0 or false,
 *     and nothing happens. A null result of a Create or Copy function also means that memory is
 *     out.
 *  3. Objects never change after they were made (but for those called mutable), so any thread may
 *     use one at any time; counting is atomic. Each thread that uses an object holds a count of its
 *     own or borrows from one who does.
 *  4. There are no allocators: pass null (kCFAllocatorDefault). The argument is not looked at.
 */
#ifndef COREFOUNDATION_CFBASE_H
#define COREFOUNDATION_CFBASE_H

#include <MacTypes.h>

#ifndef __cplusplus
#include <stdbool.h> /* clients write true and false for a Boolean */
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef const void* CFTypeRef;

/* NOLINTBEGIN(bugprone-reserved-identifier): the tags of the platform's types are part of its
 * interface; code that declares functions on them names them. */
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;
typedef struct __CFBundle* CFBundleRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef struct __CFError* CFErrorRef;
/* NOLINTEND(bugprone-reserved-identifier) */

#define kCFAllocatorDefault ((CFAllocatorRef)0)

typedef struct CFRange {
  CFIndex location;
  CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
  CFRange range;
  range.location = location;
  range.length = length;
  return range;
}

/* Whether both are equal: objects of one type with the same value, or one and the same object. */
SPEECH_PLATFORM_API Boolean CFEqual(CFTypeRef a, CFTypeRef b);

/* Adds one to the count; returns `object`. */
SPEECH_PLATFORM_API CFTypeRef CFRetain(CFTypeRef object);

/* Takes one from the count; at zero the object is gone, and what it held is released. */
SPEECH_PLATFORM_API void CFRelease(CFTypeRef object);

/* The count at this moment; 0 for null. Of use to tests only, since other threads count too. */
SPEECH_PLATFORM_API CFIndex CFGetRetainCount(CFTypeRef object);

/* The number of the object's type, as CFStringGetTypeID and its like give it; 0 for null. */
SPEECH_PLATFORM_API CFTypeID CFGetTypeID(CFTypeRef object);

/* Writes one line that describes the object to standard error; "(null)" for null. */
SPEECH_PLATFORM_API void CFShow(CFTypeRef object);

#ifdef __cplusplus
}
#endif

#endif
