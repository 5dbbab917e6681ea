// SPDX-License-Identifier: Apache-2.0
//
// Trampolines: noexcept, since a synthesizer does not expect exceptions from its callbacks. The
// channel's handlers throw none.
#include "SpeechSynthesis/channel/Trampolines.h"

#include <memory>

#include "SpeechSynthesis/channel/ChannelRegistry.h"

namespace platform::trampolines {
namespace {

// The reference keeps the channel alive during `work`, even if a client disposes it.
template <typename Work>
void withChannel(SRefCon handle, Work work) {
  const auto channel = ChannelRegistry::shared().find(static_cast<SpeechChannel>(handle));
  if (channel) work(*channel);
}

}  // namespace

void speechDone(SpeechChannel /*identifier*/, SRefCon handle) noexcept {
  withChannel(handle, [](Channel& channel) { channel.handleJobEnd(); });
}

void sync(SpeechChannel /*identifier*/, SRefCon handle, OSType message) noexcept {
  withChannel(handle, [=](Channel& channel) { channel.handleSync(message); });
}

void error(SpeechChannel /*identifier*/, SRefCon handle, OSErr problem, long bytePos) noexcept {
  withChannel(handle, [=](Channel& channel) { channel.handleError(problem, bytePos); });
}

void phoneme(SpeechChannel /*identifier*/, SRefCon handle, SInt16 opcode) noexcept {
  withChannel(handle, [=](Channel& channel) { channel.handlePhoneme(opcode); });
}

void word(SpeechChannel /*identifier*/, SRefCon handle, unsigned long wordPos,
          UInt16 wordLen) noexcept {
  withChannel(handle, [=](Channel& channel) { channel.handleWord(wordPos, wordLen); });
}

}  // namespace platform::trampolines
