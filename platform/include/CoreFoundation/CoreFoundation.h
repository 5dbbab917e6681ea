/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CoreFoundation: umbrella header for the subset that speech software needs: reference-counted
 * objects, strings, numbers, arrays, dictionaries, errors, file URLs and bundles. C11 and C++20.
 */
#ifndef COREFOUNDATION_COREFOUNDATION_H
#define COREFOUNDATION_COREFOUNDATION_H

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFError.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

#endif
