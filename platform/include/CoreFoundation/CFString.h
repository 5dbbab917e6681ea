/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFString: text with its encoding. The conventions of CFBase.h apply.
 *
 * A string stores the bytes it is created from; other encodings are computed on request. A string
 * that holds a path (CFURLCopyFileSystemPath) keeps the bytes of the path, even if they are
 * malformed UTF-8. Its encoding is the system encoding, and reading it in that encoding returns the
 * same bytes. Lengths, ranges and indices count UTF-16 units, from 0; buffer sizes are in bytes.
 */
#ifndef COREFOUNDATION_CFSTRING_H
#define COREFOUNDATION_CFSTRING_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The known encodings; functions fail for any other. */
typedef UInt32 CFStringEncoding;
enum {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUTF8 = 0x08000100
};

SPEECH_PLATFORM_API CFTypeID CFStringGetTypeID(void);

/* Returns the encoding of file names and paths: UTF-8. */
SPEECH_PLATFORM_API CFStringEncoding CFStringGetSystemEncoding(void);

/* Creates a string from the NUL-terminated `text`. Null also if `text` is malformed in `encoding`.
 */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator,
                                                          const char* text,
                                                          CFStringEncoding encoding);

/* Creates a string from `length` bytes, which may contain NULs. A byte order mark is not
 * interpreted, and `isExternalRepresentation` is ignored. Null also if `length` is negative or if
 * the bytes are malformed in `encoding`. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator,
                                                        const UInt8* bytes, CFIndex length,
                                                        CFStringEncoding encoding,
                                                        Boolean isExternalRepresentation);

/* A string from a UTF-8 literal that exists until the process exits: CFSTR("text"). */
#define CFSTR(text) __CFStringMakeConstantString("" text "")
/* NOLINTNEXTLINE(bugprone-reserved-identifier): the platform's macro calls it */
SPEECH_PLATFORM_API CFStringRef __CFStringMakeConstantString(const char* text);

/* Creates a string from `length` UTF-16 units. Null also if they are malformed. */
typedef UInt16 UniChar;
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator,
                                                             const UniChar* characters,
                                                             CFIndex length);

/* Creates a string from a range of another string. Null also if the range is not inside the string
 * or splits a surrogate pair. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithSubstring(CFAllocatorRef allocator,
                                                            CFStringRef string, CFRange range);

/* Writes the UTF-16 units of a range to `buffer`, which has room for all of them. Units outside the
 * string, and bytes of a path that are not part of a character, are written as U+FFFD. */
SPEECH_PLATFORM_API void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);

/* Returns the UTF-16 unit at an index, as CFStringGetCharacters writes it. */
SPEECH_PLATFORM_API UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);

/* Returns the number of UTF-16 units. A byte of a path that is not part of a character counts as
 * one. */
SPEECH_PLATFORM_API CFIndex CFStringGetLength(CFStringRef string);

/* Returns the NUL-terminated bytes of the string; they belong to the string. Null if `encoding` is
 * not the encoding of the string, or if the string contains a NUL; CFStringGetCString may succeed
 * then. */
SPEECH_PLATFORM_API const char* CFStringGetCStringPtr(CFStringRef string,
                                                      CFStringEncoding encoding);

/* Writes the string and a NUL into `buffer` of `bufferSize` bytes. Returns false if they do not
 * fit, if `encoding` lacks a character, or if the string contains a NUL; `buffer` then holds an
 * empty string if `bufferSize` is positive. */
SPEECH_PLATFORM_API Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                                               CFStringEncoding encoding);

/* Converts a range of the string to `encoding`, into `buffer` of `maxBufLen` bytes, without a NUL.
 * The conversion ends before the first character that does not fit. A character that `encoding`
 * lacks is replaced by `lossByte`; with `lossByte` 0 it ends the conversion. With a null `buffer`
 * nothing is written and `maxBufLen` is ignored. `*usedBufLen` (`usedBufLen` may be null) receives
 * the number of bytes. Returns the number of UTF-16 units converted; 0 for a range outside the
 * string. A surrogate pair that the range splits is not converted. `isExternalRepresentation` is
 * ignored. */
SPEECH_PLATFORM_API CFIndex CFStringGetBytes(CFStringRef string, CFRange range,
                                             CFStringEncoding encoding, UInt8 lossByte,
                                             Boolean isExternalRepresentation, UInt8* buffer,
                                             CFIndex maxBufLen, CFIndex* usedBufLen);

#ifdef __cplusplus
}
#endif

#endif
