/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFURL: locations of files. The conventions of CFBase.h hold.
 *
 * A URL here always stands for a path. A path is any bytes without NUL; nothing is decoded,
 * resolved or normalised in it, but slashes at its end are dropped. A relative path belongs to the
 * working directory of the moment when the URL was made, its base.
 */
#ifndef COREFOUNDATION_CFURL_H
#define COREFOUNDATION_CFURL_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The one style of paths that is known; any other makes a function fail. */
typedef CFIndex CFURLPathStyle;
enum { kCFURLPOSIXPathStyle = 0 };

SPEECH_PLATFORM_API CFTypeID CFURLGetTypeID(void);

/* A URL of the `length` bytes of a path. `isDirectory` is not looked at. Null also when the path is
 * empty or holds a NUL, or when it is relative and there is no working directory. */
SPEECH_PLATFORM_API CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator,
                                                                     const UInt8* path,
                                                                     CFIndex length,
                                                                     Boolean isDirectory);

/* The same of a string. Null also when the string has no form in the system encoding. */
SPEECH_PLATFORM_API CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator,
                                                           CFStringRef path, CFURLPathStyle style,
                                                           Boolean isDirectory);

/* The URL with its base put in front; `url` itself, counted once more, when its path is absolute.
 */
SPEECH_PLATFORM_API CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);

/* The path as a string, relative when the URL is. */
SPEECH_PLATFORM_API CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

/* Writes the path, NUL-terminated, into `buffer` of `maxBufLen` bytes; with `resolveAgainstBase`
 * the absolute one. False when it does not fit with its NUL; then nothing is written. */
SPEECH_PLATFORM_API Boolean CFURLGetFileSystemRepresentation(CFURLRef url,
                                                             Boolean resolveAgainstBase,
                                                             UInt8* buffer, CFIndex maxBufLen);

#ifdef __cplusplus
}
#endif

#endif
