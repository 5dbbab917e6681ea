// SPDX-License-Identifier: Apache-2.0
//
// CallbackThread: one consumer of a linked list under a lock. List nodes can be made in advance, so
// that the end of a job is reported even if memory is exhausted by then.
#include "SpeechSynthesis/channel/CallbackThread.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

#include <pthread.h>

#include "SpeechSynthesis/channel/ManagerThread.h"
#include "base/threads/Clock.h"

namespace platform {
namespace {

// The longest time that exit() waits for a running callback.
constexpr std::chrono::seconds kExitLimit{1};

// Replaced in a forked child, since the parent's locks may have been held at the fork and would
// never be released in the child. Never destroyed: other threads may post during exit().
std::atomic<CallbackThread*> g_shared = nullptr;
// In a child: the parent's object. Kept, so that leak checkers find a pointer to it.
[[maybe_unused]] std::atomic<CallbackThread*> g_ofParent = nullptr;

}  // namespace

CallbackThread& CallbackThread::shared() {
  static const bool made = [] {
    // A part of this may have succeeded before.
    if (g_shared == nullptr) g_shared = new CallbackThread;
    if (pthread_atfork(nullptr, nullptr, makeForChild) != 0) throw std::bad_alloc();
    std::atexit(endAtExit);
    return true;
  }();
  static_cast<void>(made);
  return *g_shared.load();
}

void CallbackThread::makeForChild() {
  g_ofParent = g_shared.load();
  g_shared = new CallbackThread;
}

void CallbackThread::endAtExit() {
  g_shared.load()->end();
}

void CallbackThread::post(std::shared_ptr<ReportReceiver> receiver, const Report& report) {
  ReportList reports;
  reports.push_back({std::move(receiver), report});
  post(std::move(reports));
}

// The splice moves list nodes, so it allocates nothing.
void CallbackThread::post(ReportList&& reports) noexcept {
  const base::ScopedLock held(m_lock);
  m_queue.splice(m_queue.end(), reports);
  startIfNeeded();
  m_posted.notifyOne();
}

bool CallbackThread::start() noexcept {
  const base::ScopedLock held(m_lock);
  return startIfNeeded();
}

bool CallbackThread::isCurrent() const {
  const base::ScopedLock held(m_lock);
  return m_thread == std::this_thread::get_id();
}

void CallbackThread::waitForReportTo(const ReportReceiver& receiver) {
  const base::ScopedLock held(m_lock);
  if (m_thread == std::this_thread::get_id()) return;
  while (m_current == &receiver) m_delivered.wait(m_lock);
}

bool CallbackThread::startIfNeeded() noexcept {
  if (m_started) return true;
  try {
    startThread([this] { run(); });
    m_started = true;
  } catch (const std::exception&) {
    // No thread, or no memory for one. The reports stay queued and the next post tries again; a
    // message for each attempt would flood standard error.
  }
  return m_started;
}

void CallbackThread::run() {
  const base::ScopedLock held(m_lock);
  m_thread = std::this_thread::get_id();
  while (!m_ended) {
    while (m_queue.empty() && !m_ended) m_posted.wait(m_lock);
    // exit() drops what is queued: callbacks of a program that exits may use destroyed objects.
    if (m_ended) break;
    ReportList next;
    next.splice(next.begin(), m_queue, m_queue.begin());
    const QueuedReport& queued = next.front();
    m_current = queued.receiver.get();
    {
      const base::ScopedUnlock released(m_lock);
      queued.receiver->deliver(queued.report);
    }
    m_current = nullptr;
    m_delivered.notifyAll();
    // The report may hold the last reference to the receiver, which must not be destroyed under the
    // lock.
    const base::ScopedUnlock released(m_lock);
    next.clear();
  }
}

// On exit(): a callback that is running may finish, so that it does not use destroyed static
// objects.
void CallbackThread::end() {
  const base::ScopedLock held(m_lock);
  m_ended = true;
  m_posted.notifyOne();
  if (m_thread == std::this_thread::get_id()) return;
  // Bounded: the callback may wait for a lock that the exiting thread holds.
  const base::Clock::time_point limit = base::Clock::now() + kExitLimit;
  while (m_current != nullptr && m_delivered.waitUntil(m_lock, limit)) {
  }
}

}  // namespace platform
