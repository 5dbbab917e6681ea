// SPDX-License-Identifier: GPL-3.0-or-later
//
// Parameter sets as the C interface hands them out, and the settings that a port reads from them.
//
// Hosts may leave sets unreleased, one for every job, so a set is kept as small as it can be: a
// list of values, each one block that holds its text and, where it is none of ours, its key.
#pragma once

#include <string>

#include "kavrel.h"

namespace kavrel {

// What the engine reads from a port's parameters.
struct PortSettings {
  std::string audioDevice;  // empty: the default one
  std::string outputFile;   // empty: the sound output
  std::string outputFormat = "aiff";
  bool eventsImmediate = false;

  // Takes over what `params` sets, leaves the rest; null sets nothing.
  void apply(const kavrel_params* params);
};

// What the engine reads from an engine's parameters: true when the synthesiser is to start at once.
bool wantsPreload(const kavrel_params* params);

}  // namespace kavrel
