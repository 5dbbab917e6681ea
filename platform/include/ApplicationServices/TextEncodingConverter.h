/* SPDX-License-Identifier: Apache-2.0 */
/*
 * TextEncodingConverter: conversion of text from one encoding to another, piece by piece.
 *
 * The only conversion is from Mac OS Roman to ISO 8859-15 (ISO Latin 9). Each of the 256 bytes has
 * a result, so no text fails: a character that ISO 8859-15 contains is converted exactly; any other
 * becomes its customary plain form ("..." for an ellipsis, "fi" for the ligature), or one blank if
 * it has none. Byte 0xDB is the euro sign, which both encodings contain; byte 0xF0, the platform's
 * logo, becomes a blank.
 *
 * Threads: one thread at a time uses a converter; different converters are independent.
 * Ownership: the caller owns the converter from TECCreateConverter to TECDisposeConverter, and all
 * buffers.
 */
#ifndef APPLICATIONSERVICES_TEXTENCODINGCONVERTER_H
#define APPLICATIONSERVICES_TEXTENCODINGCONVERTER_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A text encoding: base, variant and format in one number; see CreateTextEncoding. */
typedef UInt32 TextEncoding;
typedef UInt32 TextEncodingBase;
typedef UInt32 TextEncodingVariant;
typedef UInt32 TextEncodingFormat;

enum { kTextEncodingMacRoman = 0, kTextEncodingISOLatin9 = 0x20F };
enum { kTextEncodingDefaultVariant = 0, kTextEncodingDefaultFormat = 0 };
enum { kTextScriptDontCare = -1, kTextLanguageDontCare = -128, kTextRegionDontCare = -128 };

typedef UInt8* TextPtr;
typedef const UInt8* ConstTextPtr;

/* Results. */
enum {
  kTextUnsupportedEncodingErr = -8738, /* no known encoding for the request */
  kTECCorruptConverterErr = -8748,     /* the converter is null */
  kTECNoConversionPathErr = -8749,     /* no conversion between these encodings */
  kTECOutputBufferFullStatus = -8785   /* not a failure: call again with room for more */
};

typedef struct OpaqueTECObjectRef* TECObjectRef;

/* Stores in `*encoding` the encoding for a script, a language and a region: Mac OS Roman for
 * smRoman, and if all three have their DontCare value. `fontName` is ignored and may be null.
 * Results: noErr; paramErr if `encoding` is null; kTextUnsupportedEncodingErr for another script.
 * After a failure `*encoding` is unchanged. */
SPEECH_PLATFORM_API OSStatus UpgradeScriptInfoToTextEncoding(ScriptCode script, LangCode language,
                                                             RegionCode region,
                                                             ConstStr255Param fontName,
                                                             TextEncoding* encoding);

/* Returns the number that combines base (16 bits), variant (10 bits) and format (4 bits). With the
 * default variant and format it equals `base`. Higher bits of the arguments are ignored. */
SPEECH_PLATFORM_API TextEncoding CreateTextEncoding(TextEncodingBase base,
                                                    TextEncodingVariant variant,
                                                    TextEncodingFormat format);

/* Creates a converter in `*object`; release it with TECDisposeConverter. Results: noErr; paramErr
 * if `object` is null; kTECNoConversionPathErr for any pair other than Mac OS Roman and ISO Latin
 * 9; memFullErr. After a failure `*object` is null. */
SPEECH_PLATFORM_API OSStatus TECCreateConverter(TECObjectRef* object, TextEncoding input,
                                                TextEncoding output);

/* Converts `input` (`inputLength` bytes) into `output` (`outputLength` bytes), from the first byte
 * on, until the input or the room ends. The replacement of one character is never split: if it does
 * not fit, the character stays in the input. `*actualInput` receives the number of bytes consumed,
 * `*actualOutput` the number of bytes produced. A buffer may be null only if its length is 0.
 * Results: noErr if all input is consumed; kTECOutputBufferFullStatus if input remains; paramErr if
 * a count or a needed buffer is null (nothing is converted); kTECCorruptConverterErr if `object` is
 * null. */
SPEECH_PLATFORM_API OSStatus TECConvertText(TECObjectRef object, ConstTextPtr input,
                                            ByteCount inputLength, ByteCount* actualInput,
                                            TextPtr output, ByteCount outputLength,
                                            ByteCount* actualOutput);

/* Writes output that the converter has kept back: none for these encodings. Sets `*actualOutput` to
 * 0; `output` is not written and may be null. Results: noErr; paramErr if `actualOutput` is null;
 * kTECCorruptConverterErr if `object` is null. */
SPEECH_PLATFORM_API OSStatus TECFlushText(TECObjectRef object, TextPtr output,
                                          ByteCount outputLength, ByteCount* actualOutput);

/* Releases the converter. Results: noErr; kTECCorruptConverterErr if `object` is null. */
SPEECH_PLATFORM_API OSStatus TECDisposeConverter(TECObjectRef object);

#ifdef __cplusplus
}
#endif

#endif
