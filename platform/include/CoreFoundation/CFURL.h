/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFURL: locations of files. The conventions of CFBase.h apply.
 *
 * A URL here is always a path. A path is a sequence of bytes without NUL; it is not decoded,
 * resolved or normalised, except that slashes at its end are removed. A relative path has a base:
 * the working directory at the time the URL is created.
 */
#ifndef COREFOUNDATION_CFURL_H
#define COREFOUNDATION_CFURL_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The only known path style; functions fail for any other. */
typedef CFIndex CFURLPathStyle;
enum { kCFURLPOSIXPathStyle = 0 };

SPEECH_PLATFORM_API CFTypeID CFURLGetTypeID(void);

/* Creates a URL from the `length` bytes of a path. `isDirectory` is ignored. Null also if the path
 * is empty or contains a NUL, or if it is relative and there is no working directory. */
SPEECH_PLATFORM_API CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator,
                                                                     const UInt8* path,
                                                                     CFIndex length,
                                                                     Boolean isDirectory);

/* The same from a string. Null also if the string cannot be converted to the system encoding. */
SPEECH_PLATFORM_API CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator,
                                                           CFStringRef path, CFURLPathStyle style,
                                                           Boolean isDirectory);

/* Returns a URL whose path is absolute: the base and the path of `url`, or `url` itself, retained,
 * if its path is absolute. The caller releases it. */
SPEECH_PLATFORM_API CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);

/* Returns the path as a string, relative if the URL is relative. The caller releases it. */
SPEECH_PLATFORM_API CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

/* Writes the path and a NUL into `buffer` of `maxBufLen` bytes; with `resolveAgainstBase` the
 * absolute path. Returns false, with nothing written, if they do not fit. */
SPEECH_PLATFORM_API Boolean CFURLGetFileSystemRepresentation(CFURLRef url,
                                                             Boolean resolveAgainstBase,
                                                             UInt8* buffer, CFIndex maxBufLen);

#ifdef __cplusplus
}
#endif

#endif
