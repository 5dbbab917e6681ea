// SPDX-License-Identifier: Apache-2.0
//
// OnChannel: how every call of the client interface finds its channel.
#pragma once

#include <memory>

#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/channel/ChannelRegistry.h"

namespace platform {

// What `work` answers for the open channel `chan`, exceptions ended; invalidComponentID when there
// is none.
template <typename Work>
OSErr onChannel(SpeechChannel chan, Work work) {
  return resultOf([&]() -> OSErr {
    const std::shared_ptr<Channel> channel = ChannelRegistry::shared().find(chan);
    return channel ? work(*channel) : OSErr{invalidComponentID};
  });
}

}  // namespace platform
