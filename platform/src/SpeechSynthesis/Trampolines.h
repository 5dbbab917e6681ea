// SPDX-License-Identifier: Apache-2.0
//
// Trampolines: the callbacks that the Manager gives a synthesizer, which call the client's.
//
// A synthesizer names the channel by its own identifier; the reference constant that the Manager
// has set is the client's handle. A trampoline finds the channel by it, and calls the client's
// function, if there is one, with the client's channel and reference constant: at once, on whatever
// thread the synthesizer calls, under no lock of the Manager. A report about a channel that is
// disposed is dropped. An exception that leaves a client's function ends the process.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

namespace platform::trampolines {

// A piece goes on as a NUL-terminated copy; a null or empty one as the end of the text.
void textDone(SpeechChannel identifier, SRefCon handle, const void** nextBuf,
              unsigned long* byteLen, SInt32* controlFlags) noexcept;

void speechDone(SpeechChannel identifier, SRefCon handle) noexcept;
void sync(SpeechChannel identifier, SRefCon handle, OSType message) noexcept;
void error(SpeechChannel identifier, SRefCon handle, OSErr problem, long bytePos) noexcept;
void phoneme(SpeechChannel identifier, SRefCon handle, SInt16 opcode) noexcept;
void word(SpeechChannel identifier, SRefCon handle, unsigned long wordPos, UInt16 wordLen) noexcept;

}  // namespace platform::trampolines
