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

/* Encodings of strings. Functions fail for all others, and for the three that are marked as not
 * converted, except CFStringGetCStringPtr and CFStringGetMaximumSizeForEncoding.
 *
 * Unicode and UTF16, one encoding, are in the byte order of the machine. If such bytes are an
 * external representation, a byte order mark at their start decides, and is not part of the string.
 */
typedef UInt32 CFStringEncoding;
enum {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingWindowsLatin1 = 0x0500, /* not converted */
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingNextStepLatin = 0x0B01, /* not converted */
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingNonLossyASCII = 0x0BFF, /* not converted */
  kCFStringEncodingUnicode = 0x0100,
  kCFStringEncodingUTF8 = 0x08000100,
  kCFStringEncodingUTF16 = 0x0100,
  kCFStringEncodingUTF16BE = 0x10000100,
  kCFStringEncodingUTF16LE = 0x14000100
};
typedef CFStringEncoding CFStringBuiltInEncodings;

/* No encoding. */
#define kCFStringEncodingInvalidId ((CFStringEncoding)0xFFFFFFFFU)

SPEECH_PLATFORM_API CFTypeID CFStringGetTypeID(void);

/* Returns the encoding of file names and paths: UTF-8. */
SPEECH_PLATFORM_API CFStringEncoding CFStringGetSystemEncoding(void);

/* Creates a string from the NUL-terminated `text`. Null also if `text` is malformed in `encoding`.
 */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator,
                                                          const char* text,
                                                          CFStringEncoding encoding);

/* The same, from a text that belongs to the string if `contentsDeallocator` is not
 * kCFAllocatorNull: it comes from malloc, and is freed when the string is destroyed. The characters
 * are copied all the same. If the result is null, `text` still belongs to the caller. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator,
                                                                const char* text,
                                                                CFStringEncoding encoding,
                                                                CFAllocatorRef contentsDeallocator);

/* The same, from a Pascal string: a byte with the length, then the characters. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithPascalString(CFAllocatorRef allocator,
                                                               ConstStr255Param text,
                                                               CFStringEncoding encoding);

/* Creates a string from `length` bytes, which may contain NULs. `isExternalRepresentation`: a byte
 * order mark of UTF-16 is interpreted; else it is ignored. Null also if `length` is negative or if
 * the bytes are malformed in `encoding`. */
SPEECH_PLATFORM_API CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator,
                                                        const UInt8* bytes, CFIndex length,
                                                        CFStringEncoding encoding,
                                                        Boolean isExternalRepresentation);

/* A string from a UTF-8 literal that exists until the process exits: CFSTR("text"). In C++ it can
 * initialise a variable outside of functions. In C it cannot, since it is a call. */
#define CFSTR(text) __CFStringMakeConstantString("" text "")
/* NOLINTNEXTLINE(bugprone-reserved-identifier): the platform's macro calls it */
SPEECH_PLATFORM_API CFStringRef __CFStringMakeConstantString(const char* text);

/* Creates a string from `length` UTF-16 units. Null also if they are malformed. */
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

/* Returns the number of bytes that `length` UTF-16 units have at most in `encoding`, without a NUL;
 * kCFNotFound if the encoding is unknown, or if the number is negative or larger than a CFIndex. */
SPEECH_PLATFORM_API CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length,
                                                              CFStringEncoding encoding);

/* Returns the NUL-terminated bytes of the string; they belong to the string. The encoding is that
 * of the string; if the string contains only ASCII characters, any encoding except those of UTF-16.
 * Null for others, and if the string contains a NUL; CFStringGetCString may succeed then. */
SPEECH_PLATFORM_API const char* CFStringGetCStringPtr(CFStringRef string,
                                                      CFStringEncoding encoding);

/* Writes the string and a NUL into `buffer` of `bufferSize` bytes. Returns false if they do not
 * fit, if `encoding` lacks a character, if the string contains a NUL, or for UTF-16, whose units
 * may contain zero bytes; `buffer` then holds an empty string if `bufferSize` is positive. */
SPEECH_PLATFORM_API Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                                               CFStringEncoding encoding);

/* Converts a range of the string to `encoding`, into `buffer` of `maxBufLen` bytes, without a NUL.
 * The conversion ends before the first character that does not fit. A character that `encoding`
 * lacks is replaced by `lossByte`; with `lossByte` 0 it ends the conversion. With a null `buffer`
 * nothing is written and `maxBufLen` is ignored. `*usedBufLen` (`usedBufLen` may be null) receives
 * the number of bytes. Returns the number of UTF-16 units converted; 0 for a range outside the
 * string. A surrogate pair that the range splits is not converted. `isExternalRepresentation` is
 * ignored: no byte order mark is written. */
SPEECH_PLATFORM_API CFIndex CFStringGetBytes(CFStringRef string, CFRange range,
                                             CFStringEncoding encoding, UInt8 lossByte,
                                             Boolean isExternalRepresentation, UInt8* buffer,
                                             CFIndex maxBufLen, CFIndex* usedBufLen);

/* How strings are compared: flags. All others are ignored, so the order is that of the characters'
 * codes in every locale. */
typedef CFOptionFlags CFStringCompareFlags;
enum {
  kCFCompareCaseInsensitive = 1,        /* letters of both cases are equal */
  kCFCompareBackwards = 4,              /* ignored */
  kCFCompareAnchored = 8,               /* ignored */
  kCFCompareNonliteral = 16,            /* ignored */
  kCFCompareLocalized = 32,             /* ignored */
  kCFCompareNumerically = 64,           /* ignored */
  kCFCompareDiacriticInsensitive = 128, /* ignored */
  kCFCompareWidthInsensitive = 256,     /* ignored */
  kCFCompareForcedOrdering = 512        /* ignored */
};

/* Compares two strings character by character. Null comes before every string. */
SPEECH_PLATFORM_API CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b,
                                                       CFStringCompareFlags compareOptions);

#ifdef __cplusplus
}
#endif

#endif
