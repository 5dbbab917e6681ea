/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The name under which older programs include ApplicationServices/FixMath.h.
 */
#ifndef FIXMATH_H
#define FIXMATH_H

#include <ApplicationServices/FixMath.h>

#endif
