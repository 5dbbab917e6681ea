// SPDX-License-Identifier: Apache-2.0
//
// CallbackThread: the one thread on which clients are called, with the queue of what they are to be
// told.
//
// The thread starts with the first report and stays, asleep, until the process ends; it takes no
// signals. Reports are made one at a time, in the order in which they were posted, and under no
// lock. From exit() on none begins. A process made by fork() has a queue and, when it needs one, a
// thread of its own, and nothing of its parent's.
//
// Threads: all functions may be called on any thread, inside a report too.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <cstdint>
#include <list>
#include <memory>
#include <thread>

#include "base/threads/Mutex.h"

namespace platform {

// What a client is told. `job` is the channel's job that it is about.
struct Report {
  enum class Kind { TextDone, SpeechDone, Sync, Error, Phoneme, Word };
  Kind kind;
  std::uint64_t job;
  long position = 0;  // of a word or an error
  long length = 0;    // of a word
  OSType value = 0;   // sync message
  SInt16 code = 0;    // phoneme or error
};

class ReportReceiver {
 public:
  virtual ~ReportReceiver() = default;
  // Tells the client, or drops the report. Called on the callback thread, under no lock.
  virtual void deliver(const Report& report) = 0;
};

class CallbackThread {
 public:
  // The process's own.
  static CallbackThread& shared();

  // A place for one report, made in advance: posting it cannot fail for want of memory.
  struct Entry {
    std::shared_ptr<ReportReceiver> receiver;
    Report report;
  };
  using Place = std::list<Entry>;

  // Throws std::bad_alloc.
  void post(std::shared_ptr<ReportReceiver> receiver, const Report& report) EXCLUDES(m_lock);
  void post(Place&& place) noexcept EXCLUDES(m_lock);

  // Starts the thread if it is not there. False: the system has none to give; the next post tries
  // again.
  bool start() noexcept EXCLUDES(m_lock);

  bool isCurrent() const EXCLUDES(m_lock);

  // Returns when no report is being made to `receiver`; at once on the callback thread itself. What
  // is queued for it is left to the receiver to drop.
  void waitForReportTo(const ReportReceiver& receiver) EXCLUDES(m_lock);

 private:
  static void makeForChild();
  static void endAtExit();

  bool startHeld() noexcept REQUIRES(m_lock);
  void run() EXCLUDES(m_lock);
  void end() EXCLUDES(m_lock);

  mutable base::Mutex m_lock;
  base::Condition m_posted;     // with m_lock: the queue is not empty any more
  base::Condition m_delivered;  // with m_lock: m_current became null
  Place m_queue GUARDED_BY(m_lock);
  const ReportReceiver* m_current GUARDED_BY(m_lock) = nullptr;  // who is being told
  std::thread::id m_thread GUARDED_BY(m_lock);
  bool m_started GUARDED_BY(m_lock) = false;
  bool m_ended GUARDED_BY(m_lock) = false;  // the process is ending
};

}  // namespace platform
