/* SPDX-License-Identifier: Apache-2.0 */
/*
 * TextEncodingConverter: conversion of text from one encoding to another, in pieces.
 *
 * The one conversion on offer is Mac OS Roman to ISO 8859-15 (ISO Latin 9). Every one of the 256
 * bytes has a result, so no text fails: a character that the target has is converted exactly; any
 * other takes its customary plain form ("..." for an ellipsis, "fi" for the ligature), or one blank
 * where there is none. Byte 0xDB is read as the euro sign, which both sets have; byte 0xF0, the
 * platform's logo, is a blank.
 *
 * Threads: a converter is used by one thread at a time; different converters are independent.
 * Ownership: the caller owns the converter from TECCreateConverter to TECDisposeConverter, and all
 * buffers.
 */
#ifndef APPLICATIONSERVICES_TEXTENCODINGCONVERTER_H
#define APPLICATIONSERVICES_TEXTENCODINGCONVERTER_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A text encoding: base, variant and format in one number. */
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
  kTextUnsupportedEncodingErr = -8738, /* no encoding is known for what was asked */
  kTECCorruptConverterErr = -8748,     /* the converter is not one */
  kTECNoConversionPathErr = -8749,     /* no conversion between these encodings */
  kTECOutputBufferFullStatus = -8785   /* not a failure: call again with room for more */
};

typedef struct OpaqueTECObjectRef* TECObjectRef;

/* The encoding that a script, a language and a region are written in: Mac OS Roman for the Roman
 * script and where all three do not care. `fontName` is not looked at and may be null.
 * Results: noErr; paramErr, `encoding` is null; kTextUnsupportedEncodingErr, another script, and
 * `*encoding` is untouched. */
SPEECH_PLATFORM_API OSStatus UpgradeScriptInfoToTextEncoding(ScriptCode script, LangCode language,
                                                             RegionCode region,
                                                             ConstStr255Param fontName,
                                                             TextEncoding* encoding);

/* The number that stands for base (16 bits), variant (10 bits) and format (4 bits) together; with
 * default variant and format it equals `base`. Bits beyond these widths are cut off. */
SPEECH_PLATFORM_API TextEncoding CreateTextEncoding(TextEncodingBase base,
                                                    TextEncodingVariant variant,
                                                    TextEncodingFormat format);

/* Makes a converter in `*object`.
 * Results: noErr; paramErr, `object` is null; kTECNoConversionPathErr; memFullErr. After a failure
 * `*object` is null. */
SPEECH_PLATFORM_API OSStatus TECCreateConverter(TECObjectRef* object, TextEncoding input,
                                                TextEncoding output);

/* Converts from the front of `input` (`inputLength` bytes) into `output` (`outputLength` bytes) for
 * as long as there is input and room. What replaces one character is never divided: when it does
 * not fit, the character is left in the input. `*actualInput` receives the number of bytes
 * consumed,
 * `*actualOutput` the number of bytes produced, both exact. A null buffer goes with length 0 only.
 * Results: noErr, all was consumed; kTECOutputBufferFullStatus, input is left; paramErr, a count or
 * a needed buffer is null, nothing is converted; kTECCorruptConverterErr. */
SPEECH_PLATFORM_API OSStatus TECConvertText(TECObjectRef object, ConstTextPtr input,
                                            ByteCount inputLength, ByteCount* actualInput,
                                            TextPtr output, ByteCount outputLength,
                                            ByteCount* actualOutput);

/* Writes what a converter still holds back: nothing, for these encodings. `*actualOutput` becomes
 * 0; `output` is not written to and may be null. Results: noErr; paramErr, `actualOutput` is null;
 * kTECCorruptConverterErr. */
SPEECH_PLATFORM_API OSStatus TECFlushText(TECObjectRef object, TextPtr output,
                                          ByteCount outputLength, ByteCount* actualOutput);

/* Releases the converter; it must not be used afterwards.
 * Results: noErr; kTECCorruptConverterErr, `object` is null. */
SPEECH_PLATFORM_API OSStatus TECDisposeConverter(TECObjectRef object);

#ifdef __cplusplus
}
#endif

#endif
