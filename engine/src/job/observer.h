// SPDX-License-Identifier: Apache-2.0
//
// The one observer of the process (kavrel_observer.h).
//
// Threads: all functions may be called on any thread.
#pragma once

#include "kavrel_observer.h"

namespace kavrel {

// Returns true if there is an observer. One atomic load.
bool isObserved();

// Calls the observer, if there is one. Exceptions are caught and reported as a diagnostic line. The
// caller must hold no lock.
void observe(const kavrel_observation& observation) noexcept;

}  // namespace kavrel
