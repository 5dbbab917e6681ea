// SPDX-License-Identifier: Apache-2.0
//
// The scripted engine: a library with the C interface of kavrel.h and cst.h that speaks nothing. It
// writes down every call, answers as the test tells it to, and plays the events that the test
// scripts, at the moment and on the thread that the test chooses. Nothing takes time, so a test is
// exact and instant.
//
//   scripted::engine().reset();
//   ... the code under test opens a port and starts a job ...
//   scripted::engine().port(1).word(0, 5).phoneme("ae", 0).end();
//   EXPECT_EQ(scripted::engine().calls().back(), "kavrel_port_wait(port 1, job 1) = 0");
//
// Rules
//  1. Ports and jobs are numbered from 1 in the order in which they come into being since reset().
//  2. A job runs until something ends it: end() from the test, a script, or kavrel_port_stop. The
//     rest of its script is not played when a stop has ended it.
//  3. Events that the test plays with Port run on the test's own thread and have returned when the
//     call returns. Events of Stop and of scripts with When::OnEngineThread run on the port's own
//     thread, one after the other.
//  4. The engine misbehaves when the test says so: Port plays events whatever the state of the job
//     and the port. What callers do wrong (a handle that names nothing, a port used after its
//     close, memory released twice) is written to violations() and answered with a failure.
//
// Threads: every function may be called on any thread; no lock of the engine is held while it calls
// out. References and pointers that functions return stay good until the process ends.
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

// The operations of the interface. Those from Alloc on are services: counted always, written down
// only after recordServices(true), since they come in thousands.
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
  Alloc,  // cst_safe_alloc, cst_safe_realloc, and every function that takes its memory there
  Free,
  MutexLock,
  MutexUnlock,
  MutexDestroy,
  Count,
};

// One call as it was made.
struct Call {
  Op op;
  // As source text with readable handles, and " = result" once the call has returned:
  //   kavrel_port_open(engine, {events/immediate: 0}) = port 1
  //   kavrel_port_speak_text(port 1, "Hello", 5, null, job 1, null) = 0
  // Strings are cut at 60 bytes here; `argument` has them whole.
  std::string text;
  std::string argument;  // the text to speak, the folder of the voice, a parameter's text; or empty
  int port = 0;          // number of the port that the call names; 0: none
  int job = 0;           // number of the job that the call names or starts; 0: none
  std::thread::id thread;
};

// One diagnostic line as it was written.
struct Diagnostic {
  std::vector<std::string> calls;  // "timestamp", "ffl", "context", "errmsg", in order of the calls
  std::string file;                // the arguments of cst_dbg_ffl
  std::string function;
  int line = 0;
  unsigned int area = 0;  // the argument of cst_dbg_context
  std::string text;       // the message, formatted
  std::thread::id thread;
};

// What callers own at this moment and took after the last reset().
struct Live {
  long blocks = 0;         // of the cst allocator
  long parameterSets = 0;  // kavrel_params_new less kavrel_params_delete
  long values = 0;         // kavrel_val_* not yet handed to a set
  long ports = 0;          // opened and not closed
  long engines = 0;        // opened since the process began
  bool operator==(const Live&) const = default;
};

// Where a script is played.
enum class When {
  InsideSpeak,     // before kavrel_port_speak_text returns, on its thread
  OnEngineThread,  // on the port's thread, as soon as the job has started
};

// What kavrel_port_stop does to a running job besides answering KAVREL_SUCCESS.
enum class OnStop {
  EndsAtOnce,        // END on the port's thread
  EndsBeforeReturn,  // END on the caller's thread
  EndsTwice,         // END on the port's thread, and once more
  EndsSilently,      // the job is over and no END comes
  TestEnds,          // nothing: the job runs until the test calls end()
};

enum class Times { Once, ForGood };

// An event and what kavrel_event_get_text and kavrel_event_get_textpos answer for it.
struct Event {
  kavrel_event_t type = KAVREL_EVENT_NONE;
  std::string text = {};
  int start = 0;
  int length = 0;
  bool nullText = false;  // kavrel_event_get_text stores null
};

// The makers of events, shared by Port and Script. Positions and lengths count bytes of the text
// given to kavrel_port_speak_text.
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

// A list of events to be played later.
class Script : public Events<Script> {
 public:
  void play(const Event& event) { m_events.push_back(event); }
  const std::vector<Event>& events() const { return m_events; }

 private:
  std::vector<Event> m_events;
};

// A port by its number. The functions throw std::logic_error when there is no such port.
class KAVREL_API Port : public Events<Port> {
 public:
  explicit Port(int number) : m_number(number) {}

  // Plays the event to the callback of the port's last job (of the port, before its first job) when
  // its mask holds the event's type. On this thread.
  void play(const Event& event);

  // Plays END of an earlier job, by its number, while another one may be running.
  void endOf(int job);

  bool open() const;
  // The job that was started last has not ended.
  bool running() const;
  bool paused() const;
  // Values are as text: "0", "aiff".
  std::map<std::string, std::string> parameters() const;
  // Folder of the last voice that was loaded; empty: none.
  std::string voice() const;
  kavrel_event_t mask() const;
  // The text of the port's last job.
  std::string text() const;

 private:
  int m_number;
};

class KAVREL_API Engine {
 public:
  // Forgets ports, jobs, scripts, answers, and what was recorded; switches diagnostics off (mask
  // and level 0). The engine handle stays good. Waits for the ports' threads first; false: one of
  // them is held up in a callback after five seconds.
  bool reset();

  // ---- What happened
  // Calls in the order in which they were made, as Call::text.
  std::vector<std::string> calls() const;
  std::vector<std::string> calls(Op op) const;
  std::vector<Call> log() const;
  int count(Op op) const;
  // Whether `op` has been called `times` times; waits for it, ten seconds at most.
  bool waitForCall(Op op, int times = 1) const;
  // Leaves out calls from now on, counting them only; for tests with very many calls.
  void recordCalls(bool on);
  void recordServices(bool on);
  // Starts the log afresh; numbers, answers and objects stay.
  void forgetCalls();

  // Sets cst_diag_mask and cst_diag_level. Other than a plain assignment it may come while threads
  // of the code under test are running; which of their lines are written is then open.
  void setDiagnostics(unsigned int mask, int level);
  std::vector<Diagnostic> diagnostics() const;
  // The texts of diagnostics().
  std::vector<std::string> messages() const;
  // Threads that have prepared a line and not written its message.
  int unfinishedDiagnostics() const;
  void forgetDiagnostics();

  std::vector<std::string> violations() const;
  Live live() const;
  // Lets the memory go that the engine itself holds for what callers keep for good: parameter sets,
  // ports without a running job, jobs that have ended. They count in live() as before, but must not
  // be used again. For tests that measure what the code under test holds.
  void forgetKept();
  // mutex_lock less mutex_unlock.
  long heldLocks() const;

  // ---- How it answers
  // The k-th call of `op` from now on fails (k from 1), or it and every later one: null for a
  // pointer, KAVREL_INTERNAL_ERROR for a result. Nothing else happens in that call, but for those
  // of the mutex: they do their work and answer EINVAL, since no mutex in order is ever refused.
  void fail(Op op, int k = 1, Times times = Times::Once);
  // The k-th call from now on of any operation that can fail, services included.
  void failAnyCall(int k, Times times = Times::Once);
  // How many calls have been made to fail.
  int faultsMet() const;
  // Every call of `op` answers `result` and does nothing else; only for operations with a result.
  void answer(Op op, kavrel_result_t result);
  // As answer(), for the next call that has no such answer yet.
  void answerNext(Op op, kavrel_result_t result);
  // Back to the default answers; undoes fail(), answer() and answerNext().
  void answerAsUsual();
  // `action` runs in every call of `op`, on its thread, after the call is recorded and before it
  // does anything. It may use this class and the C interface. Null switches it off.
  void during(Op op, std::function<void()> action);

  // ---- How jobs run
  // The next job without a script plays `script`.
  void queueJob(Script script, When when = When::InsideSpeak);
  // Every job that finds no queued script plays `script`.
  void everyJob(Script script, When when = When::OnEngineThread);
  void onStop(OnStop mode);
  // kavrel_port_wait answers KAVREL_ENGINE_INUSE, and a violation is noted, when a job has not
  // ended after this time. Ten seconds at the start.
  void setWaitLimit(std::chrono::milliseconds limit);
  // kavrel_port_wait answers KAVREL_ENGINE_INUSE when a job's sound has ended and a callback has
  // not returned after this time. One second at the start.
  void setCallbackPatience(std::chrono::milliseconds patience);

  Port port(int number) { return Port(number); }
  // How many ports have been opened since reset().
  int ports() const;
};

// The engine of this process.
KAVREL_API Engine& engine();

// Whether the engine's own code runs on this thread, not what it calls. For tests that make memory
// run out: the engine's own is not what they are about.
KAVREL_API bool insideEngine();

}  // namespace scripted
