// SPDX-License-Identifier: Apache-2.0
//
// The accuracy of a measurement, and the engine's diagnostic lines during it.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "SoundServer.h"

namespace test {

// Silence of this length ends a recording, unless a pause was requested.
constexpr std::chrono::milliseconds kQuiet(300);

// The device renders ahead and the recorder reads in blocks, by this many milliseconds: times in a
// recording are no more accurate.
constexpr double kResolution = 20;

inline double inMilliseconds(Clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

// Measures the worst delay in scheduling a thread of this process, in milliseconds, during the
// lifetime of the object: the machine's contribution to all measured times.
class Lateness {
 public:
  Lateness() : m_thread([this] { run(); }) {}
  ~Lateness();
  Lateness(const Lateness&) = delete;
  Lateness& operator=(const Lateness&) = delete;

  double worst() const { return m_worst; }

 private:
  void run();

  std::atomic<bool> m_over = false;
  std::atomic<double> m_worst = 0;
  std::thread m_thread;
};

// Collects what is written to standard error, with the engine's diagnostic lines enabled.
class Diagnostics {
 public:
  Diagnostics();
  ~Diagnostics();
  Diagnostics(const Diagnostics&) = delete;
  Diagnostics& operator=(const Diagnostics&) = delete;

  std::vector<std::string> lines() const;

 private:
  const Folder m_folder;
  int m_saved = -1;
};

}  // namespace test
