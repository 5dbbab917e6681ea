// SPDX-License-Identifier: Apache-2.0
//
// The scripted engine's internal state, shared by its source files.
//
// Threads: one lock guards the whole state; it is never held while a callback or an action of the
// test runs. Functions tagged [locked] must be called with the lock held. The state is never
// destroyed: threads may still be running when the process exits.
#pragma once

#include <array>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "ScriptedEngine.h"

// An event, on the stack of the thread that plays it.
struct kavrel_event_struct {
  scripted::Event event;
};

namespace scripted {

using Lock = std::unique_lock<std::mutex>;

// Handles encode a kind and a number instead of an address. No handle is reused, so a stale one is
// always recognised. Identifiers count through the whole process; the number of a port or job that
// tests see is its identifier minus the last one before reset().
enum class Kind : std::uintptr_t { Engine = 1, Port, Job, Params, Value, Voice };

template <class T>
T handle(Kind kind, int id) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): never followed.
  return reinterpret_cast<T>(static_cast<std::uintptr_t>(kind) << 32U |
                             static_cast<std::uintptr_t>(id) << 4U);
}

// Returns the identifier, or 0 if `object` is not a handle of that kind.
inline int idOf(Kind kind, const void* object) {
  const auto bits = reinterpret_cast<std::uintptr_t>(object);
  return bits >> 32U == static_cast<std::uintptr_t>(kind)
             ? static_cast<int>((bits & 0xFFFFFFFF) >> 4U)
             : 0;
}

using Parameters = std::map<std::string, std::string>;

struct Callback {
  kavrel_callback_t function = nullptr;
  kavrel_event_t mask = 0;
  void* user = nullptr;
};

struct Job {
  int id = 0;
  int port = 0;
  std::string text;
  Callback callback;  // the port's, at the start of the job
  bool ending = false;
  bool over = false;
  bool stopped = false;  // the rest of its script is not played
  bool paused = false;
};

struct PortState {
  int id = 0;
  bool open = true;
  Parameters parameters;
  std::string voice;
  Callback callback;
  std::vector<std::shared_ptr<Job>> jobs;
  int callbacksRunning = 0;
  std::deque<std::function<void()>> tasks;  // for the port's thread
  bool threadRunning = false;
};

// How the calls of one operation behave, as set by the test.
struct Behaviour {
  int calls = 0;
  int failAt = 0;  // number of a call; 0: none
  Times failTimes = Times::Once;
  std::deque<kavrel_result_t> next;
  std::optional<kavrel_result_t> always;
  std::function<void()> during;
};

// What a call must do: its usual work, or only return `result` (null for functions that return a
// pointer).
struct Verdict {
  bool usual = true;
  kavrel_result_t result = KAVREL_SUCCESS;
};

// Scope guard: this thread runs code of the engine; see insideEngine().
class InEngine {
 public:
  InEngine();
  ~InEngine();
  InEngine(const InEngine&) = delete;
  InEngine& operator=(const InEngine&) = delete;
};

// Scope guard: the engine runs a callback or an action of the test.
class CallingOut {
 public:
  CallingOut();
  ~CallingOut();
  CallingOut(const CallingOut&) = delete;
  CallingOut& operator=(const CallingOut&) = delete;

 private:
  int m_depth;
};

class State {
 public:
  static State& get();

  // ---- Calls
  // Records the call, runs the test's action, and returns what the call must do. `entry` receives
  // the argument for finish().
  Verdict begin(Call call, std::size_t* entry);
  // As begin(), for services: `describe` is called only if services are recorded.
  Verdict beginService(Op op, const std::function<std::string()>& describe);
  // Appends the result to the call's text.
  void finish(std::size_t entry, const std::string& result);

  // ---- Objects, all [locked]
  // Returns null for null, and null after recording a violation for an unknown or closed port.
  std::shared_ptr<PortState> findPort(const kavrel_port_struct* port);
  std::shared_ptr<Job> findJob(const void* job) const;
  std::shared_ptr<PortState> portByNumber(int number) const;  // throws std::logic_error
  void violation(const std::string& what) { m_violations.push_back(what); }

  std::string portName(const kavrel_port_struct* port) const;
  std::string jobName(const void* job) const;
  std::string paramsName(const kavrel_params* params) const;
  int portNumber(const void* port) const;
  int jobNumber(const void* job) const;

  // ---- Events, without the lock unless tagged
  // Plays `event` on this thread to the callback of the job, or of the port if `job` is null.
  void play(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
            const Event& event);
  // Plays the events in order, until the job is stopped.
  void playScript(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
                  const std::vector<Event>& events);
  // Runs `task` on the port's thread.  [locked]
  void post(const std::shared_ptr<PortState>& port, std::function<void()> task);
  // Ends the job as the mode says. `held` is released during callbacks.  [locked]
  void endJob(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job, OnStop mode,
              Lock& held);
  // Waits until `jobs` are over; returns the result of kavrel_port_wait.  [locked]
  kavrel_result_t waitFor(const std::shared_ptr<PortState>& port,
                          const std::vector<std::shared_ptr<Job>>& jobs, Lock& held);

  std::mutex m_lock;
  std::condition_variable m_changed;  // with m_lock: a job, a callback or a thread has changed
  std::condition_variable m_called;   // with m_lock: a call was made

  // The recorder.
  std::vector<Call> m_calls;
  std::size_t m_firstEntry = 0;  // entry number of m_calls[0]
  bool m_recordCalls = true;
  bool m_recordServices = false;
  std::array<Behaviour, static_cast<std::size_t>(Op::Count)> m_behaviours;
  int m_callsThatCanFail = 0;
  int m_failAnyAt = 0;
  Times m_failAnyTimes = Times::Once;
  int m_faultsMet = 0;
  std::vector<Diagnostic> m_diagnostics;
  std::map<std::thread::id, Diagnostic> m_unfinishedDiagnostics;
  std::vector<std::string> m_violations;
  long m_heldLocks = 0;
  int m_epoch = 0;  // number of resets; each block stores the number at its allocation
  long m_blocks = 0;

  // The engine. Identifiers continue through resets.
  int m_lastId = 0;
  int m_engines = 0;
  int m_firstPort = 0;  // identifiers up to these two are from before the reset
  int m_firstJob = 0;
  int m_lastPort = 0;
  int m_lastJob = 0;
  std::map<int, std::shared_ptr<PortState>> m_ports;
  std::map<int, std::shared_ptr<Job>> m_jobs;
  std::map<int, Parameters> m_params;
  Live m_forgotten;  // objects that forgetKept() has dropped and live() still counts
  std::map<int, std::string> m_values;
  std::deque<std::pair<Script, When>> m_queuedScripts;
  std::optional<std::pair<Script, When>> m_everyScript;
  OnStop m_onStop = OnStop::EndsAtOnce;
  std::chrono::milliseconds m_waitLimit{10'000};
  std::chrono::milliseconds m_callbackPatience{1'000};
  int m_threads = 0;

 private:
  State() = default;
  void play(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
            const Event& event, Lock& held);
  Verdict decide(Op op);  // [locked]
  void runThread(std::shared_ptr<PortState> port);
};

// The text in quotes, cut at 60 bytes with "…" at the cut; "null" for null.
std::string quoted(const char* text);
std::string quoted(const std::string& text);

}  // namespace scripted
