// SPDX-License-Identifier: Apache-2.0
//
// How exact a measurement is, and what the engine has to say meanwhile.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "SoundServer.h"

namespace test {

// Silence of this length is the end of what there is to hear, if no pause was asked for.
constexpr std::chrono::milliseconds kQuiet(300);

// What the device renders ahead and the recorder gathers, in milliseconds: no time of a recording
// is more exact.
constexpr double kResolution = 20;

inline double inMilliseconds(Clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

// How late a thread of this process gets its turn at worst, in milliseconds, while the object
// lives: what the machine adds to all times that are measured here.
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

// Gathers what is written to standard error, with the engine's diagnostic lines switched on.
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
