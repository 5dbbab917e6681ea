// SPDX-License-Identifier: Apache-2.0
//
// A model of a channel's state table: a nondeterministic state machine. The test cannot know when
// worker threads run, so the model keeps the set of all states that the channel may be in, and
// drops those that contradict a result. An empty set means that the channel has violated the table.
//
// Threads: one.
#pragma once

#include <compare>
#include <set>
#include <string>

#include "SpeechChannel.h"

namespace model {

struct State {
  channel_status_t status = STATUS_IDLE;
  bool running = false;     // the engine is speaking the job
  bool endsItself = false;  // the engine may end the job at any time
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
  // END of the job that the engine is speaking, or a second END of one that has ended.
  bool end();
  // All threads have exited, and speech-done has been called `signalled` times.
  bool settled(int signalled);

  // Adds all states that the threads in progress may lead to. Every other function except closed()
  // begins with it.
  void letThreadsRun();

  // Whether `signalled` speech-done calls are possible after a close: one for every job, and at
  // most one more for each pause of a channel without a job that a stop has ended.
  bool closed(int signalled) const;

  // One of the states as text, for messages.
  std::string text() const;

 private:
  template <typename Step>
  bool step(Step allows);
  static void finish(State& state);

  std::set<State> m_states;
  int m_jobs = 0;
};

}  // namespace model
