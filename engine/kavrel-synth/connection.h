// SPDX-License-Identifier: GPL-3.0-or-later
//
// The socket to the client (descriptor 0) and the pipe on which the template reports a worker that
// ended badly (descriptor 3).
//
// Threads: one thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <sys/types.h>

#include "synth/synth_protocol.h"

namespace kavrel::connection {

inline constexpr int kSocket = 0;
inline constexpr int kReport = 3;

// A descriptor of a process, for poll() and signals; -1 if the system has none.
int openProcess(pid_t process);

// Sends all bytes; waits while the client reads slowly. Returns false if the client is gone.
bool send(std::span<const std::byte> bytes);

// Ready is sent in two parts. The first, its header, comes with a descriptor of this process, so
// that the client can end it while it starts; without the descriptor if the system has none.
bool beginReady();
bool endReady(const synth_protocol::Ready& ready);

// Waits for a frame, at most `milliseconds`. Reads not one byte beyond it, since a worker reads
// what follows. Returns false if none came, the client is gone, or what it sent is garbage.
bool receive(synth_protocol::FrameReader& reader, synth_protocol::Frame& frame, int milliseconds);

// What the client has sent meanwhile, in a worker.
enum class Meanwhile { Nothing, Cancel, Gone };
Meanwhile look(std::uint32_t call);

}  // namespace kavrel::connection
