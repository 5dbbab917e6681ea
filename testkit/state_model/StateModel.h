// SPDX-License-Identifier: Apache-2.0
//
// A model of a channel's state table: a nondeterministic state machine. A test cannot know when
// worker threads run, so the model keeps the set of all states that the channel may be in, and
// drops those that contradict a result. An empty set means that the channel has violated the table.
//
// The model assumes the scripted engine: a pause succeeds if it finds a job that has not ended, a
// stop always succeeds, and a stop inside a callback of the channel's port ends the job only after
// the callback has returned.
//
// Threads: one.
#pragma once

#include <compare>
#include <set>
#include <string>

namespace model {

enum class Status { Idle, Busy, Paused, Closing };

struct State {
  Status status = Status::Idle;
  bool running = false;     // the engine is speaking the job
  bool endsItself = false;  // the engine may end the job at any time
  bool lingering = false;   // a stopped job has not ended, since the port is in a callback
  bool unfinished = false;  // the channel has a job that is not finished
  bool ended = false;       // the job's finishing thread has been started
  int signalling = 0;       // number of signalling threads in progress
  int signalled = 0;        // number of signalling threads that have made the channel idle

  auto operator<=>(const State&) const = default;
};

class StateModel {
 public:
  StateModel() : m_states{State()} {}

  // The calls with their results. Each returns false if no state of the table allows the result.
  bool speak(long result, bool endsItself);
  bool pause(long result);
  bool unpause(long result);
  bool stop(long result);
  bool status(bool busy, bool paused);
  // A close: the channel is stopped. Later calls are not in the model.
  bool close();
  // END of the job that the engine is speaking, or a second END of one that has ended.
  bool end();
  // All threads have exited, and speech-done has been called `signalled` times.
  bool settled(int signalled);

  // The test calls from inside a callback on the port's thread: no job of the channel ends.
  void enterPortCallback() { m_inPortCallback = true; }
  // From now on all jobs may end at any time.
  void leavePortCallback();

  // The test calls from inside text-done: the thread holds the channel's lock, so no thread of the
  // channel takes a step, and a speak is rejected in every state.
  void enterTextDone() { m_inTextDone = true; }
  // The speak that called text-done starts its job, whatever the status.
  void leaveTextDone();
  // The channel has been closed inside text-done; the speak starts no job.
  void cancelTextDone() { m_inTextDone = false; }

  // Adds all states that the threads in progress may lead to. Every other function begins with it.
  void letThreadsRun();

  // One of the states as text, for messages.
  std::string text() const;

 private:
  template <typename Step>
  bool step(Step allows);
  void finish(State& state) const;
  static void begin(State& state, bool endsItself);

  std::set<State> m_states;
  bool m_inPortCallback = false;
  bool m_inTextDone = false;
};

}  // namespace model
