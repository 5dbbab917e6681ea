/* SPDX-License-Identifier: Apache-2.0 */
/*
 * FixMath: arithmetic with Fixed, signed numbers with 16 bits before and 16 bits after the point.
 *
 * No function fails. A result outside the range of Fixed saturates: it becomes 0x7FFFFFFF
 * (32767.99998) or -0x80000000 (-32768). All functions are safe to call from any thread.
 */
#ifndef APPLICATIONSERVICES_FIXMATH_H
#define APPLICATIONSERVICES_FIXMATH_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the integer `x` as Fixed. Values below -32768 or above 32767 saturate. */
SPEECH_PLATFORM_API Fixed Long2Fix(long x);

/* Returns the integer part of `x`, from -32768 to 32767. The fraction is dropped, toward zero: 1.75
 * gives 1, and -1.75 gives -1. */
SPEECH_PLATFORM_API SInt32 Fix2Long(Fixed x);

/* Returns a * b, rounded to the nearest Fixed; halves round away from zero. */
SPEECH_PLATFORM_API Fixed FixMul(Fixed a, Fixed b);

/* Returns x / y, rounded to the nearest Fixed; halves round away from zero. Division by zero
 * returns the smallest Fixed if x is negative, else the largest. */
SPEECH_PLATFORM_API Fixed FixDiv(Fixed x, Fixed y);

/* Returns numer / denom as Fixed, rounded like FixDiv, which also says what division by zero gives.
 */
SPEECH_PLATFORM_API Fixed FixRatio(short numer, short denom);

/* Returns the Fixed nearest to `x`; halves round away from zero. NaN gives 0. */
SPEECH_PLATFORM_API Fixed X2Fix(double x);

/* Returns the value of `x`, exactly. */
SPEECH_PLATFORM_API double Fix2X(Fixed x);

/* The number 1. */
#define fixed1 ((Fixed)0x00010000L)

#ifdef __cplusplus
}
#endif

#endif
