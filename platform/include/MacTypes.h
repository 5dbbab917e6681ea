/* SPDX-License-Identifier: Apache-2.0 */
/*
 * MacTypes: basic types of the platform's C interfaces, and the results that all of them use.
 *
 * Names, values and layouts are the platform's. Numbers are in the machine's byte order. A
 * four-character code is a number whose most significant byte is the first character.
 */
#ifndef MACTYPES_H
#define MACTYPES_H

#include <stddef.h>
#include <stdint.h>

/* Marks the symbols that the shared library exports; all others are hidden. */
#if defined(__GNUC__)
#define SPEECH_PLATFORM_API __attribute__((visibility("default")))
#else
#define SPEECH_PLATFORM_API
#endif

/* Static assertion in every dialect, for sizes and offsets. Before C11 and C++11 it declares an
 * array, whose size is negative if the condition is false. */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define SPEECH_PLATFORM_CHECK(condition, message) static_assert(condition, message)
#elif !defined(__cplusplus) && defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define SPEECH_PLATFORM_CHECK(condition, message) _Static_assert(condition, message)
#else
#define SPEECH_PLATFORM_CHECK(condition, message) \
  extern const char speech_platform_check[(condition) ? 1 : -1]
#endif

/* An inline function of a header, in every dialect: C89 has no such keyword. */
#if defined(__GNUC__)
#define SPEECH_PLATFORM_INLINE static __inline__
#else
#define SPEECH_PLATFORM_INLINE static
#endif

/* Marks a function that follows the platform's old calling convention; there is only one here. */
#ifndef pascal
#define pascal
#endif

/* The null pointer. */
#ifndef nil
#define nil NULL
#endif

/* Values of a Boolean. */
#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef int8_t SInt8;
typedef uint8_t UInt8;
typedef int16_t SInt16;
typedef uint16_t UInt16;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef int64_t SInt64;
typedef uint64_t UInt64;
typedef UInt8 Byte;
typedef SInt8 SignedByte;
typedef float Float32;
typedef double Float64;

/* 0 is false, anything else is true. */
typedef unsigned char Boolean;

/* A result: 0 is success, negative is failure. */
typedef SInt16 OSErr;
typedef SInt32 OSStatus;

typedef UInt32 FourCharCode;
typedef FourCharCode OSType;
typedef FourCharCode ResType; /* the type of a resource */

/* A signed fixed-point number with 16 bits before and 16 bits after the point: value * 65536. */
typedef SInt32 Fixed;

typedef char* Ptr;
typedef Ptr* Handle;

/* Amounts: of bytes; of anything. They are as wide as a pointer. */
typedef long Size;
typedef unsigned long ByteCount;
typedef unsigned long ByteOffset;
typedef unsigned long ItemCount;

/* A set of flags. */
typedef UInt32 OptionBits;

/* Any function. It is converted to its own type before it is called. */
typedef void (*ProcPtr)(void);
typedef ProcPtr UniversalProcPtr;

/* A UTF-16 unit, and a number of them. */
typedef UInt16 UniChar;
typedef unsigned long UniCharCount;

/* A client's own value, which callbacks get back unchanged; as wide as a pointer. */
typedef void* SRefCon;

/* Pascal strings: the first byte is the number of characters after it. */
typedef unsigned char Str15[16];
typedef unsigned char Str31[32];
typedef unsigned char Str63[64];
typedef unsigned char Str255[256];
typedef unsigned char* StringPtr;
typedef const unsigned char* ConstStringPtr;
typedef const unsigned char* ConstStr255Param;

/* Codes of scripts, languages and regions. */
typedef SInt16 ScriptCode;
typedef SInt16 LangCode;
typedef SInt16 RegionCode;

enum {
  smRoman = 0, /* script: Latin letters in Mac OS Roman */
  langEnglish = 0,
  langFrench = 1,
  langGerman = 2,
  langItalian = 3,
  langDutch = 4,
  langSwedish = 5,
  langSpanish = 6,
  langDanish = 7,
  langPortuguese = 8,
  langNorwegian = 9,
  langFinnish = 13,
  langIcelandic = 15,
  verUS = 0,
  verFrance = 1,
  verBritain = 2,
  verGermany = 3,
  verItaly = 4,
  verNetherlands = 5,
  verSweden = 7,
  verSpain = 8,
  verDenmark = 9,
  verPortugal = 10,
  verNorway = 12,
  verAustralia = 15,
  verFinland = 17,
  verIceland = 21,
  verIreland = 50,
  verBrazil = 71,
  verEngCanada = 82
};

/* A version. `minorAndBugRev` holds the minor number in its upper four bits and the bug fix number
 * in its lower four bits; `nonRelRev` is the number of a prerelease. */
typedef struct NumVersion {
  UInt8 majorRev;
  UInt8 minorAndBugRev;
  UInt8 stage;
  UInt8 nonRelRev;
} NumVersion;

/* Values of NumVersion.stage. */
enum { developStage = 0x20, alphaStage = 0x40, betaStage = 0x60, finalStage = 0x80 };

SPEECH_PLATFORM_CHECK(sizeof(NumVersion) == 4, "NumVersion is four bytes");

/* Results that several components use. */
enum {
  noErr = 0,
  unimpErr = -4,             /* not implemented */
  ioErr = -36,               /* reading or writing has failed */
  fnfErr = -43,              /* file or folder not found */
  paramErr = -50,            /* an argument is invalid */
  permErr = -54,             /* writing is not permitted */
  memFullErr = -108,         /* out of memory */
  invalidComponentID = -3000 /* not an open handle, for example a disposed speech channel */
};

#ifdef __cplusplus
}
#endif

#endif
