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
#include <vector>

#include "SpeechSynthesis/channel/Channel.h"
#include "base/threads/Mutex.h"

namespace platform {

class ChannelRegistry {
 public:
  // Never destroyed: a synthesizer's threads may report until the process is gone. A process made
  // by fork() has one of its own, without its parent's channels.
  static ChannelRegistry& shared();

  // A handle for a channel that is to be added.
  SpeechChannel newHandle() EXCLUDES(m_lock);

  void add(std::shared_ptr<Channel> channel) EXCLUDES(m_lock);

  // Null: `handle` is not open.
  std::shared_ptr<Channel> find(SpeechChannel handle) const EXCLUDES(m_lock);

  // The channel, which is no longer found; null as of find(). Of several calls for one handle, one
  // gets the channel.
  std::shared_ptr<Channel> remove(SpeechChannel handle) EXCLUDES(m_lock);

  std::vector<std::shared_ptr<Channel>> all() const EXCLUDES(m_lock);

 private:
  // Not checked: takes no lock of the parent's, which a thread that the child lacks may hold.
  static void makeForChild() NO_THREAD_SAFETY_ANALYSIS;

  mutable base::Mutex m_lock;
  std::map<SpeechChannel, std::shared_ptr<Channel>> m_channels GUARDED_BY(m_lock);
  std::uintptr_t m_lastHandle GUARDED_BY(m_lock) = 0;
};

}  // namespace platform
