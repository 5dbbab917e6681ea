// SPDX-License-Identifier: Apache-2.0
//
// Selectors: which selectors and values SetSpeechInfo accepts. A synthesizer accepts everything, so
// the Manager checks first. Stateless, safe on any thread.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

namespace platform {

// Returns noErr if the selector is known and its value may be passed on; siUnknownInfoType for a
// selector that SpeechSynthesis.h does not declare; paramErr for a mode that the selector does not
// have, and for null if the value would be read. `value` is that of SetSpeechInfo.
OSErr checkSetting(OSType selector, const void* value);

}  // namespace platform
