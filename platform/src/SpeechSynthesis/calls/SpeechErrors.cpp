// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/calls/SpeechErrors.h"

#include <string>

#include "CoreFoundation/CFObject.h"

namespace platform {
namespace {

std::string describeCode(OSErr code) {
  switch (code) {
    case badInputText:
      return "text that cannot be spoken";
    case synthNotReady:
      return "the synthesizer is not ready";
    case memFullErr:
      return "out of memory";
    default:
      return "speech synthesis error " + std::to_string(code);
  }
}

}  // namespace

CFErrorRef createSpeechError(OSErr code, CFStringRef spoken, long position,
                             const char* description) {
  const Owned info(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks));
  const Owned offset(CFNumberCreate(kCFAllocatorDefault, kCFNumberLongType, &position));
  // Each key is optional: out of memory for one, the error is reported without it.
  if (offset) CFDictionarySetValue(info.get(), kSpeechErrorCallbackCharacterOffset, offset.get());
  if (spoken != nullptr) {
    CFDictionarySetValue(info.get(), kSpeechErrorCallbackSpokenString, spoken);
  }
  const std::string sentence = description != nullptr ? description : describeCode(code);
  const Owned meaning(
      CFStringCreateWithCString(kCFAllocatorDefault, sentence.c_str(), kCFStringEncodingASCII));
  if (meaning) {
    CFDictionarySetValue(info.get(), kCFErrorLocalizedDescriptionKey, meaning.get());
  }
  return CFErrorCreate(kCFAllocatorDefault, kCFErrorDomainOSStatus, code, info.get());
}

}  // namespace platform
