/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFString: text with its encoding. The conventions of CFBase.h hold.
 *
 * A string keeps the bytes it was made from. A string that stands for a path
 * (CFURLCopyFileSystemPath) keeps the path's bytes as they are, well-formed UTF-8 or not; its
 * encoding is the system encoding, and asking for it in that encoding gives the very bytes back.
 */
#ifndef COREFOUNDATION_CFSTRING_H
#define COREFOUNDATION_CFSTRING_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The encodings below are known; any other makes a function fail. */
typedef UInt32 CFStringEncoding;
enum {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUTF8 = 0x08000100
};

SPEECH_PLATFORM_API CFTypeID CFStringGetTypeID(void);

/* The encoding of file names and paths: UTF-8. */
SPEECH_PLATFORM_API CFStringEncoding CFStringGetSystemEncoding(void);

/* A string of the NUL-terminated `text`. Null also when `text` is not well-formed in `encoding`. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator,
                                                          const char* text,
                                                          CFStringEncoding encoding);

/* A string of `length` bytes, which may hold NUL. No byte order mark is looked for, whatever
 * `isExternalRepresentation` says. Null also when `length` is negative or the bytes are not
 * well-formed in `encoding`. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator,
                                                        const UInt8* bytes, CFIndex length,
                                                        CFStringEncoding encoding,
                                                        Boolean isExternalRepresentation);

/* A string that lives as long as the process, of a literal in UTF-8: CFSTR("text"). */
#define CFSTR(text) __CFStringMakeConstantString("" text "")
/* NOLINTNEXTLINE(bugprone-reserved-identifier): what the platform's macro calls */
SPEECH_PLATFORM_API CFStringRef __CFStringMakeConstantString(const char* text);

/* A string of `length` UTF-16 units. Null also when they are not well-formed. */
typedef UInt16 UniChar;
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator,
                                                             const UniChar* characters,
                                                             CFIndex length);

/* A string of the UTF-16 units `range` of another. Null also when the range is not inside it, or
 * divides a surrogate pair. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithSubstring(CFAllocatorRef allocator,
                                                            CFStringRef string, CFRange range);

/* Writes the UTF-16 units `range`, which is inside the string, to `buffer`; what is outside, and a
 * byte of a path that is no part of a character, is written as U+FFFD. */
SPEECH_PLATFORM_API void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);

/* The UTF-16 unit of that index, as CFStringGetCharacters writes it. */
SPEECH_PLATFORM_API UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);

/* The number of UTF-16 units. A byte of a path that is no part of a character counts as one. */
SPEECH_PLATFORM_API CFIndex CFStringGetLength(CFStringRef string);

/* The string's own NUL-terminated bytes, which live as long as the string. Null when `encoding` is
 * not the one the string was made with, or when it holds a NUL; then CFStringGetCString may do. */
SPEECH_PLATFORM_API const char* CFStringGetCStringPtr(CFStringRef string,
                                                      CFStringEncoding encoding);

/* Writes the string, NUL-terminated, into `buffer` of `bufferSize` bytes. False when it does not
 * fit with its NUL, when `encoding` lacks one of its characters, or when it holds a NUL; the
 * buffer's contents are then an empty string if it has room for one. */
SPEECH_PLATFORM_API Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                                               CFStringEncoding encoding);

/* Writes the UTF-16 units `range` of the string in `encoding` into `buffer` of `maxBufLen` bytes,
 * without NUL, and stops before the first character that does not fit. A character that `encoding`
 * lacks becomes `lossByte`, or ends the conversion when `lossByte` is 0. `buffer` may be null: then
 * nothing is written and `maxBufLen` does not limit. `*usedBufLen` (may be null) receives the
 * number of bytes; the result is the number of UTF-16 units converted, 0 for a range outside the
 * string. A surrogate pair that the range divides is not converted. `isExternalRepresentation` is
 * not looked at. */
SPEECH_PLATFORM_API CFIndex CFStringGetBytes(CFStringRef string, CFRange range,
                                             CFStringEncoding encoding, UInt8 lossByte,
                                             Boolean isExternalRepresentation, UInt8* buffer,
                                             CFIndex maxBufLen, CFIndex* usedBufLen);

#ifdef __cplusplus
}
#endif

#endif
