/* SPDX-License-Identifier: Apache-2.0 */
/*
 * TextUtils: conversion between C strings and Pascal strings. A Pascal string is a byte with the
 * number of characters, at most 255, and the characters. Characters are bytes and are not
 * converted.
 *
 * Every pointer may be null: the function then has no effect. All functions are safe to call from
 * any thread.
 */
#ifndef TEXTUTILS_H
#define TEXTUTILS_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Copies a Pascal string to a C string. `dest` has room for its characters and a NUL: 256 bytes are
 * always enough. `source` and `dest` may be the same address. */
SPEECH_PLATFORM_API void CopyPascalStringToC(ConstStr255Param source, char* dest);

/* Copies a C string to a Pascal string, at most 255 characters. `dest` has room for them and for
 * the length. `source` and `dest` may be the same address. */
SPEECH_PLATFORM_API void CopyCStringToPascal(const char* source, Str255 dest);

/* The same functions with the arguments in the other order. */
SPEECH_PLATFORM_API void p2cstrcpy(char* dest, ConstStr255Param source);
SPEECH_PLATFORM_API void c2pstrcpy(Str255 dest, const char* source);

/* Convert a string in its own memory and return its address: C to Pascal, at most 255 characters;
 * Pascal to C. */
SPEECH_PLATFORM_API StringPtr c2pstr(char* text);
SPEECH_PLATFORM_API char* p2cstr(StringPtr text);
SPEECH_PLATFORM_API StringPtr C2PStr(char* text);
SPEECH_PLATFORM_API char* P2CStr(StringPtr text);

#ifdef __cplusplus
}
#endif

#endif
