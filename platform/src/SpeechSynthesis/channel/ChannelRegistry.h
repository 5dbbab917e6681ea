// SPDX-License-Identifier: Apache-2.0
//
// ChannelRegistry: which handles are open channels.
//
// A handle is a number that is never used twice, so that a handle kept too long names nothing
// rather than somebody else's channel. All functions may be called on any thread; the registry's
// lock is never held while anything else is called.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "SpeechSynthesis/channel/Channel.h"

namespace platform {

class ChannelRegistry {
 public:
  // Never destroyed: a synthesizer's threads may report until the process is gone. A process made
  // by fork() has one of its own, without its parent's channels.
  static ChannelRegistry& shared();

  // A handle for a channel that is to be added.
  SpeechChannel newHandle();

  void add(std::shared_ptr<Channel> channel);

  // Null: `handle` is not open.
  std::shared_ptr<Channel> find(SpeechChannel handle) const;

  // The channel, which is no longer found; null as of find(). Of several calls for one handle, one
  // gets the channel.
  std::shared_ptr<Channel> remove(SpeechChannel handle);

  std::vector<std::shared_ptr<Channel>> all() const;

 private:
  static void makeForChild();

  mutable std::mutex m_lock;
  // Below: with m_lock.
  std::map<SpeechChannel, std::shared_ptr<Channel>> m_channels;
  std::uintptr_t m_lastHandle = 0;
};

}  // namespace platform
