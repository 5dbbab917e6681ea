// SPDX-License-Identifier: Apache-2.0
//
// ChannelRegistry: the open channels by their handles.
//
// A handle is a number that is never used twice, so a stale handle finds nothing instead of another
// channel. Threads: all functions are safe to call from any thread; the lock of the registry is
// never held while other code is called.
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
  // The instance of the process. Never destroyed: a synthesizer's threads may report until the
  // process exits. A process created by fork() gets a new one, without the channels of its parent.
  static ChannelRegistry& shared();

  // Returns a new handle, for a channel that is then added.
  SpeechChannel newHandle();

  // Adds a channel under its own handle. Throws std::bad_alloc.
  void add(std::shared_ptr<Channel> channel);

  // Null if no open channel has the handle.
  std::shared_ptr<Channel> find(SpeechChannel handle) const;

  // Removes a channel and returns it; null if no open channel has the handle. If several threads
  // remove the same handle, only one receives the channel.
  std::shared_ptr<Channel> remove(SpeechChannel handle);

  // The open channels at this moment, ordered by handle. Throws std::bad_alloc.
  std::vector<std::shared_ptr<Channel>> all() const;

 private:
  static void makeForChild();

  mutable std::mutex m_lock;
  // Below: with m_lock.
  std::map<SpeechChannel, std::shared_ptr<Channel>> m_channels;
  std::uintptr_t m_lastHandle = 0;
};

}  // namespace platform
