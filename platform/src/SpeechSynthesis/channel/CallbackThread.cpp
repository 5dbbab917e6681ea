// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/CallbackThread.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <utility>

#include <pthread.h>

#include "SpeechSynthesis/channel/ManagerThread.h"
#include "base/threads/Clock.h"

namespace platform {
namespace {

// How long exit() waits for a callback that is running.
constexpr std::chrono::seconds kExitLimit{1};

// Replaced in a forked child, never destroyed: the locks of the parent's may be held for ever.
std::atomic<CallbackThread*> g_shared = nullptr;
// The one replaced, in a child; it stays.
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
  Place place;
  place.push_back({std::move(receiver), report});
  post(std::move(place));
}

void CallbackThread::post(Place&& place) noexcept {
  const base::ScopedLock held(m_lock);
  m_queue.splice(m_queue.end(), place);
  startHeld();
  m_posted.notifyOne();
}

bool CallbackThread::start() noexcept {
  const base::ScopedLock held(m_lock);
  return startHeld();
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

bool CallbackThread::startHeld() noexcept {
  if (m_started) return true;
  try {
    startThread([this] { run(); });
    m_started = true;
  } catch (const std::exception&) {
    // The system has no thread to give, or no memory for one.
  }
  return m_started;
}

void CallbackThread::run() {
  const base::ScopedLock held(m_lock);
  m_thread = std::this_thread::get_id();
  while (!m_ended) {
    while (m_queue.empty() && !m_ended) m_posted.wait(m_lock);
    if (m_ended) break;
    Place next;
    next.splice(next.begin(), m_queue, m_queue.begin());
    const Entry& entry = next.front();
    m_current = entry.receiver.get();
    {
      const base::ScopedUnlock released(m_lock);
      entry.receiver->deliver(entry.report);
    }
    m_current = nullptr;
    m_delivered.notifyAll();
    // The receiver may go with its last report; not under the lock.
    const base::ScopedUnlock released(m_lock);
    next.clear();
  }
}

void CallbackThread::end() {
  const base::ScopedLock held(m_lock);
  m_ended = true;
  m_posted.notifyOne();
  if (m_thread == std::this_thread::get_id()) return;
  // Not for ever: the callback may wait for what the exiting thread holds.
  const base::Clock::time_point limit = base::Clock::now() + kExitLimit;
  while (m_current != nullptr && m_delivered.waitUntil(m_lock, limit)) {
  }
}

}  // namespace platform
