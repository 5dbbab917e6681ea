// SPDX-License-Identifier: Apache-2.0
//
// The synthesiser processes of this process, by voice. A call takes one, or starts one, and gives
// it back. Idle ones are kept for the next call and left when there are many, or after a minute.
//
// A call that a process did not complete is repeated on another one, so what callers see does not
// depend on what happens to processes:
//   ended from outside       repeated, up to 5 times, and up to 50 times within 5 s
//   crash, silence, garbage  repeated as often as the caller says
//   a start that fails       repeated twice
//   a start that is ended    repeated, up to 50 times
// All attempts to start a process for a call share one time limit.
//
// Threads: all functions may be called on any thread. As many calls run at the same time as there
// are cores (at least 2: a call that hangs must not hold up all others); more wait, in the order
// (FIFO) in which they came. After fork(), the child of the host has an empty pool.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"
#include "synth/synth_process.h"
#include "synth/synth_protocol.h"

namespace kavrel {

class SynthPool {
 public:
  enum class Result {
    Done,
    Cancelled,
    Unspeakable,  // the call ends or blocks every process
    NoVoice,
    Failed,  // no process can be started, or the call is refused
  };

  // The pool of the process. Never destroyed.
  static SynthPool& shared();

  // The number of cores that the process may use, but at least 2.
  static std::size_t usualMaxCalls();

  explicit SynthPool(std::string program, const SynthProcess::Limits& limits = {},
                     std::size_t maxCalls = usualMaxCalls());
  SynthPool(const SynthPool&) = delete;
  SynthPool& operator=(const SynthPool&) = delete;

  // The number of calls that run at the same time.
  std::size_t maxCalls() const { return m_maxCalls; }

  // Makes sure that a process for `voice` is running. Done, NoVoice, Failed or Cancelled; sets
  // `why` for NoVoice and Failed.
  Result prepare(const std::string& voice, const SynthProcess::Cancelled& cancelled,
                 std::string& why) EXCLUDES(m_lock);

  // Speaks one call. After a crash, silence or garbage it is repeated `repeats` times. `speech` is
  // valid if the result is Done; sets `why` unless it is Done or Cancelled.
  Result speak(const std::string& voice, const synth_protocol::Speak& call, int repeats,
               const SynthProcess::Cancelled& cancelled, SynthProcess::Speech& speech,
               std::string& why) EXCLUDES(m_lock);

 private:
  struct Idle {
    std::string voice;
    std::unique_ptr<SynthProcess> process;
    base::Clock::time_point since;
  };
  class Turn;

  static void installForkHandlers();

  std::unique_ptr<SynthProcess> takeIdle(const std::string& voice) EXCLUDES(m_lock);
  std::unique_ptr<SynthProcess> take(const std::string& voice,
                                     const SynthProcess::Cancelled& cancelled, Result& result,
                                     std::string& why) EXCLUDES(m_lock);
  void giveBack(const std::string& voice, std::unique_ptr<SynthProcess> process) EXCLUDES(m_lock);
  void leaveOld(std::vector<Idle>& left) REQUIRES(m_lock);
  bool waitForTurn(const SynthProcess::Cancelled& cancelled) EXCLUDES(m_lock);
  void endTurn() EXCLUDES(m_lock);

  const std::string m_program;
  const SynthProcess::Limits m_limits;  // the time for a start is that of all its attempts
  const std::size_t m_maxCalls;
  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: m_working or m_waiting has changed
  std::size_t m_working GUARDED_BY(m_lock) = 0;
  std::uint64_t m_nextTicket GUARDED_BY(m_lock) = 0;
  std::deque<std::uint64_t> m_waiting GUARDED_BY(m_lock);  // tickets
  std::vector<Idle> m_idle GUARDED_BY(m_lock);             // the longest idle one first
};

}  // namespace kavrel
