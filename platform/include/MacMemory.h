/* SPDX-License-Identifier: Apache-2.0 */
/*
 * MacMemory: handles, blocks of memory that change their size.
 *
 * A handle points at a pointer to the block's first byte. The block may move when its size is set,
 * and at no other time, so locking does nothing here. Size is in bytes. A handle is used by one
 * thread at a time; different handles are independent.
 */
#ifndef MACMEMORY_H
#define MACMEMORY_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef long Size;

enum {
  nilHandleErr = -109 /* the handle is null */
};

/* A block whose bytes have any value, or are 0. The caller ends it with DisposeHandle. Null when
 * memory is out, or `byteCount` is negative. */
SPEECH_PLATFORM_API Handle NewHandle(Size byteCount);
SPEECH_PLATFORM_API Handle NewHandleClear(Size byteCount);

/* Releases the block and the handle; null is allowed. */
SPEECH_PLATFORM_API void DisposeHandle(Handle h);

/* The block's size; 0 for null. */
SPEECH_PLATFORM_API Size GetHandleSize(Handle h);

/* Changes the size; the bytes that both sizes have stay. When memory is out the block stays as it
 * is. MemError tells. */
SPEECH_PLATFORM_API void SetHandleSize(Handle h, Size newSize);

/* Does nothing: blocks move only when their size is set. */
SPEECH_PLATFORM_API void HLock(Handle h);
SPEECH_PLATFORM_API void HUnlock(Handle h);

/* The result of this thread's last call of a function above: noErr, memFullErr, paramErr (a size
 * that is none) or nilHandleErr. */
SPEECH_PLATFORM_API OSErr MemError(void);

#ifdef __cplusplus
}
#endif

#endif
