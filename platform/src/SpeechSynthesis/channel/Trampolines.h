// SPDX-License-Identifier: Apache-2.0
//
// Trampolines: the callbacks that the Manager gives to a synthesizer.
//
// A synthesizer passes its own channel identifier, and as reference constant the client's handle,
// which the Manager has set. A trampoline finds the channel by the handle and forwards the event to
// it. It runs on a thread of the synthesizer; the client is called on another thread
// (CallbackThread.h). Events of a disposed channel are dropped. `identifier` is not used.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

namespace platform::trampolines {

void speechDone(SpeechChannel identifier, SRefCon handle) noexcept;
void sync(SpeechChannel identifier, SRefCon handle, OSType message) noexcept;
void error(SpeechChannel identifier, SRefCon handle, OSErr problem, long bytePos) noexcept;
void phoneme(SpeechChannel identifier, SRefCon handle, SInt16 opcode) noexcept;
void word(SpeechChannel identifier, SRefCon handle, unsigned long wordPos, UInt16 wordLen) noexcept;

}  // namespace platform::trampolines
