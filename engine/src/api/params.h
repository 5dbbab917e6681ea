// SPDX-License-Identifier: Apache-2.0
//
// Parameter sets of the C interface, and the settings that a port reads from them.
//
// A set is a singly linked list of values; a lookup is a linear search, since a set has a few
// values at most. Hosts may leak sets, one for every job, so a set is kept small: each value is one
// block that holds its text and, only for keys unknown to the engine, its key.
//
// Threads: a set is used by one thread at a time, as kavrel.h says; so is a PortSettings.
#pragma once

#include <string>

#include "kavrel.h"

namespace kavrel {

// The settings that a port reads from its parameters.
struct PortSettings {
  std::string audioDevice;  // empty: the default one
  std::string outputFile;   // empty: the sound device
  std::string outputFormat = "aiff";
  bool eventsImmediate = false;
  bool oneVoice = false;  // no other voice for words in another script

  // Overwrites the settings that `params` contains, and keeps the others. Null changes nothing. A
  // value of the wrong type is ignored.
  void apply(const kavrel_params* params);
};

// Returns true if an engine's parameters request to start the synthesiser when the engine is
// opened.
bool wantsPreload(const kavrel_params* params);

}  // namespace kavrel
