// SPDX-License-Identifier: Apache-2.0
//
// ManagerThread: starts the threads of the Manager. Stateless; safe on any thread.
#pragma once

#include <functional>

namespace platform {

// Runs `work` on a new detached thread, which blocks all signals: a client's signal handlers run on
// the client's threads. Throws std::system_error or std::bad_alloc if no thread can be started.
void startThread(std::function<void()> work);

}  // namespace platform
