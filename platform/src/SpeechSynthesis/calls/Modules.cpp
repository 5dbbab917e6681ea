// SPDX-License-Identifier: Apache-2.0
//
// Modules: the registration of voices and synthesizers, which is not offered.
#include <ApplicationServices/SpeechOldNames.h>

OSErr SpeechSynthesisRegisterModuleURL(CFURLRef /*url*/) {
  return siUnknownInfoType;
}

OSErr SpeechSynthesisUnregisterModuleURL(CFURLRef /*url*/) {
  return siUnknownInfoType;
}
