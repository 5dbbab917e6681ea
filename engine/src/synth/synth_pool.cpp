// SPDX-License-Identifier: Apache-2.0
#include "synth/synth_pool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>
#include <new>
#include <utility>

#include <pthread.h>
#include <sched.h>

#include "cst/diag.h"
#include "synth/synth_program.h"

namespace kavrel {

namespace {

using base::Clock;

// Somebody who ends processes at random may hit one call several times, on a busy machine many
// times. Then again, the system may end every process of a call that needs too much memory.
constexpr int kMaxKills = 50;
constexpr int kLeastKills = 5;
constexpr std::chrono::seconds kKillTime{5};
constexpr int kMaxStarts = 3;
constexpr std::chrono::seconds kMaxIdleTime{60};
// Idle processes beside those that can work at the same time: for other voices.
constexpr std::size_t kSpare = 2;
// How often a thread that waits for its turn looks whether it is cancelled.
constexpr std::chrono::milliseconds kSlice{5};

// One line for the process: it says the same of every synthesiser process.
void reportMissing(std::uint32_t missing) {
  using Ready = synth_protocol::Ready;
  static std::atomic<bool> reported{false};
  if (missing == 0 || reported.exchange(true)) return;
  std::string names;
  const auto add = [&](std::uint32_t bit, const char* name) {
    if ((missing & bit) == 0) return;
    names += (names.empty() ? "" : ", ") + std::string(name);
  };
  add(Ready::kNoNewPrivileges, "no new privileges");
  add(Ready::kLandlock, "Landlock");
  add(Ready::kLimits, "resource limits");
  add(Ready::kSystemCalls, "system call filter");
  KAVREL_DIAG("Synthesiser", "The system refuses these protections of the synthesiser: %s.",
              names.c_str());
}

}  // namespace

// A call's permission to run, while it exists.
class SynthPool::Turn {
 public:
  Turn(SynthPool& pool, const SynthProcess::Cancelled& cancelled)
      : m_pool(pool), m_has(pool.waitForTurn(cancelled)) {}
  ~Turn() {
    if (m_has) m_pool.endTurn();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  // False if the call was cancelled first.
  explicit operator bool() const { return m_has; }

 private:
  SynthPool& m_pool;
  const bool m_has;
};

SynthPool& SynthPool::shared() {
  static SynthPool& pool = *new SynthPool(synthProgram());
  static const bool installed = (installForkHandlers(), true);
  (void)installed;
  return pool;
}

// The child has none of the threads that use the pool, so nobody works or waits there. A process
// that a thread had taken is closed, and its object leaks.
void SynthPool::installForkHandlers() NO_THREAD_SAFETY_ANALYSIS {
  ::pthread_atfork(
      []() NO_THREAD_SAFETY_ANALYSIS {
        shared().m_lock.lock();
        SynthProcess::prepareFork();
      },
      []() NO_THREAD_SAFETY_ANALYSIS {
        SynthProcess::afterForkInParent();
        shared().m_lock.unlock();
      },
      []() NO_THREAD_SAFETY_ANALYSIS {
        SynthProcess::afterForkInChild();
        shared().m_idle.clear();
        shared().m_waiting.clear();
        shared().m_working = 0;
        // The old one waits for the parent's waiting threads to wake up. Not destroyed: that would
        // wait for them, too.
        new (&shared().m_changed) base::Condition;
        shared().m_lock.unlock();
      });
}

// The C++ library's count is that of the machine, of which the process may be given a part only.
std::size_t SynthPool::usualMaxCalls() {
  constexpr std::size_t kLeast = 2;
  cpu_set_t cores;
  if (::sched_getaffinity(0, sizeof(cores), &cores) != 0) return kLeast;
  return std::max(static_cast<std::size_t>(CPU_COUNT(&cores)), kLeast);
}

SynthPool::SynthPool(std::string program, const SynthProcess::Limits& limits, std::size_t maxCalls)
    : m_program(std::move(program)), m_limits(limits), m_maxCalls(maxCalls) {}

SynthPool::Result SynthPool::prepare(const std::string& voice,
                                     const SynthProcess::Cancelled& cancelled, std::string& why) {
  const Turn turn(*this, cancelled);
  if (!turn) return Result::Cancelled;
  Result result = Result::Done;
  auto process = take(voice, cancelled, result, why);
  if (process != nullptr) giveBack(voice, std::move(process));
  return result;
}

SynthPool::Result SynthPool::speak(const std::string& voice, const synth_protocol::Speak& call,
                                   int repeats, const SynthProcess::Cancelled& cancelled,
                                   SynthProcess::Speech& speech, std::string& why) {
  const Turn turn(*this, cancelled);
  if (!turn) return Result::Cancelled;
  const Clock::time_point killLimit = Clock::now() + kKillTime;
  int kills = 0;
  int failures = 0;
  const auto mayRepeat = [&] {
    return kills <= kLeastKills || (kills <= kMaxKills && Clock::now() < killLimit);
  };
  while (mayRepeat() && failures <= repeats) {
    Result result = Result::Done;
    auto process = take(voice, cancelled, result, why);
    if (process == nullptr) return result;
    switch (process->speak(call, cancelled, speech, why)) {
      case SynthProcess::Result::Done:
        giveBack(voice, std::move(process));
        return Result::Done;
      case SynthProcess::Result::Cancelled:
        giveBack(voice, std::move(process));
        return Result::Cancelled;
      case SynthProcess::Result::Refused:
        giveBack(voice, std::move(process));
        return Result::Failed;
      case SynthProcess::Result::Killed:
        ++kills;
        break;
      case SynthProcess::Result::Crashed:
      case SynthProcess::Result::Garbage:
      case SynthProcess::Result::Silent:
        ++failures;
        KAVREL_DIAG("Synthesiser", "A call in voice %s was lost: %s.", voice.c_str(), why.c_str());
        break;
    }
  }
  return Result::Unspeakable;
}

// ---- Processes

// Returns an idle process for the voice, or null. Idle processes that have ended are left.
std::unique_ptr<SynthProcess> SynthPool::takeIdle(const std::string& voice) {
  SynthProcess::reapLeft();
  std::vector<Idle> left;
  const base::ScopedLock held(m_lock);
  leaveOld(left);
  // The one that was used last, so that those that are not needed grow old.
  for (auto idle = m_idle.rbegin(); idle != m_idle.rend(); ++idle) {
    if (idle->voice != voice || !idle->process->isUsable()) continue;
    auto process = std::move(idle->process);
    m_idle.erase(std::next(idle).base());
    return process;
  }
  return nullptr;
}

// Returns a process that is ready, or null with the result and its cause. A process that is ended
// from outside while it starts is started again, as a call is. One that is stopped is left after a
// part of the time, so that there is time for another.
std::unique_ptr<SynthProcess> SynthPool::take(const std::string& voice,
                                              const SynthProcess::Cancelled& cancelled,
                                              Result& result, std::string& why) {
  if (auto process = takeIdle(voice)) return process;
  result = Result::Failed;
  const Clock::time_point deadline = Clock::now() + m_limits.start;
  int kills = 0;
  int failures = 0;
  while (kills <= kMaxKills && failures < kMaxStarts) {
    SynthProcess::Limits limits = m_limits;
    const auto left = std::chrono::floor<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) break;
    limits.start = left * 3 / 5;
    auto process = std::make_unique<SynthProcess>(m_program, limits);
    switch (process->start(voice, cancelled, why)) {
      case SynthProcess::Started::Ready:
        reportMissing(process->missingProtections());
        result = Result::Done;
        return process;
      case SynthProcess::Started::NoVoice:
        result = Result::NoVoice;
        return nullptr;
      case SynthProcess::Started::Cancelled:
        result = Result::Cancelled;
        return nullptr;
      case SynthProcess::Started::Killed:
        ++kills;
        break;
      case SynthProcess::Started::Failed: {
        ++failures;
        // The host may be short of descriptors.
        std::vector<Idle> idle;
        const base::ScopedLock held(m_lock);
        idle.swap(m_idle);
        break;
      }
    }
  }
  return nullptr;
}

void SynthPool::giveBack(const std::string& voice, std::unique_ptr<SynthProcess> process) {
  if (!process->isUsable()) return;
  std::vector<Idle> left;
  const base::ScopedLock held(m_lock);
  m_idle.push_back({voice, std::move(process), Clock::now()});
  leaveOld(left);
}

// Moves the idle processes that are too old, have ended, or are too many into `left`.
void SynthPool::leaveOld(std::vector<Idle>& left) {
  const Clock::time_point oldest = Clock::now() - kMaxIdleTime;
  for (auto idle = m_idle.begin(); idle != m_idle.end();) {
    const bool tooMany = m_idle.size() > m_maxCalls + kSpare;
    if (!tooMany && idle->since >= oldest && idle->process->isUsable()) {
      ++idle;
      continue;
    }
    left.push_back(std::move(*idle));
    idle = m_idle.erase(idle);
  }
}

// ---- Turns

// Returns false if the call is cancelled while it waits.
bool SynthPool::waitForTurn(const SynthProcess::Cancelled& cancelled) {
  const base::ScopedLock held(m_lock);
  const std::uint64_t ticket = m_nextTicket++;
  m_waiting.push_back(ticket);
  for (;;) {
    // The flag is somebody else's, but takes no lock.
    const bool stop = cancelled && cancelled();
    if (stop || (m_waiting.front() == ticket && m_working < m_maxCalls)) {
      std::erase(m_waiting, ticket);
      if (!stop) ++m_working;
      m_changed.notifyAll();
      return !stop;
    }
    m_changed.waitUntil(m_lock, Clock::now() + kSlice);
  }
}

void SynthPool::endTurn() {
  const base::ScopedLock held(m_lock);
  --m_working;
  m_changed.notifyAll();
}

}  // namespace kavrel
