// SPDX-License-Identifier: Apache-2.0
//
// The faulty engine: the scripted engine, made to fail at a call or to misbehave, each in a way
// that has a name. What it does is done through the scripted engine's interface, so tests go on
// using that one to look at calls and to play events.
//
// Threads: the functions run on the test's thread; misbehaviours play their events there, or on
// threads of their own that have ended when play() returns.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ScriptedEngine.h"

namespace faulty {

// A way to fail: an operation of the engine, at one call or from one call on.
struct Fault {
  scripted::Op op;
  scripted::Times times;
  std::string name() const;  // "kavrel_port_open, for good"
};

// Every operation that the plug-in uses and that can fail while it runs, both ways. The opening of
// the engine is not among them: it happens once in a process.
std::vector<Fault> allFaults();

// Runs `use` with the fault at call 1, 2, 3 ... of its operation, until a run meets no fault, and
// `check` after each with the engine back in order. Answers how many runs met the fault; -1 when
// there is no end to them.
int sweep(const Fault& fault, const std::function<void()>& use,
          const std::function<void(int k)>& check);

// What an engine does that no engine should. `before` runs before a job is started, `during` while
// it should be running, on the port of the job; `after` when the channel has been stopped or its
// end been signalled.
struct Misbehaviour {
  std::string name;
  std::function<void()> before;
  std::function<void(scripted::Port)> during;
  std::function<void(scripted::Port)> after;
  bool ends = false;  // `during` ends the job
};

std::vector<Misbehaviour> misbehaviours();

// Events that say odd things of a text of that many bytes: positions, lengths, names, texts.
std::vector<scripted::Event> oddEvents(int textLength);

}  // namespace faulty
