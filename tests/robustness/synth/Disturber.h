// SPDX-License-Identifier: Apache-2.0
//
// Hosts whose synthesiser processes are killed or stopped while they speak.
//
// Threads: an object belongs to one thread; it has one of its own for the host.
#pragma once

#include <atomic>
#include <chrono>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "synth_host/HostFolder.h"

namespace hosts {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A host that runs. Its standard output goes to a file.
class RunningHost {
 public:
  RunningHost(const HostFolder& folder, const std::vector<std::string>& steps);
  // Kills the host if it still runs.
  ~RunningHost();
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;

  bool isRunning() const { return !m_ended; }
  // Bytes of standard output so far.
  std::size_t outputSize() const;
  // Returns true if `text` is part of standard output so far.
  bool hasWritten(const std::string& text) const;
  // Waits for the host's end. The output is in `out` of the result.
  program::Result finish();

 private:
  const std::string m_file;
  const int m_output;
  program::Running m_program;
  program::Result m_result;
  std::atomic<bool> m_ended{false};
  std::thread m_thread;
};

// Kills random synthesiser processes of `folder`, one after a random time of a quarter to twice
// `pause`, until `most` have been killed, the host has ended, or it has written `last`, unless that
// is empty. Returns how many were.
int killWhileRunning(const HostFolder& folder, const RunningHost& host, milliseconds pause,
                     int most, std::mt19937& random, const std::string& last = {});

// Stops random processes until `most` have been stopped or the host has ended; returns how many
// were. One process at a time is stopped: after the engine has got rid of it, the next one is
// stopped when some sentences more have been spoken, since a call that blocks twice counts as
// unspeakable. A stopped process that nobody uses is killed when the host has ended.
int stopWhileRunning(const HostFolder& folder, const RunningHost& host, milliseconds pause,
                     int most, std::mt19937& random);

}  // namespace hosts
