// SPDX-License-Identifier: Apache-2.0
//
// A sound server of the test's own, with two devices that play into nothing, and a recorder of what
// one of them plays. Both run in child processes that end with the test, however it ends.
//
// The devices have the engine's own format, so that what is heard is, to the sample, what was
// played.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "speakers/PortSpeaker.h"

namespace test {

using Clock = std::chrono::steady_clock;

constexpr int kRate = 22050;
constexpr const char* kDevice = "nowhere";  // the default one
constexpr const char* kOtherDevice = "elsewhere";

// A program that runs until the object goes, or until it is killed.
class Child {
 public:
  // `output`: the descriptor that becomes its standard output; -1 leaves ours.
  explicit Child(const std::vector<std::string>& command, int output = -1);
  ~Child() { kill(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // As by kill -9; returns when it is gone.
  void kill();
  bool isRunning();

 private:
  pid_t m_process = -1;
};

// While it lives, the engine of this process finds this server and no other.
class SoundServer {
 public:
  // Fails the test when the server does not start; it is needed (scripts/packages.txt).
  SoundServer();

  // Without a server running at first.
  struct Stopped {};
  explicit SoundServer(Stopped);

  void start();
  void kill() { m_child.reset(); }

 private:
  void launch();
  bool accepts() const;

  const Folder m_folder;
  std::unique_ptr<Child> m_child;
};

// What has been heard: samples, and when which of them were.
struct Recording {
  std::vector<std::int16_t> samples;
  // How many samples there were, and when, block by block.
  std::vector<std::pair<std::size_t, Clock::time_point>> blocks;

  // When a sample was played; no block came earlier, measured by its last sample.
  Clock::time_point timeOf(std::size_t sample) const;

  // The first and the last sample that is not silent; both 0 for none.
  std::size_t firstSound() const;
  std::size_t lastSound() const;
};

// Records a device from the moment it is made.
class Recorder {
 public:
  explicit Recorder(const std::string& device = kDevice);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // What there is when it has been silent for so long.
  Recording whenSilentFor(std::chrono::milliseconds time);
  Recording soFar() const;

 private:
  void run();

  int m_pipe = -1;
  std::unique_ptr<Child> m_child;
  mutable std::mutex m_lock;
  std::condition_variable m_more;
  Recording m_recording;
  std::thread m_thread;
};

}  // namespace test
