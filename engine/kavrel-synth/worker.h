// SPDX-License-Identifier: GPL-3.0-or-later
//
// What a forked worker does: it speaks one call, sends the results, and exits.
#pragma once

#include <cstdint>

#include <sys/types.h>

#include "sandbox.h"
#include "synth/synth_protocol.h"

namespace kavrel {

// Exit statuses of a worker.
inline constexpr int kWorkerDone = 0;
inline constexpr int kWorkerClientGone = 1;
inline constexpr int kWorkerFailed = 2;

// `parent` is the template that forked this process. Returns the exit status.
int runWorker(const Sandbox& sandbox, pid_t parent, std::uint32_t call,
              const synth_protocol::Speak& speak, const std::wstring& text);

}  // namespace kavrel
