// SPDX-License-Identifier: Apache-2.0
//
// CallbackThread: the thread on which clients' callbacks run, and the queue of reports for it.
//
// The thread starts with the first report and exists, asleep when idle, until the process exits. It
// blocks all signals. Reports are delivered one at a time, in the order in which they were posted,
// and under no lock. After exit() is called, no delivery begins. A process created by fork() gets a
// new queue and, when needed, a new thread; it inherits no reports of its parent.
//
// Threads: all functions are safe to call from any thread, during a delivery too.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <cstdint>
#include <list>
#include <memory>
#include <thread>

#include "base/threads/Mutex.h"

namespace platform {

// An event for the client. `job` is the number of the job in the channel that it belongs to.
struct Report {
  // NextBatch is not for the client: the receiver continues its job.
  enum class Kind { TextDone, NextBatch, SpeechDone, Sync, Error, Phoneme, Word };
  Kind kind;
  std::uint64_t job;
  long position = 0;                  // of a word or an error, in the caller's units
  long length = 0;                    // of a word, in the caller's units
  OSType value = 0;                   // the sync message
  SInt16 code = 0;                    // the phoneme or the error
  const char* description = nullptr;  // of an error; null if only its code is known
  // The text that the position of a word or an error refers to, as a string. Only for callbacks
  // that take one.
  std::shared_ptr<const __CFString> text = nullptr;
  CFRange range = {0, 0};  // position and length in `text`
};

// Receives reports: a channel.
class ReportReceiver {
 public:
  virtual ~ReportReceiver() = default;
  // Calls the client, or drops the report. Called on the callback thread, under no lock.
  virtual void deliver(const Report& report) = 0;
};

class CallbackThread {
 public:
  // The instance of the process. Never destroyed. The first call may throw std::bad_alloc.
  static CallbackThread& shared();

  // A report and its receiver, which the queue keeps alive until the delivery. A ReportList of one
  // report can be created in advance: posting its node allocates nothing and cannot fail.
  struct QueuedReport {
    std::shared_ptr<ReportReceiver> receiver;
    Report report;
  };
  using ReportList = std::list<QueuedReport>;

  // Adds one report to the queue. Throws std::bad_alloc; nothing is queued then.
  void post(std::shared_ptr<ReportReceiver> receiver, const Report& report) EXCLUDES(m_lock);
  // Adds reports that were created in advance. Cannot fail.
  void post(ReportList&& reports) noexcept EXCLUDES(m_lock);

  // Starts the thread if it does not run. Returns false if the system cannot start one; the next
  // post tries again.
  bool start() noexcept EXCLUDES(m_lock);

  // True on the callback thread.
  bool isCurrent() const EXCLUDES(m_lock);

  // Waits until no report is being delivered to `receiver`; returns immediately on the callback
  // thread. Queued reports stay queued: the receiver drops them on delivery.
  void waitForReportTo(const ReportReceiver& receiver) EXCLUDES(m_lock);

 private:
  static void makeForChild();
  static void endAtExit();

  bool startIfNeeded() noexcept REQUIRES(m_lock);
  void run() EXCLUDES(m_lock);
  void end() EXCLUDES(m_lock);

  mutable base::Mutex m_lock;
  base::Condition m_posted;     // with m_lock: m_queue is not empty, or m_ended
  base::Condition m_delivered;  // with m_lock: m_current became null
  ReportList m_queue GUARDED_BY(m_lock);
  // Receives the report that is being delivered.
  const ReportReceiver* m_current GUARDED_BY(m_lock) = nullptr;
  std::thread::id m_thread GUARDED_BY(m_lock);
  bool m_started GUARDED_BY(m_lock) = false;
  bool m_ended GUARDED_BY(m_lock) = false;  // the process is ending
};

}  // namespace platform
