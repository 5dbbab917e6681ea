/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFError: error objects. The conventions of CFBase.h apply.
 */
#ifndef COREFOUNDATION_CFERROR_H
#define COREFOUNDATION_CFERROR_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The domain whose codes are results (OSErr, OSStatus), for example those of speech synthesis. */
SPEECH_PLATFORM_API extern const CFStringRef kCFErrorDomainOSStatus;

/* The key of an error's description for users in its user info: a string. */
SPEECH_PLATFORM_API extern const CFStringRef kCFErrorLocalizedDescriptionKey;

SPEECH_PLATFORM_API CFTypeID CFErrorGetTypeID(void);

/* Creates an error; it retains `domain` and `userInfo`. `userInfo` may be null. */
SPEECH_PLATFORM_API CFErrorRef CFErrorCreate(CFAllocatorRef allocator, CFStringRef domain,
                                             CFIndex code, CFDictionaryRef userInfo);

/* Returns the code of the error in its domain; 0 for null. */
SPEECH_PLATFORM_API CFIndex CFErrorGetCode(CFErrorRef error);

/* Returns the domain; it belongs to the error. */
SPEECH_PLATFORM_API CFStringRef CFErrorGetDomain(CFErrorRef error);

/* Returns the user info, an empty dictionary if there is none. The caller releases it. */
SPEECH_PLATFORM_API CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef error);

/* Returns the description of the user info, or one made of domain and code if there is none. The
 * caller releases it. */
SPEECH_PLATFORM_API CFStringRef CFErrorCopyDescription(CFErrorRef error);

#ifdef __cplusplus
}
#endif

#endif
