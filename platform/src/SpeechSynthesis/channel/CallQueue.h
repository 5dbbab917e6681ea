// SPDX-License-Identifier: Apache-2.0
//
// CallQueue: the order of what is done on one channel.
//
// A synthesizer's calls on a channel are made one at a time. They are made by whoever asks, on the
// asker's own thread, except one that waits for a place in the speech: that one is made on a thread
// of the Manager's, and while it waits, what is asked after it queues up behind it and is done on
// the same thread. The thread exists only while there is something to do.
//
// Work is waiting from when it is queued until markWaitOver().
//
// Threads: all functions may be called on any thread, but not from inside what they are doing.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace platform {

class CallQueue {
 public:
  using Work = std::function<void()>;

  // Does `work` on this thread, after what is queued. Passes its exceptions on.
  void runNow(const Work& work);

  // The same; but while other work is waiting, `work` goes to the end of the queue, and the result
  // is false. Exceptions of queued work end there. `owner`, which these turns belong to, is kept
  // until then.
  bool runOrQueue(const std::shared_ptr<void>& owner, const Work& work);

  // Queues `work`, which is going to wait. Throws std::system_error when there is no thread to be
  // had; nothing is queued then.
  void queue(const std::shared_ptr<void>& owner, Work work);

  // What was waited for has happened: the work is over in a moment.
  void markWaitOver();

  // Forgets what is queued, but for what has begun.
  void dropQueued();

 private:
  class CallGuard;

  void enqueue(const std::shared_ptr<void>& owner, Work work);
  void runQueue();

  std::mutex m_lock;
  // Below: with m_lock.
  std::condition_variable m_changed;  // one of the flags
  std::deque<Work> m_queue;
  bool m_isTaken = false;   // something is being done
  bool m_isQueued = false;  // the queue has its thread
  bool m_isWaiting = false;
};

}  // namespace platform
