/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFBundle: a directory that stands for one thing, a voice for example. The conventions of CFBase.h
 * hold.
 */
#ifndef COREFOUNDATION_CFBUNDLE_H
#define COREFOUNDATION_CFBUNDLE_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

SPEECH_PLATFORM_API CFTypeID CFBundleGetTypeID(void);

/* The bundle at `url`, which it holds a count of. Null also when there is no directory. */
SPEECH_PLATFORM_API CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);

/* The URL the bundle was made with; the caller releases it. */
SPEECH_PLATFORM_API CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);

#ifdef __cplusplus
}
#endif

#endif
