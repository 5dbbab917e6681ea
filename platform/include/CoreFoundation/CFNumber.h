/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFNumber: numbers and truth values as objects. The conventions of CFBase.h hold.
 *
 * A number is a whole number of 64 bits with sign or a double, by the type it was made with.
 */
#ifndef COREFOUNDATION_CFNUMBER_H
#define COREFOUNDATION_CFNUMBER_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a number is made from and read as. */
typedef CFIndex CFNumberType;
enum {
  kCFNumberSInt8Type = 1,
  kCFNumberSInt16Type = 2,
  kCFNumberSInt32Type = 3,
  kCFNumberSInt64Type = 4,
  kCFNumberFloat32Type = 5,
  kCFNumberFloat64Type = 6,
  kCFNumberCharType = 7,
  kCFNumberShortType = 8,
  kCFNumberIntType = 9,
  kCFNumberLongType = 10,
  kCFNumberLongLongType = 11,
  kCFNumberFloatType = 12,
  kCFNumberDoubleType = 13,
  kCFNumberCFIndexType = 14
};

/* The truth values; they live as long as the process, counted or not. */
SPEECH_PLATFORM_API extern const CFBooleanRef kCFBooleanTrue;
SPEECH_PLATFORM_API extern const CFBooleanRef kCFBooleanFalse;

SPEECH_PLATFORM_API CFTypeID CFBooleanGetTypeID(void);
SPEECH_PLATFORM_API Boolean CFBooleanGetValue(CFBooleanRef boolean);

SPEECH_PLATFORM_API CFTypeID CFNumberGetTypeID(void);

/* A number of the value at `valuePtr`, which is of that type. Null also for an unknown type. */
SPEECH_PLATFORM_API CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type,
                                               const void* valuePtr);

/* kCFNumberSInt64Type or kCFNumberFloat64Type, as the number is kept; 0 for null. */
SPEECH_PLATFORM_API CFNumberType CFNumberGetType(CFNumberRef number);

SPEECH_PLATFORM_API Boolean CFNumberIsFloatType(CFNumberRef number);

/* Writes the number, as a value of that type, to `valuePtr`. False when the type cannot hold it:
 * then a whole number is cut to its lower bits, and of a double the nearest value is written. */
SPEECH_PLATFORM_API Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr);

#ifdef __cplusplus
}
#endif

#endif
