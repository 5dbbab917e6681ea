/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFNumber: numbers and booleans as objects. The conventions of CFBase.h apply.
 *
 * A number is stored as a signed 64-bit integer or a double, according to the type it is created
 * with.
 */
#ifndef COREFOUNDATION_CFNUMBER_H
#define COREFOUNDATION_CFNUMBER_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The C type that a number is created from or read as. */
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

/* The two booleans; they exist until the process exits, whatever their reference count. */
SPEECH_PLATFORM_API extern const CFBooleanRef kCFBooleanTrue;
SPEECH_PLATFORM_API extern const CFBooleanRef kCFBooleanFalse;

SPEECH_PLATFORM_API CFTypeID CFBooleanGetTypeID(void);
SPEECH_PLATFORM_API Boolean CFBooleanGetValue(CFBooleanRef boolean);

SPEECH_PLATFORM_API CFTypeID CFNumberGetTypeID(void);

/* Creates a number from the value of that type at `valuePtr`. Null also if the type is unknown. */
SPEECH_PLATFORM_API CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type,
                                               const void* valuePtr);

/* Returns the type that the number is stored as, kCFNumberSInt64Type or kCFNumberFloat64Type; 0 for
 * null. */
SPEECH_PLATFORM_API CFNumberType CFNumberGetType(CFNumberRef number);

/* Returns true if the number is stored as a double. */
SPEECH_PLATFORM_API Boolean CFNumberIsFloatType(CFNumberRef number);

/* Stores the number at `valuePtr` as a value of that type. Returns false if the type cannot hold it
 * exactly. Then an integer is cut to its lower bits; for an integer type, the fraction of a double
 * is dropped, and a double out of range becomes the nearest limit (NaN: 0). Rounding to a
 * floating-point type counts as exact. Also false, with nothing stored, if the type is unknown. */
SPEECH_PLATFORM_API Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr);

#ifdef __cplusplus
}
#endif

#endif
