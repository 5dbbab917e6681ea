// SPDX-License-Identifier: Apache-2.0
//
// The scripted engine's insides, shared by its source files.
//
// Threads: one lock guards the whole state; it is never held while calling out. Functions tagged
// [locked] are called with the lock held. The state is never destroyed, so that threads that are
// still running when the process ends find it.
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

// An event; lives on the stack of the thread that plays it.
struct kavrel_event_struct {
  scripted::Event event;
};

namespace scripted {

using Lock = std::unique_lock<std::mutex>;

// Handles are numbers, not addresses: none is ever used again, and a stale one is told from a live
// one. Objects are counted through the whole process; a port or job is called by its number less
// the last one before reset().
enum class Kind : std::uintptr_t { Engine = 1, Port, Job, Params, Value, Voice };

template <class T>
T handle(Kind kind, int id) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): never followed.
  return reinterpret_cast<T>(static_cast<std::uintptr_t>(kind) << 32U |
                             static_cast<std::uintptr_t>(id) << 4U);
}

// 0 when `object` is no handle of that kind.
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
  Callback callback;  // the port's, when the job was started
  bool ending = false;
  bool over = false;
  bool stopped = false;  // its script plays no further
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

// How calls of one operation are answered.
struct Answers {
  int calls = 0;
  int failAt = 0;  // number of a call; 0: none
  Times failTimes = Times::Once;
  std::deque<kavrel_result_t> next;
  std::optional<kavrel_result_t> always;
  std::function<void()> during;
};

// What a call is to do: its default, or to answer `result` (a null pointer, where it has one).
struct Verdict {
  bool usual = true;
  kavrel_result_t result = KAVREL_SUCCESS;
};

// This thread runs code of the engine, for a scope; see insideEngine().
class InEngine {
 public:
  InEngine();
  ~InEngine();
  InEngine(const InEngine&) = delete;
  InEngine& operator=(const InEngine&) = delete;
};

// The engine calls out, for a scope.
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
  // Writes the call down, runs the test's action, and decides. `entry` receives what finish()
  // needs.
  Verdict begin(Call call, std::size_t* entry);
  // As begin(), for services: `describe` is called only when services are recorded.
  Verdict beginService(Op op, const std::function<std::string()>& describe);
  // Completes the call's text with what it answered.
  void finish(std::size_t entry, const std::string& result);

  // ---- Objects, all [locked]
  // Null, after noting a violation, for a handle that names nothing; null for null.
  std::shared_ptr<PortState> findPort(const kavrel_port_struct* port);
  std::shared_ptr<Job> findJob(const void* job) const;
  std::shared_ptr<PortState> portByNumber(int number) const;  // throws std::logic_error
  void violation(const std::string& what) { m_violations.push_back(what); }

  std::string portName(const kavrel_port_struct* port) const;
  std::string jobName(const void* job) const;
  std::string paramsName(const kavrel_params* params) const;
  int portNumber(const void* port) const;
  int jobNumber(const void* job) const;

  // ---- Events: not locked
  // Plays `event` to the callback that the job, or without one the port, has. On this thread.
  void play(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
            const Event& event);
  // Plays the events one after the other, until the job is stopped.
  void playScript(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
                  const std::vector<Event>& events);
  // Runs `task` on the port's thread.  [locked]
  void post(const std::shared_ptr<PortState>& port, std::function<void()> task);
  // Ends the job as the mode says. `held` is released where it calls out.
  void endJob(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job, OnStop mode,
              Lock& held);
  // Waits until `jobs` are over.
  kavrel_result_t waitFor(const std::shared_ptr<PortState>& port,
                          const std::vector<std::shared_ptr<Job>>& jobs, Lock& held);

  std::mutex m_lock;
  std::condition_variable m_changed;  // with m_lock: a job, a callback or a thread
  std::condition_variable m_called;   // with m_lock: a call was made

  // Of the recorder.
  std::vector<Call> m_calls;
  std::size_t m_firstEntry = 0;  // entry number of m_calls[0]
  bool m_recordCalls = true;
  bool m_recordServices = false;
  std::array<Answers, static_cast<std::size_t>(Op::Count)> m_answers;
  int m_callsThatCanFail = 0;
  int m_failAnyAt = 0;
  Times m_failAnyTimes = Times::Once;
  int m_faultsMet = 0;
  std::vector<Diagnostic> m_diagnostics;
  std::map<std::thread::id, Diagnostic> m_unfinishedDiagnostics;
  std::vector<std::string> m_violations;
  long m_heldLocks = 0;
  int m_epoch = 0;  // number of resets; blocks know theirs
  long m_blocks = 0;

  // Of the engine. Identifiers run on through resets.
  int m_lastId = 0;
  int m_engines = 0;
  int m_firstPort = 0;  // identifiers up to these are from before the reset
  int m_firstJob = 0;
  int m_lastPort = 0;
  int m_lastJob = 0;
  std::map<int, std::shared_ptr<PortState>> m_ports;
  std::map<int, std::shared_ptr<Job>> m_jobs;
  std::map<int, Parameters> m_params;
  Live m_forgotten;  // what live() counts of objects that forgetKept has let go
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

// "…" in quotes, cut at 60 bytes; "null" for null.
std::string quoted(const char* text);
std::string quoted(const std::string& text);

}  // namespace scripted
