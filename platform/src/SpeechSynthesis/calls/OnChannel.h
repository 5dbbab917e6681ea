// SPDX-License-Identifier: Apache-2.0
//
// OnChannel: runs the work of a client function on its channel.
#pragma once

#include <memory>

#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/channel/ChannelRegistry.h"

namespace platform {

// Returns what `work` returns for the open channel `chan`, or the result for the exception it
// throws (resultOf). Returns invalidComponentID if `chan` is not open. The channel is kept alive
// during the call, even if another thread disposes it.
template <typename Work>
OSErr onChannel(SpeechChannel chan, Work work) {
  return resultOf([&]() -> OSErr {
    const std::shared_ptr<Channel> channel = ChannelRegistry::shared().find(chan);
    return channel ? work(*channel) : OSErr{invalidComponentID};
  });
}

}  // namespace platform
