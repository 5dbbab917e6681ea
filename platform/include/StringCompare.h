/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The name under which older programs include the comparison of strings: CFStringCompare. There are
 * no functions that compare Pascal strings.
 */
#ifndef STRINGCOMPARE_H
#define STRINGCOMPARE_H

#include <CoreFoundation/CFString.h>

#include <TextUtils.h>

#endif
