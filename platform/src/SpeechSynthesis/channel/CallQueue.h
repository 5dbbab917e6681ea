// SPDX-License-Identifier: Apache-2.0
//
// CallQueue: runs the synthesizer calls of one channel one at a time, in order.
//
// A call runs on the thread that makes it, except a stop that waits for a boundary in the speech:
// that one runs on a thread of the queue. While it waits, calls made after it are queued and run on
// the same thread later. The thread exists only while there is something to run.
//
// A queued call counts as waiting from queue() until markWaitOver().
//
// Threads: all functions are safe to call from any thread, but not from inside a call that the
// queue runs: runNow() and runOrQueue() would wait for themselves. No lock is held while a call
// runs.
#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "base/threads/Mutex.h"

namespace platform {

class CallQueue {
 public:
  using Work = std::function<void()>;

  // Runs `work` on this thread, after all queued calls. Blocks while another call runs. Lets
  // exceptions of `work` through.
  void runNow(const Work& work) EXCLUDES(m_lock);

  // Runs `work` as runNow() does and returns true. But while another call is waiting, it adds
  // `work` to the end of the queue and returns false immediately. An exception of queued work is
  // written to standard error. `owner`, the object that contains this queue, is kept until the work
  // has run. Throws std::bad_alloc or std::system_error if `work` cannot be queued.
  bool runOrQueue(const std::shared_ptr<void>& owner, const Work& work) EXCLUDES(m_lock);

  // Queues `work`, a call that is going to wait. Throws std::system_error if no thread can be
  // started; nothing is queued then.
  void queue(const std::shared_ptr<void>& owner, Work work) EXCLUDES(m_lock);

  // Reports that the waiting call is about to return: from now on, calls run on their own threads
  // again.
  void markWaitOver() EXCLUDES(m_lock);

  // Drops the queued calls, but not the one that is running.
  void dropQueued() EXCLUDES(m_lock);

 private:
  class CallGuard;

  // True if a call may run on the caller's thread.
  bool isFree() const REQUIRES(m_lock) { return !m_running && !m_hasThread; }
  void enqueue(const std::shared_ptr<void>& owner, Work work) REQUIRES(m_lock);
  void runQueue() EXCLUDES(m_lock);

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: one of the flags
  std::deque<Work> m_queue GUARDED_BY(m_lock);
  bool m_running GUARDED_BY(m_lock) = false;    // a call runs
  bool m_hasThread GUARDED_BY(m_lock) = false;  // runQueue() runs on a thread
  bool m_waiting GUARDED_BY(m_lock) = false;    // the call at hand waits for a boundary
};

}  // namespace platform
