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
#include <vector>

#include "SpeechSynthesis/channel/Channel.h"
#include "base/threads/Mutex.h"

namespace platform {

class ChannelRegistry {
 public:
  // The instance of the process. Never destroyed: a synthesizer's threads may report until the
  // process exits. A process created by fork() gets a new one, without the channels of its parent.
  // The first call may throw std::bad_alloc.
  static ChannelRegistry& shared();

  // Returns a new handle, for a channel that is then added.
  SpeechChannel newHandle() EXCLUDES(m_lock);

  // Adds a channel under its own handle. Throws std::bad_alloc.
  void add(std::shared_ptr<Channel> channel) EXCLUDES(m_lock);

  // Null if no open channel has the handle.
  std::shared_ptr<Channel> find(SpeechChannel handle) const EXCLUDES(m_lock);

  // Removes a channel and returns it; null if no open channel has the handle. If several threads
  // remove the same handle, only one receives the channel.
  std::shared_ptr<Channel> remove(SpeechChannel handle) EXCLUDES(m_lock);

  // The open channels at this moment, ordered by handle. Throws std::bad_alloc.
  std::vector<std::shared_ptr<Channel>> all() const EXCLUDES(m_lock);

 private:
  // Not checked: takes no lock of the parent's, which a thread that the child lacks may hold.
  static void makeForChild() NO_THREAD_SAFETY_ANALYSIS;

  mutable base::Mutex m_lock;
  std::map<SpeechChannel, std::shared_ptr<Channel>> m_channels GUARDED_BY(m_lock);
  std::uintptr_t m_lastHandle GUARDED_BY(m_lock) = 0;
};

}  // namespace platform
