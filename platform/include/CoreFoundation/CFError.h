/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFError: what went wrong. The conventions of CFBase.h hold.
 */
#ifndef COREFOUNDATION_CFERROR_H
#define COREFOUNDATION_CFERROR_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The domain of results such as those of speech synthesis. */
SPEECH_PLATFORM_API extern const CFStringRef kCFErrorDomainOSStatus;

SPEECH_PLATFORM_API CFTypeID CFErrorGetTypeID(void);

/* An error; it holds a count of `domain`, and of `userInfo`, which may be null. */
SPEECH_PLATFORM_API CFErrorRef CFErrorCreate(CFAllocatorRef allocator, CFStringRef domain,
                                             CFIndex code, CFDictionaryRef userInfo);

/* The number of the error in its domain; 0 for null. */
SPEECH_PLATFORM_API CFIndex CFErrorGetCode(CFErrorRef error);

/* What the numbers belong to; the error's own. */
SPEECH_PLATFORM_API CFStringRef CFErrorGetDomain(CFErrorRef error);

/* What else is known; empty when nothing is. The caller releases it. */
SPEECH_PLATFORM_API CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef error);

#ifdef __cplusplus
}
#endif

#endif
