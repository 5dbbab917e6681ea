// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/Trampolines.h"

#include <memory>

#include "SpeechSynthesis/channel/ChannelRegistry.h"

namespace platform::trampolines {
namespace {

template <typename Work>
void onChannel(SRefCon handle, Work work) {
  const auto channel = ChannelRegistry::shared().find(static_cast<SpeechChannel>(handle));
  if (channel) work(*channel);
}

}  // namespace

void speechDone(SpeechChannel /*identifier*/, SRefCon handle) noexcept {
  onChannel(handle, [](Channel& channel) { channel.jobHasEnded(); });
}

void sync(SpeechChannel /*identifier*/, SRefCon handle, OSType message) noexcept {
  onChannel(handle, [=](Channel& channel) { channel.syncReached(message); });
}

void error(SpeechChannel /*identifier*/, SRefCon handle, OSErr problem, long bytePos) noexcept {
  onChannel(handle, [=](Channel& channel) { channel.errorMet(problem, bytePos); });
}

void phoneme(SpeechChannel /*identifier*/, SRefCon handle, SInt16 opcode) noexcept {
  onChannel(handle, [=](Channel& channel) { channel.phonemeReached(opcode); });
}

void word(SpeechChannel /*identifier*/, SRefCon handle, unsigned long wordPos,
          UInt16 wordLen) noexcept {
  onChannel(handle, [=](Channel& channel) { channel.wordReached(wordPos, wordLen); });
}

}  // namespace platform::trampolines
