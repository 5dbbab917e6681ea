// SPDX-License-Identifier: Apache-2.0
//
// Turns: the order of what is done on one channel.
//
// A synthesizer's calls on a channel are made one at a time. They are made by whoever asks, on the
// asker's own thread, except one that waits for a place in the speech: that one is made on a thread
// of the Manager's, and while it waits, what is asked after it queues up behind it and is done on
// the same thread. The thread exists only while there is something to do.
//
// Work is waiting from when it is queued until noLongerWaits().
//
// Threads: all functions may be called on any thread, but not from inside what they are doing.
#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "base/threads/Mutex.h"

namespace platform {

class Turns {
 public:
  using Work = std::function<void()>;

  // Does `work` on this thread, after what is queued. Passes its exceptions on.
  void doNow(const Work& work) EXCLUDES(m_lock);

  // The same; but while other work is waiting, `work` goes to the end of the queue, and the result
  // is false. Exceptions of queued work end there. `owner`, which these turns belong to, is kept
  // until then.
  bool doOrQueue(const std::shared_ptr<void>& owner, const Work& work) EXCLUDES(m_lock);

  // Queues `work`, which is going to wait. Throws std::system_error when there is no thread to be
  // had; nothing is queued then.
  void queue(const std::shared_ptr<void>& owner, Work work) EXCLUDES(m_lock);

  // What was waited for has happened: the work is over in a moment.
  void noLongerWaits() EXCLUDES(m_lock);

  // Forgets what is queued, but for what has begun.
  void forgetQueued() EXCLUDES(m_lock);

 private:
  class Turn;

  bool isFree() const REQUIRES(m_lock) { return !m_isTaken && !m_isQueued; }
  void queueHeld(const std::shared_ptr<void>& owner, Work work) REQUIRES(m_lock);
  void run() EXCLUDES(m_lock);

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: one of the flags
  std::deque<Work> m_queue GUARDED_BY(m_lock);
  bool m_isTaken GUARDED_BY(m_lock) = false;   // something is being done
  bool m_isQueued GUARDED_BY(m_lock) = false;  // the queue has its thread
  bool m_isWaiting GUARDED_BY(m_lock) = false;
};

}  // namespace platform
