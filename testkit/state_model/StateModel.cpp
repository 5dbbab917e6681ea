// SPDX-License-Identifier: Apache-2.0
#include "state_model/StateModel.h"

#include <ApplicationServices/ApplicationServices.h>

#include <deque>

namespace model {

namespace {

bool isActive(const State& state) {
  return state.status == Status::Busy || state.status == Status::Paused;
}

}  // namespace

// Applies `allows` to every state; keeps the changed states for which it returns true.
template <typename Step>
bool StateModel::step(Step allows) {
  letThreadsRun();
  std::set<State> after;
  for (State state : m_states) {
    if (allows(state)) after.insert(state);
  }
  m_states = std::move(after);
  return !m_states.empty();
}

// A breadth-first search of the states that are reachable by steps of the threads.
void StateModel::letThreadsRun() {
  if (m_inTextDone) return;
  std::deque<State> open(m_states.begin(), m_states.end());
  const auto reach = [&](const State& state) {
    if (m_states.insert(state).second) open.push_back(state);
  };
  for (; !open.empty(); open.pop_front()) {
    const State now = open.front();
    if (now.running && now.endsItself) {
      State next = now;
      next.running = false;
      next.ended = now.unfinished;
      reach(next);
    }
    if (now.ended && isActive(now)) {
      State next = now;
      finish(next);
      reach(next);
    }
    if (now.signalling > 0) {
      State next = now;
      --next.signalling;
      ++next.signalled;
      if (!now.unfinished) next.status = Status::Idle;
      reach(next);
    }
  }
}

// One speech-done per job. A channel that has become active without a job is finished, too, but
// signalled only if no earlier signal is due.
void StateModel::finish(State& state) const {
  if (state.running && m_inPortCallback) state.lingering = true;
  if (state.unfinished || state.signalling == 0) ++state.signalling;
  state.status = Status::Closing;
  state.running = false;
  state.unfinished = false;
  state.ended = false;
}

void StateModel::begin(State& state, bool endsItself) {
  state.status = Status::Busy;
  state.running = true;
  state.endsItself = endsItself;
  state.unfinished = true;
}

bool StateModel::speak(long result, bool endsItself) {
  return step([&](State& state) {
    if (m_inTextDone || state.status != Status::Idle) return result == synthNotReady;
    begin(state, endsItself);
    return result == noErr;
  });
}

void StateModel::leaveTextDone() {
  m_inTextDone = false;
  std::set<State> after;
  for (State state : m_states) {
    begin(state, true);
    after.insert(state);
  }
  m_states = std::move(after);
}

bool StateModel::pause(long result) {
  return step([&](State& state) {
    if (state.status == Status::Paused) return result == noErr;
    state.status = Status::Paused;
    const bool found = state.running || (state.lingering && !state.unfinished);
    return result == (found ? 0 : -1);
  });
}

bool StateModel::unpause(long result) {
  return step([&](State& state) {
    if (state.status != Status::Paused) return result == noErr;
    state.status = Status::Busy;
    const bool found = state.running || (state.lingering && !state.unfinished);
    return result == (found ? 0 : -1);
  });
}

bool StateModel::stop(long result) {
  return step([&](State& state) {
    if (isActive(state)) finish(state);
    return result == noErr;
  });
}

bool StateModel::close() {
  return stop(noErr);
}

bool StateModel::status(bool busy, bool paused) {
  return step([&](State& state) {
    return busy == (state.status == Status::Busy) && paused == (state.status == Status::Paused);
  });
}

bool StateModel::end() {
  return step([](State& state) {
    state.running = false;
    state.ended = state.unfinished;
    return true;
  });
}

bool StateModel::settled(int signalled) {
  return step([&](State& state) {
    const bool still =
        state.signalling == 0 && !state.ended && !(state.running && state.endsItself);
    return still && state.signalled == signalled;
  });
}

void StateModel::leavePortCallback() {
  m_inPortCallback = false;
  std::set<State> after;
  for (State state : m_states) {
    state.lingering = false;
    state.endsItself = true;
    after.insert(state);
  }
  m_states = std::move(after);
}

std::string StateModel::text() const {
  if (m_states.empty()) return "none";
  static constexpr const char* kNames[] = {"idle", "busy", "paused", "closing"};
  const State& state = *m_states.begin();
  return std::string(kNames[static_cast<int>(state.status)]) + (state.running ? ", running" : "") +
         (state.endsItself ? ", ends itself" : "") + (state.lingering ? ", lingering" : "") +
         (state.unfinished ? ", unfinished" : "") + (state.ended ? ", ended" : "") +
         ", signalling " + std::to_string(state.signalling) + ", signalled " +
         std::to_string(state.signalled) + ", one of " + std::to_string(m_states.size());
}

}  // namespace model
