// SPDX-License-Identifier: Apache-2.0
//
// ManagerThread: how the Manager starts threads of its own.
#pragma once

#include <functional>

namespace platform {

// Runs `work` on a thread of its own, which nobody waits for and which takes no signals: a client's
// handlers run on the client's threads. Throws std::system_error or std::bad_alloc when there is no
// thread to be had.
void startThread(std::function<void()> work);

}  // namespace platform
