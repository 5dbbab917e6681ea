// SPDX-License-Identifier: GPL-3.0-or-later
//
// What a forked worker does: it waits for one call, speaks it, sends the results, and exits.
#pragma once

#include <sys/types.h>

#include "sandbox.h"

namespace kavrel {

// Exit statuses of a worker.
inline constexpr int kWorkerDone = 0;
inline constexpr int kWorkerClientGone = 1;
inline constexpr int kWorkerFailed = 2;
inline constexpr int kWorkerNoCall = 3;  // the client closed the socket, was idle, or sent garbage

// CPU time of a worker. No honest call takes half a second; this ends an endless loop.
inline constexpr unsigned kCallSeconds = 5;

// `parent` is the template that forked this process. Returns the exit status of a worker that has
// not spoken; one that has spoken exits in here.
int runWorker(const Sandbox& sandbox, pid_t parent);

}  // namespace kavrel
