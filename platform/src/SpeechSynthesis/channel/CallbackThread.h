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

#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

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
  struct QueuedReport {
    std::shared_ptr<ReportReceiver> receiver;
    Report report;
  };
  using ReportList = std::list<QueuedReport>;

  // Throws std::bad_alloc.
  void post(std::shared_ptr<ReportReceiver> receiver, const Report& report);
  void post(ReportList&& reports) noexcept;

  // Starts the thread if it is not there. False: the system has none to give; the next post tries
  // again.
  bool start() noexcept;

  bool isCurrent() const;

  // Returns when no report is being made to `receiver`; at once on the callback thread itself. What
  // is queued for it is left to the receiver to drop.
  void waitForReportTo(const ReportReceiver& receiver);

 private:
  static void makeForChild();
  static void endAtExit();

  bool startIfNeeded() noexcept;
  void run();
  void end();

  mutable std::mutex m_lock;
  // Below: with m_lock.
  std::condition_variable m_posted;     // the queue is not empty any more
  std::condition_variable m_delivered;  // m_current became null
  ReportList m_queue;
  const ReportReceiver* m_current = nullptr;  // who is being told
  std::thread::id m_thread;
  bool m_started = false;
  bool m_ended = false;  // the process is ending
};

}  // namespace platform
