// SPDX-License-Identifier: GPL-3.0-or-later
//
// The one observer of the process (kavrel_observer.h).
//
// Everything here may be called on any thread.
#pragma once

#include "kavrel_observer.h"

namespace kavrel {

// Whether there is one. Costs next to nothing.
bool isObserved();

// Calls it, if there is one; what it throws is kept here. To be called under no lock.
void observe(const kavrel_observation& observation) noexcept;

}  // namespace kavrel
