// SPDX-License-Identifier: Apache-2.0
//
// The faulty engine: makes the scripted engine fail at a call or misbehave; every way has a name.
// It uses the public interface of the scripted engine, so tests still use that interface to inspect
// calls and to play events.
//
// Threads: the functions run on the test's thread; misbehaviours play their events there, or on
// threads of their own that have exited when the call returns.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ScriptedEngine.h"

namespace faulty {

// A way to fail: an operation of the engine that fails at one call, or from one call on.
struct Fault {
  scripted::Op op;
  scripted::Times times;
  std::string name() const;  // "kavrel_port_open, for good"
};

// Every operation that the plug-in uses and that can fail, in both ways. Opening the engine is not
// included, since it happens once in a process.
std::vector<Fault> allFaults();

// Runs `use` with the fault at call 1, 2, 3 ... of its operation until a run meets no fault, and
// runs `check` after each, with the engine working again. Returns how many runs met the fault; -1
// if every run up to a limit of 10 000 did.
int sweep(const Fault& fault, const std::function<void()>& use,
          const std::function<void(int k)>& check);

// Something that an engine must not do. `before` runs before a job is started; `during` runs while
// the job should be running, on the port of the job; `after` runs when the channel has been stopped
// or has reported the end.
struct Misbehaviour {
  std::string name;
  std::function<void()> before;
  std::function<void(scripted::Port)> during;
  std::function<void(scripted::Port)> after;
  bool ends = false;  // `during` ends the job
};

std::vector<Misbehaviour> misbehaviours();

// Events with invalid or extreme positions, lengths, names and texts, for a text of that many
// bytes.
std::vector<scripted::Event> oddEvents(int textLength);

}  // namespace faulty
