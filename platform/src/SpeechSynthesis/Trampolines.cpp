// SPDX-License-Identifier: Apache-2.0
#include "Trampolines.h"

#include <new>

#include "ChannelRegistry.h"

namespace platform::trampolines {
namespace {

std::shared_ptr<Channel> channelOf(SRefCon handle) {
  return ChannelRegistry::shared().find(static_cast<SpeechChannel>(handle));
}

// Calls the client's callback `function` with its channel, its reference constant and `arguments`.
template <typename Function, typename... Arguments>
void report(SRefCon handle, Function ClientCallbacks::*function, Arguments... arguments) {
  const auto channel = channelOf(handle);
  if (!channel) return;
  const ClientCallbacks callbacks = channel->callbacks();
  if (callbacks.*function == nullptr) return;
  (callbacks.*function)(channel->handle(), callbacks.refCon, arguments...);
}

}  // namespace

void textDone(SpeechChannel /*identifier*/, SRefCon handle, const void** nextBuf,
              unsigned long* byteLen, SInt32* controlFlags) noexcept {
  const void* piece = nullptr;
  unsigned long bytes = 0;
  report(handle, &ClientCallbacks::textDone, &piece, &bytes, controlFlags);
  *nextBuf = nullptr;
  *byteLen = 0;
  const auto channel = channelOf(handle);
  if (!channel || piece == nullptr || bytes == 0) return;
  try {
    const std::string& kept = channel->keepPiece(piece, bytes);
    *nextBuf = kept.c_str();
    *byteLen = kept.size();
  } catch (const std::bad_alloc&) {
    // Without memory for more, the text ends here.
  }
}

void speechDone(SpeechChannel /*identifier*/, SRefCon handle) noexcept {
  // First: the client may speak again from inside its callback.
  if (const auto channel = channelOf(handle)) channel->jobHasEnded();
  report(handle, &ClientCallbacks::speechDone);
}

void sync(SpeechChannel /*identifier*/, SRefCon handle, OSType message) noexcept {
  if (const auto channel = channelOf(handle)) channel->syncReached(message);
  report(handle, &ClientCallbacks::sync, message);
}

void error(SpeechChannel /*identifier*/, SRefCon handle, OSErr problem, long bytePos) noexcept {
  report(handle, &ClientCallbacks::error, problem, bytePos);
}

void phoneme(SpeechChannel /*identifier*/, SRefCon handle, SInt16 opcode) noexcept {
  report(handle, &ClientCallbacks::phoneme, opcode);
}

void word(SpeechChannel /*identifier*/, SRefCon handle, unsigned long wordPos,
          UInt16 wordLen) noexcept {
  const auto channel = channelOf(handle);
  if (!channel) return;
  const Channel::Word reached = channel->wordReached({wordPos, wordLen});
  report(handle, &ClientCallbacks::word, reached.position, reached.length);
}

}  // namespace platform::trampolines
