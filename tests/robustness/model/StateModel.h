// SPDX-License-Identifier: Apache-2.0
//
// The state table of a channel, small enough to be seen to be right, and blind to what it cannot
// know: worker threads run when they like, so the model keeps every state that the channel may be
// in and drops those that an answer rules out. None left means that the channel left the table.
#pragma once

#include <compare>
#include <set>
#include <string>

#include "SpeechChannel.h"

namespace model {

struct State {
  channel_status_t status = STATUS_IDLE;
  bool running = false;     // the engine speaks the job
  bool endsItself = false;  // and may end it at any moment
  bool unfinished = false;  // the channel has a job that nobody has finished
  bool ended = false;       // its finishing thread is on its way
  int signalling = 0;       // signalling threads on their way
  int signalled = 0;        // those that have made the channel idle, since it was opened

  auto operator<=>(const State&) const = default;
};

class StateModel {
 public:
  StateModel() : m_states{State()} {}

  // The calls, with what they answered; false when no state of the table allows that answer.
  bool speak(long answer, bool endsItself);
  bool pause(long answer);
  bool unpause(long answer);
  bool stop(long answer);
  bool status(bool busy, bool paused);
  // END of the job that the engine speaks, or once more of one that has ended.
  bool end();
  // All threads are gone, and speech-done has been called that often.
  bool settled(int signalled);

  // Adds what the threads on their way may make of the states. Every other function begins with it,
  // closed() aside.
  void letThreadsRun();

  // How many speech-done calls a close leaves behind: for every job one, and for each pause of a
  // channel without a job that a stop has ended, one more at most.
  bool closed(int signalled) const;

  // One of the states, for messages.
  std::string text() const;

 private:
  template <typename Step>
  bool step(Step allows);
  static void finish(State& state);

  std::set<State> m_states;
  int m_jobs = 0;
};

}  // namespace model
