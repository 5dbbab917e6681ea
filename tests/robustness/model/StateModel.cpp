// SPDX-License-Identifier: Apache-2.0
#include "StateModel.h"

#include <algorithm>
#include <deque>

namespace model {

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
    if (now.ended && (now.status == STATUS_BUSY || now.status == STATUS_PAUSED)) {
      State next = now;
      finish(next);
      reach(next);
    }
    if (now.signalling > 0) {
      State next = now;
      --next.signalling;
      ++next.signalled;
      if (!now.unfinished) next.status = STATUS_IDLE;
      reach(next);
    }
  }
}

void StateModel::finish(State& state) {
  state.status = STATUS_CLOSING;
  state.running = false;
  state.unfinished = false;
  state.ended = false;
  ++state.signalling;
}

bool StateModel::speak(long result, bool endsItself) {
  if (result == noErr) ++m_jobs;
  return step([&](State& state) {
    if (state.status != STATUS_IDLE) return result == synthNotReady;
    state.status = STATUS_BUSY;
    state.running = true;
    state.endsItself = endsItself;
    state.unfinished = true;
    return result == noErr;
  });
}

bool StateModel::pause(long result) {
  return step([&](State& state) {
    if (state.status == STATUS_PAUSED) return result == noErr;
    state.status = STATUS_PAUSED;
    return result == (state.running ? 0 : -1);
  });
}

bool StateModel::unpause(long result) {
  return step([&](State& state) {
    if (state.status != STATUS_PAUSED) return result == noErr;
    state.status = STATUS_BUSY;
    return result == (state.running ? 0 : -1);
  });
}

bool StateModel::stop(long result) {
  return step([&](State& state) {
    if (state.status == STATUS_BUSY || state.status == STATUS_PAUSED) finish(state);
    return result == noErr;
  });
}

bool StateModel::status(bool busy, bool paused) {
  return step([&](State& state) {
    return busy == (state.status == STATUS_BUSY) && paused == (state.status == STATUS_PAUSED);
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

bool StateModel::closed(int signalled) const {
  return std::any_of(m_states.begin(), m_states.end(), [&](const State& state) {
    const bool stopped = state.status == STATUS_BUSY || state.status == STATUS_PAUSED;
    const int most = state.signalled + state.signalling + (stopped ? 1 : 0);
    return signalled >= m_jobs && signalled <= most;
  });
}

std::string StateModel::text() const {
  if (m_states.empty()) return "none";
  static constexpr const char* kNames[] = {"idle", "busy", "paused", "closing"};
  const State& state = *m_states.begin();
  return std::string(kNames[state.status]) + (state.running ? ", running" : "") +
         (state.endsItself ? ", ends itself" : "") + (state.unfinished ? ", unfinished" : "") +
         (state.ended ? ", ended" : "") + ", signalling " + std::to_string(state.signalling) +
         ", signalled " + std::to_string(state.signalled) + ", one of " +
         std::to_string(m_states.size());
}

}  // namespace model
