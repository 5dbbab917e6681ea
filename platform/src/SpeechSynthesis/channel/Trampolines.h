// SPDX-License-Identifier: Apache-2.0
//
// Trampolines: the callbacks that the Manager gives a synthesizer.
//
// A synthesizer names the channel by its own identifier; the reference constant that the Manager
// has set is the client's handle. A trampoline finds the channel by it and notes what happened, on
// whatever thread the synthesizer calls; clients are called elsewhere (CallbackThread.h). A report
// about a channel that is disposed is dropped.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

namespace platform::trampolines {

void speechDone(SpeechChannel identifier, SRefCon handle) noexcept;
void sync(SpeechChannel identifier, SRefCon handle, OSType message) noexcept;
void error(SpeechChannel identifier, SRefCon handle, OSErr problem, long bytePos) noexcept;
void phoneme(SpeechChannel identifier, SRefCon handle, SInt16 opcode) noexcept;
void word(SpeechChannel identifier, SRefCon handle, unsigned long wordPos, UInt16 wordLen) noexcept;

}  // namespace platform::trampolines
