/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFBase: reference-counted objects.
 *
 * Conventions of all Core Foundation headers here
 *  1. An object exists while its reference count is above 0. Functions with Create or Copy in their
 *     name return an object that the caller owns and releases with CFRelease. Objects that other
 *     functions return belong to the object they come from.
 *  2. Every object, buffer and output parameter may be null: the function then has no effect and
 *     returns null, 0 or false. A Create or Copy function also returns null if out of memory.
 *  3. Objects are immutable (except those called mutable), so several threads may use one at the
 *     same time; reference counting is atomic. Each thread holds a reference of its own, or relies
 *     on one that another thread keeps for the time.
 *  4. Memory comes from malloc. An `allocator` argument is ignored: pass null
 *     (kCFAllocatorDefault). Only CFStringCreateWithCStringNoCopy distinguishes allocators.
 */
#ifndef COREFOUNDATION_CFBASE_H
#define COREFOUNDATION_CFBASE_H

#include <MacTypes.h>

#ifndef __cplusplus
#include <stdbool.h> /* so that clients can write true and false for a Boolean */
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef const void* CFTypeRef;

/* NOLINTBEGIN(bugprone-reserved-identifier): the tags are part of the platform's interface; code
 * that declares functions on these types uses them. */
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

/* The allocators: malloc and free, by two names; and one whose blocks are never freed. */
#define kCFAllocatorDefault ((CFAllocatorRef)0)
SPEECH_PLATFORM_API extern const CFAllocatorRef kCFAllocatorSystemDefault;
SPEECH_PLATFORM_API extern const CFAllocatorRef kCFAllocatorNull;

/* A set of flags. */
typedef unsigned long CFOptionFlags;

/* An index that does not exist. */
enum { kCFNotFound = -1 };

/* The order of two values. */
typedef CFIndex CFComparisonResult;
enum { kCFCompareLessThan = -1, kCFCompareEqualTo = 0, kCFCompareGreaterThan = 1 };

typedef struct CFRange {
  CFIndex location;
  CFIndex length;
} CFRange;

SPEECH_PLATFORM_INLINE CFRange CFRangeMake(CFIndex location, CFIndex length) {
  CFRange range;
  range.location = location;
  range.length = length;
  return range;
}

/* Returns true if both are the same object, or objects of one type with equal values. */
SPEECH_PLATFORM_API Boolean CFEqual(CFTypeRef a, CFTypeRef b);

/* Increments the reference count; returns `object`. */
SPEECH_PLATFORM_API CFTypeRef CFRetain(CFTypeRef object);

/* Decrements the reference count. At 0 the object is destroyed and releases its own references. */
SPEECH_PLATFORM_API void CFRelease(CFTypeRef object);

/* Returns the current reference count; 0 for null. For tests only: other threads may change it. */
SPEECH_PLATFORM_API CFIndex CFGetRetainCount(CFTypeRef object);

/* Returns the type of the object, as CFStringGetTypeID etc. return it; 0 for null. */
SPEECH_PLATFORM_API CFTypeID CFGetTypeID(CFTypeRef object);

/* Writes one line about the object to standard error; "(null)" for null. For an array or a
 * dictionary the line contains the values, and the values of those inside, to a depth of 8. */
SPEECH_PLATFORM_API void CFShow(CFTypeRef object);

#ifdef __cplusplus
}
#endif

#endif
