// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/calls/SpeechErrors.h"

#include "CoreFoundation/CFObject.h"

namespace platform {

CFErrorRef createSpeechError(OSErr code, CFStringRef spoken, long position) {
  const Owned info(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks));
  const Owned offset(CFNumberCreate(kCFAllocatorDefault, kCFNumberLongType, &position));
  // Each key is optional: out of memory for one, the error is reported without it.
  if (offset) CFDictionarySetValue(info.get(), kSpeechErrorCallbackCharacterOffset, offset.get());
  if (spoken != nullptr) {
    CFDictionarySetValue(info.get(), kSpeechErrorCallbackSpokenString, spoken);
  }
  return CFErrorCreate(kCFAllocatorDefault, kCFErrorDomainOSStatus, code, info.get());
}

}  // namespace platform
