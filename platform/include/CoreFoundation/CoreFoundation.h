/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CoreFoundation: the umbrella header of the subset that speech software needs: counted objects,
 * strings, file URLs and bundles. C11 and C++20.
 */
#ifndef COREFOUNDATION_COREFOUNDATION_H
#define COREFOUNDATION_COREFOUNDATION_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

#endif
