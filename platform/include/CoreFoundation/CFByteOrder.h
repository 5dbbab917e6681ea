/* SPDX-License-Identifier: Apache-2.0 */
/*
 * CFByteOrder: integers in the byte order of other machines. The functions have no state.
 */
#ifndef COREFOUNDATION_CFBYTEORDER_H
#define COREFOUNDATION_CFBYTEORDER_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef CFIndex CFByteOrder;
enum { CFByteOrderUnknown = 0, CFByteOrderLittleEndian = 1, CFByteOrderBigEndian = 2 };

/* Returns the byte order of this machine. */
SPEECH_PLATFORM_INLINE CFByteOrder CFByteOrderGetCurrent(void) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return CFByteOrderBigEndian;
#else
  return CFByteOrderLittleEndian;
#endif
}

/* Return the number with its bytes reversed. */
SPEECH_PLATFORM_INLINE UInt16 CFSwapInt16(UInt16 number) {
  return (UInt16)((number << 8) | (number >> 8));
}
SPEECH_PLATFORM_INLINE UInt32 CFSwapInt32(UInt32 number) {
  return ((UInt32)CFSwapInt16((UInt16)number) << 16) | CFSwapInt16((UInt16)(number >> 16));
}
SPEECH_PLATFORM_INLINE UInt64 CFSwapInt64(UInt64 number) {
  return ((UInt64)CFSwapInt32((UInt32)number) << 32) | CFSwapInt32((UInt32)(number >> 32));
}

/* Return the number with its bytes reversed if the byte order of this machine is not the other one.
 */
SPEECH_PLATFORM_INLINE UInt16 CFSwapInt16HostToBig(UInt16 number) {
  return CFByteOrderGetCurrent() == CFByteOrderBigEndian ? number : CFSwapInt16(number);
}
SPEECH_PLATFORM_INLINE UInt16 CFSwapInt16BigToHost(UInt16 number) {
  return CFByteOrderGetCurrent() == CFByteOrderBigEndian ? number : CFSwapInt16(number);
}
SPEECH_PLATFORM_INLINE UInt16 CFSwapInt16HostToLittle(UInt16 number) {
  return CFByteOrderGetCurrent() == CFByteOrderLittleEndian ? number : CFSwapInt16(number);
}
SPEECH_PLATFORM_INLINE UInt16 CFSwapInt16LittleToHost(UInt16 number) {
  return CFByteOrderGetCurrent() == CFByteOrderLittleEndian ? number : CFSwapInt16(number);
}
SPEECH_PLATFORM_INLINE UInt32 CFSwapInt32HostToBig(UInt32 number) {
  return CFByteOrderGetCurrent() == CFByteOrderBigEndian ? number : CFSwapInt32(number);
}
SPEECH_PLATFORM_INLINE UInt32 CFSwapInt32BigToHost(UInt32 number) {
  return CFByteOrderGetCurrent() == CFByteOrderBigEndian ? number : CFSwapInt32(number);
}
SPEECH_PLATFORM_INLINE UInt32 CFSwapInt32HostToLittle(UInt32 number) {
  return CFByteOrderGetCurrent() == CFByteOrderLittleEndian ? number : CFSwapInt32(number);
}
SPEECH_PLATFORM_INLINE UInt32 CFSwapInt32LittleToHost(UInt32 number) {
  return CFByteOrderGetCurrent() == CFByteOrderLittleEndian ? number : CFSwapInt32(number);
}
SPEECH_PLATFORM_INLINE UInt64 CFSwapInt64HostToBig(UInt64 number) {
  return CFByteOrderGetCurrent() == CFByteOrderBigEndian ? number : CFSwapInt64(number);
}
SPEECH_PLATFORM_INLINE UInt64 CFSwapInt64BigToHost(UInt64 number) {
  return CFByteOrderGetCurrent() == CFByteOrderBigEndian ? number : CFSwapInt64(number);
}
SPEECH_PLATFORM_INLINE UInt64 CFSwapInt64HostToLittle(UInt64 number) {
  return CFByteOrderGetCurrent() == CFByteOrderLittleEndian ? number : CFSwapInt64(number);
}
SPEECH_PLATFORM_INLINE UInt64 CFSwapInt64LittleToHost(UInt64 number) {
  return CFByteOrderGetCurrent() == CFByteOrderLittleEndian ? number : CFSwapInt64(number);
}

#ifdef __cplusplus
}
#endif

#endif
