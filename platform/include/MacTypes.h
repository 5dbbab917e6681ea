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

/* Codes of scripts, languages and regions. A region stands for a language in a country or area,
 * which is why some have the name of a language. */
typedef SInt16 ScriptCode;
typedef SInt16 LangCode;
typedef SInt16 RegionCode;

enum {
  smRoman = 0, /* Latin letters in Mac OS Roman */
  smJapanese = 1,
  smTradChinese = 2,
  smKorean = 3,
  smArabic = 4,
  smHebrew = 5,
  smGreek = 6,
  smCyrillic = 7,
  smDevanagari = 9,
  smGurmukhi = 10,
  smGujarati = 11,
  smOriya = 12,
  smBengali = 13,
  smTamil = 14,
  smTelugu = 15,
  smKannada = 16,
  smMalayalam = 17,
  smSinhalese = 18,
  smGeorgian = 23,
  smArmenian = 24,
  smSimpChinese = 25,
  smEthiopic = 28,
  smCentralEuroRoman = 29, /* Latin letters of central and eastern Europe */
  smVietnamese = 30,
  smExtArabic = 31 /* Arabic letters of Sindhi */
};

enum {
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
  langArabic = 12,
  langFinnish = 13,
  langGreek = 14,
  langIcelandic = 15,
  langTurkish = 17,
  langCroatian = 18,
  langTradChinese = 19,
  langUrdu = 20,
  langHindi = 21,
  langKorean = 23,
  langLithuanian = 24,
  langPolish = 25,
  langHungarian = 26,
  langEstonian = 27,
  langLatvian = 28,
  langSami = 29,
  langFarsi = 31,
  langRussian = 32,
  langSimpChinese = 33,
  langIrishGaelic = 35,
  langAlbanian = 36,
  langRomanian = 37,
  langCzech = 38,
  langSlovak = 39,
  langSlovenian = 40,
  langSerbian = 42,
  langMacedonian = 43,
  langBulgarian = 44,
  langUkrainian = 45,
  langBelorussian = 46,
  langUzbek = 47,
  langKazakh = 48,
  langArmenian = 51,
  langGeorgian = 52,
  langKirghiz = 54,
  langTurkmen = 56,
  langKurdish = 60,
  langSindhi = 62,
  langNepali = 64,
  langMarathi = 66,
  langBengali = 67,
  langGujarati = 69,
  langPunjabi = 70,
  langOriya = 71,
  langMalayalam = 72,
  langKannada = 73,
  langTamil = 74,
  langTelugu = 75,
  langSinhalese = 76,
  langVietnamese = 80,
  langIndonesian = 81,
  langMalayRoman = 83,
  langAmharic = 85,
  langOromo = 87,
  langSwahili = 89,
  langEsperanto = 94,
  langWelsh = 128,
  langBasque = 129,
  langCatalan = 130,
  langLatin = 131,
  langQuechua = 132,
  langGuarani = 133,
  langTatar = 135,
  langUighur = 136,
  langAfrikaans = 141,
  langScottishGaelic = 144,
  langGreekAncient = 148,
  langGreenlandic = 149,
  langAzerbaijanRoman = 150
};

enum {
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
  verFrCanada = 11,
  verNorway = 12,
  verAustralia = 15,
  verArabic = 16,
  verFinland = 17,
  verFrSwiss = 18,
  verGrSwiss = 19,
  verGreece = 20,
  verIceland = 21,
  verTurkey = 24,
  verIndiaHindi = 33,
  verPakistanUrdu = 34,
  verItalianSwiss = 36,
  verRomania = 39,
  verGreekAncient = 40,
  verLithuania = 41,
  verPoland = 42,
  verHungary = 43,
  verEstonia = 44,
  verLatvia = 45,
  verIran = 48,
  verRussia = 49,
  verIreland = 50,
  verKorea = 51,
  verChina = 52,
  verTaiwan = 53,
  verCzech = 56,
  verSlovak = 57,
  verBengali = 60,
  verBelarus = 61,
  verUkraine = 62,
  verSerbian = 65,
  verSlovenian = 66,
  verMacedonian = 67,
  verCroatia = 68,
  verBrazil = 71,
  verBulgaria = 72,
  verCatalonia = 73,
  verScottishGaelic = 75,
  verWelsh = 79,
  verEngCanada = 82,
  verArmenian = 84,
  verGeorgian = 85,
  verSpLatinAmerica = 86,
  verAustria = 92,
  verGujarati = 94,
  verPunjabi = 95,
  verIndiaUrdu = 96,
  verVietnam = 97,
  verFrBelgium = 98,
  verUzbek = 99,
  verAfrikaans = 102,
  verEsperanto = 103,
  verMarathi = 104,
  verNepal = 106,
  verGreenland = 107
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
