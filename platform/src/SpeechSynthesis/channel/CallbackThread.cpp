// SPDX-License-Identifier: Apache-2.0
//
// CallbackThread: one consumer of a linked list under a lock. List nodes can be made in advance, so
// that the end of a job is reported even if memory is exhausted by then.
#include "SpeechSynthesis/channel/CallbackThread.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <utility>

#include <pthread.h>

#include "SpeechSynthesis/channel/ManagerThread.h"

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
    g_shared = new CallbackThread;
    pthread_atfork(nullptr, nullptr, makeForChild);
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
  const std::lock_guard held(m_lock);
  m_queue.splice(m_queue.end(), reports);
  startIfNeeded();
  m_posted.notify_one();
}

bool CallbackThread::start() noexcept {
  const std::lock_guard held(m_lock);
  return startIfNeeded();
}

bool CallbackThread::isCurrent() const {
  const std::lock_guard held(m_lock);
  return m_thread == std::this_thread::get_id();
}

void CallbackThread::waitForReportTo(const ReportReceiver& receiver) {
  std::unique_lock held(m_lock);
  if (m_thread == std::this_thread::get_id()) return;
  m_delivered.wait(held, [&] { return m_current != &receiver; });
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
  std::unique_lock held(m_lock);
  m_thread = std::this_thread::get_id();
  while (!m_ended) {
    m_posted.wait(held, [this] { return !m_queue.empty() || m_ended; });
    // exit() drops what is queued: callbacks of a program that exits may use destroyed objects.
    if (m_ended) break;
    ReportList next;
    next.splice(next.begin(), m_queue, m_queue.begin());
    const QueuedReport& queued = next.front();
    m_current = queued.receiver.get();
    held.unlock();
    queued.receiver->deliver(queued.report);
    held.lock();
    m_current = nullptr;
    m_delivered.notify_all();
    // The report may hold the last reference to the receiver, which must not be destroyed under the
    // lock.
    held.unlock();
    next.clear();
    held.lock();
  }
}

// On exit(): a callback that is running may finish, so that it does not use destroyed static
// objects.
void CallbackThread::end() {
  std::unique_lock held(m_lock);
  m_ended = true;
  m_posted.notify_one();
  if (m_thread == std::this_thread::get_id()) return;
  // Bounded: the callback may wait for a lock that the exiting thread holds.
  m_delivered.wait_for(held, kExitLimit, [this] { return m_current == nullptr; });
}

}  // namespace platform
