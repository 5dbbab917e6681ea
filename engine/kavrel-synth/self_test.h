// SPDX-License-Identifier: GPL-3.0-or-later
//
// Tries, inside the sandbox, each kind of system call that it must refuse.
#pragma once

namespace kavrel {

// Prints one line for each attempt, in the template and in a worker: "NAME: refused", "NAME:
// ALLOWED", or "NAME: not checked" where the system lacks the protection. Returns 0 if everything
// that can be refused was, and what speaking needs was allowed; else 1.
int selfTest();

}  // namespace kavrel
