/* SPDX-License-Identifier: Apache-2.0 */
/*
 * FixMath: arithmetic on Fixed, signed numbers with 16 bits after the point.
 *
 * No function fails. A result that Fixed cannot hold becomes its nearest value: 0x7FFFFFFF
 * (32767.99998) or -0x80000000 (-32768). All functions may be called on any thread.
 */
#ifndef APPLICATIONSERVICES_FIXMATH_H
#define APPLICATIONSERVICES_FIXMATH_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The whole number `x` as Fixed; below -32768 or above 32767 saturates. */
SPEECH_PLATFORM_API Fixed Long2Fix(long x);

/* The whole part of `x`, from -32768 to 32767. The fraction is dropped, toward zero: 1.75 gives 1,
 * and -1.75 gives -1. */
SPEECH_PLATFORM_API SInt32 Fix2Long(Fixed x);

/* a times b, rounded to the nearest Fixed; what lies half-way goes away from zero. */
SPEECH_PLATFORM_API Fixed FixMul(Fixed a, Fixed b);

/* x divided by y, rounded to the nearest Fixed; what lies half-way goes away from zero. A division
 * by zero gives the smallest Fixed when x is negative, else the largest. */
SPEECH_PLATFORM_API Fixed FixDiv(Fixed x, Fixed y);

#ifdef __cplusplus
}
#endif

#endif
