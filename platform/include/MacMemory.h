/* SPDX-License-Identifier: Apache-2.0 */
/*
 * MacMemory: handles, memory blocks that can be resized.
 *
 * A handle points to a pointer to the first byte of the block. The block moves only when its size
 * is set, so HLock and HUnlock have no effect. Sizes are in bytes. One thread at a time uses a
 * handle; different handles are independent.
 */
#ifndef MACMEMORY_H
#define MACMEMORY_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  nilHandleErr = -109 /* the handle is null */
};

/* Create a block of `byteCount` bytes; those of NewHandleClear are 0, those of NewHandle undefined.
 * The caller releases it with DisposeHandle. Null if out of memory or if `byteCount` is negative.
 */
SPEECH_PLATFORM_API Handle NewHandle(Size byteCount);
SPEECH_PLATFORM_API Handle NewHandleClear(Size byteCount);

/* Releases the block and the handle. Null is ignored. */
SPEECH_PLATFORM_API void DisposeHandle(Handle h);

/* Returns the size of the block; 0 for null. */
SPEECH_PLATFORM_API Size GetHandleSize(Handle h);

/* Changes the size. The bytes up to the smaller of both sizes are kept; bytes added are undefined.
 * On failure the block is unchanged. MemError returns the result. */
SPEECH_PLATFORM_API void SetHandleSize(Handle h, Size newSize);

/* No effect: blocks move only when their size is set. */
SPEECH_PLATFORM_API void HLock(Handle h);
SPEECH_PLATFORM_API void HUnlock(Handle h);

/* Returns the result of the last function above that this thread called: noErr; memFullErr;
 * paramErr for a negative size; nilHandleErr for a null handle. */
SPEECH_PLATFORM_API OSErr MemError(void);

#ifdef __cplusplus
}
#endif

#endif
