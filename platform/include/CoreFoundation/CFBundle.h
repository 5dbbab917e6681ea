/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFBundle: directories that represent one thing, for example a voice. The conventions of CFBase.h
 * apply.
 */
#ifndef COREFOUNDATION_CFBUNDLE_H
#define COREFOUNDATION_CFBUNDLE_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

SPEECH_PLATFORM_API CFTypeID CFBundleGetTypeID(void);

/* Creates a bundle that refers to the directory `url` and retains `url`; no file in it is read.
 * Null also if there is no such directory. */
SPEECH_PLATFORM_API CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);

/* Returns the URL of the bundle; the caller releases it. */
SPEECH_PLATFORM_API CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);

#ifdef __cplusplus
}
#endif

#endif
