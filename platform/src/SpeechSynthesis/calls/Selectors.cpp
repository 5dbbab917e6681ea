// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/calls/Selectors.h"

#include <cstring>

namespace platform {
namespace {

// The value may be unaligned.
OSType modeAt(const void* value) {
  OSType mode = 0;
  std::memcpy(&mode, value, sizeof mode);
  return mode;
}

bool isInputMode(OSType mode) {
  return mode == modeText || mode == modePhonemes || mode == modeTune;
}

bool isReadingMode(OSType mode) {
  return mode == modeNormal || mode == modeLiteral;
}

OSErr resultIf(bool isValid) {
  return isValid ? OSErr{noErr} : OSErr{paramErr};
}

}  // namespace

OSErr checkSetting(OSType selector, const void* value) {
  switch (selector) {
    case soInputMode:
      return resultIf(value != nullptr && isInputMode(modeAt(value)));
    case soCharacterMode:
    case soNumberMode:
      return resultIf(value != nullptr && isReadingMode(modeAt(value)));
    case soRate:
    case soPitchBase:
    case soPitchMod:
    case soVolume:
    case soCurrentVoice:
    case soCommandDelimiter:
    case soSynthExtension:
      return resultIf(value != nullptr);
    case soReset:
    case soRefCon:
    case soTextDoneCallBack:
    case soSpeechDoneCallBack:
    case soSyncCallBack:
    case soErrorCallBack:
    case soPhonemeCallBack:
    case soWordCallBack:
    case soOutputToFileWithCFURL:
    // Read-only: the synthesizer ignores them.
    case soStatus:
    case soErrors:
    case soSynthType:
    case soRecentSync:
    case soPhonemeSymbols:
      return noErr;
    default:
      return siUnknownInfoType;
  }
}

}  // namespace platform
