// SPDX-License-Identifier: Apache-2.0
//
// The scripted engine: stands in for the engine library. It has the C interface of kavrel.h and
// cst.h but speaks nothing. It records every call, returns the results that the test sets, and
// plays the events that the test scripts, at the moment and on the thread that the test chooses.
// Nothing takes time, so a test is exact and instant.
//
//   scripted::engine().reset();
//   ... the code under test opens a port and starts a job ...
//   scripted::engine().port(1).word(0, 5).phoneme("ae", 0).end();
//   EXPECT_EQ(scripted::engine().calls().back(), "kavrel_port_wait(port 1, job 1) = 0");
//
// Rules
//  1. Ports and jobs are numbered from 1 in the order of their creation since reset().
//  2. A job runs until something ends it: end() from the test, a script, or kavrel_port_stop. After
//     a stop the rest of the job's script is not played.
//  3. Events that the test plays with Port run on the test's own thread; the call returns after the
//     callback. Events of a stop and of scripts with When::OnEngineThread run on the port's own
//     thread, one at a time.
//  4. The engine misbehaves on request: Port plays events in every state of the job and the port.
//     Misuse by callers (an unknown handle, a port used after its close, memory released twice,
//     null where an engine need not allow it) is recorded in violations(), and the call returns a
//     failure.
//
// Threads: every function may be called on any thread; no lock of the engine is held while it calls
// a callback or an action of the test. Returned references and pointers stay valid until the
// process exits.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "cst.h"
#include "kavrel.h"

namespace scripted {

// The operations of the interface. Alloc and those after it are services: always counted, but
// recorded only after recordServices(true), since there are thousands of them.
enum class Op {
  ParamsNew,
  ParamsDelete,
  ValString,
  ValInt,
  ParamsSetVal,
  EngineOpen,
  PortOpen,
  PortClose,
  SetCallback,
  SetVoice,
  Speak,
  Pause,
  Stop,
  Wait,
  Strerror,
  EventText,
  EventTextpos,
  Alloc,  // cst_safe_alloc, cst_safe_realloc, and every function that allocates with them
  Free,
  MutexLock,
  MutexUnlock,
  MutexDestroy,
  Count,
};

// One recorded call.
struct Call {
  Op op;
  // Source text with readable handles, and " = result" once the call has returned:
  //   kavrel_port_open(engine, {events/immediate: 0}) = port 1
  //   kavrel_port_speak_text(port 1, "Hello", 5, null, job, null) = 0
  // Strings are cut at 60 bytes here; `argument` has them in full.
  std::string text;
  std::string argument;  // the text to speak, the folder of the voice, a parameter's text; or empty
  int port = 0;          // number of the port passed to the call; 0: none
  int job = 0;           // number of the job passed to the call; 0: none
  std::thread::id thread;
};

// One diagnostic line.
struct Diagnostic {
  std::vector<std::string> calls;  // "timestamp", "ffl", "context", "errmsg", in order of the calls
  std::string file;                // the arguments of cst_dbg_ffl
  std::string function;
  int line = 0;
  unsigned int area = 0;  // the argument of cst_dbg_context
  std::string text;       // the message, formatted
  std::thread::id thread;
};

// Objects that callers own and have taken since the last reset().
struct Live {
  long blocks = 0;         // of the cst allocator
  long parameterSets = 0;  // from kavrel_params_new, not deleted
  long values = 0;         // kavrel_val_* not yet handed to a set
  long ports = 0;          // opened and not closed
  long engines = 0;        // opened since the process began
  bool operator==(const Live&) const = default;
};

// When and where a script is played.
enum class When {
  InsideSpeak,     // before kavrel_port_speak_text returns, on its thread
  OnEngineThread,  // on the port's thread, as soon as the job has started
};

// What kavrel_port_stop does to a running job; it always returns KAVREL_SUCCESS.
enum class OnStop {
  EndsAtOnce,        // END on the port's thread
  EndsBeforeReturn,  // END on the caller's thread
  EndsTwice,         // END on the port's thread, and once more
  EndsSilently,      // the job is over without an END
  TestEnds,          // nothing: the job runs until the test calls end()
};

enum class Times { Once, ForGood };

// An event, with the results of kavrel_event_get_text and kavrel_event_get_textpos for it.
struct Event {
  kavrel_event_t type = KAVREL_EVENT_NONE;
  std::string text = {};
  int start = 0;
  int length = 0;
  bool nullText = false;  // kavrel_event_get_text stores null
};

// Functions that add events, shared by Port and Script. Positions and lengths count bytes of the
// text passed to kavrel_port_speak_text.
template <class Derived>
class Events {
 public:
  Derived& word(int start, int length) { return event({KAVREL_EVENT_WORD, "", start, length}); }
  Derived& phoneme(const std::string& name, int start) {
    return event({KAVREL_EVENT_PHONEME, name, start, 1});
  }
  Derived& bookmark(const std::string& name) { return event({KAVREL_EVENT_BOOKMARK, name}); }
  Derived& sentence(int start, int length) {
    return event({KAVREL_EVENT_SENTENCE, "", start, length});
  }
  Derived& error(const std::string& message) { return event({KAVREL_EVENT_ERROR, message}); }
  // The job is over when the callback of its END has returned.
  Derived& end() { return event({KAVREL_EVENT_END}); }
  Derived& event(const Event& event) {
    static_cast<Derived*>(this)->play(event);
    return *static_cast<Derived*>(this);
  }
};

// A list of events to play later.
class Script : public Events<Script> {
 public:
  void play(const Event& event) { m_events.push_back(event); }
  const std::vector<Event>& events() const { return m_events; }

 private:
  std::vector<Event> m_events;
};

// A port by its number. The functions throw std::logic_error if the port does not exist.
class KAVREL_API Port : public Events<Port> {
 public:
  explicit Port(int number) : m_number(number) {}

  // Plays the event on this thread to the callback of the port's last job (before the first job: of
  // the port), if the callback's mask includes the event's type.
  void play(const Event& event);

  // Plays END of the job with that number; another job may be running.
  void endOf(int job);

  bool open() const;
  // Whether the job that was started last has not ended.
  bool running() const;
  bool paused() const;
  // Values as text: "0", "aiff".
  std::map<std::string, std::string> parameters() const;
  // Folder of the voice that was loaded last; empty: none.
  std::string voice() const;
  kavrel_event_t mask() const;
  // The text of the port's last job.
  std::string text() const;

 private:
  int m_number;
};

// Controls and inspects the engine.
class KAVREL_API Engine {
 public:
  // Forgets ports, jobs, scripts, results and all records; switches diagnostics off (mask and level
  // 0). The engine handle stays valid. Waits for the ports' threads first; returns false if one is
  // still in a callback after five seconds.
  bool reset();

  // ---- Records
  // Calls in the order in which they were made, as Call::text.
  std::vector<std::string> calls() const;
  std::vector<std::string> calls(Op op) const;
  std::vector<Call> log() const;
  int count(Op op) const;
  // Waits up to ten seconds until `op` has been called `times` times; returns whether it has.
  bool waitForCall(Op op, int times = 1) const;
  // false: later calls are counted but not recorded; for tests with very many calls.
  void recordCalls(bool on);
  void recordServices(bool on);
  // Empties the log; numbers, results and objects stay.
  void forgetCalls();

  // Sets cst_diag_mask and cst_diag_level. Unlike a plain assignment it is allowed while threads of
  // the code under test are running; it is then undefined which of their lines are written.
  void setDiagnostics(unsigned int mask, int level);
  std::vector<Diagnostic> diagnostics() const;
  // The texts of diagnostics().
  std::vector<std::string> messages() const;
  // Number of threads that have begun a line and not yet written its message.
  int unfinishedDiagnostics() const;
  void forgetDiagnostics();

  std::vector<std::string> violations() const;
  Live live() const;
  // Frees the engine's own records of objects that callers never release: parameter sets, ports
  // without a running job, jobs that have ended. live() still counts them, but they must not be
  // used again. For tests that measure how much memory the code under test holds.
  void forgetKept();
  // Successful mutex_lock calls minus mutex_unlock calls.
  long heldLocks() const;

  // ---- Results
  // The k-th call of `op` from now on fails (k from 1), or it and every later one: the call returns
  // null or KAVREL_INTERNAL_ERROR and does nothing else. Exception: the mutex operations do their
  // work and return EINVAL, since a valid mutex never refuses.
  void fail(Op op, int k = 1, Times times = Times::Once);
  // The k-th call from now on of any operation that can fail, services included.
  void failAnyCall(int k, Times times = Times::Once);
  // How many calls have been made to fail.
  int faultsMet() const;
  // Every call of `op` returns `result` and does nothing else; only for operations that return a
  // kavrel_result_t.
  void setResult(Op op, kavrel_result_t result);
  // As setResult(), for the next call that has no queued result yet.
  void queueResult(Op op, kavrel_result_t result);
  // Undoes fail(), failAnyCall(), setResult() and queueResult().
  void useDefaultResults();
  // `action` runs in every call of `op`, on the caller's thread, after the call is recorded and
  // before it does its work. It may use this class and the C interface. Null removes the action.
  void during(Op op, std::function<void()> action);

  // ---- Jobs
  // The next job for which no script is queued yet plays `script`.
  void queueJob(Script script, When when = When::InsideSpeak);
  // Every job without a queued script plays `script`.
  void everyJob(Script script, When when = When::OnEngineThread);
  void onStop(OnStop mode);
  // If a job has not ended after this time, kavrel_port_wait returns KAVREL_ENGINE_INUSE and
  // records a violation. Default: ten seconds.
  void setWaitLimit(std::chrono::milliseconds limit);
  // If a job is ending and a callback has not returned after this time, kavrel_port_wait returns
  // KAVREL_ENGINE_INUSE. Default: one second.
  void setCallbackPatience(std::chrono::milliseconds patience);

  Port port(int number) { return Port(number); }
  // How many ports have been opened since reset().
  int ports() const;
};

// The engine of this process.
KAVREL_API Engine& engine();

// Whether this thread runs the engine's own code, as opposed to a callback. Tests that simulate out
// of memory use it to exempt the engine's own allocations.
KAVREL_API bool insideEngine();

}  // namespace scripted
