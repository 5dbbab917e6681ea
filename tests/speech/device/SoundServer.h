// SPDX-License-Identifier: Apache-2.0
//
// A private sound server with two null devices, and a recorder of one of them. Both run in child
// processes that end with the test, however it ends.
//
// The devices use the engine's sample format, so that the recording equals the played samples.
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

// A child process that runs until the object is destroyed or kill() is called.
class Child {
 public:
  // `output`: the descriptor for its standard output; -1 inherits ours.
  explicit Child(const std::vector<std::string>& command, int output = -1);
  ~Child() { kill(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // Sends SIGKILL and waits for the process.
  void kill();
  void send(int signal) const;
  bool isRunning();

 private:
  pid_t m_process = -1;
};

// During its lifetime, the engine of this process finds only this server.
class SoundServer {
 public:
  // Fails the test if the server does not start; the package is required (scripts/packages.txt).
  SoundServer();

  // Starts no server yet.
  struct Stopped {};
  explicit SoundServer(Stopped);

  void start();
  void kill() { m_child.reset(); }

  // The server stands still from the first call to the second: connections stay open, and nothing
  // responds.
  void suspend() const;
  void resume() const;

 private:
  void launch();
  bool accepts() const;

  const Folder m_folder;
  std::unique_ptr<Child> m_child;
};

// A recording: samples, and the times at which they were recorded.
struct Recording {
  std::vector<std::int16_t> samples;
  // The total number of samples after each block, and its time.
  std::vector<std::pair<std::size_t, Clock::time_point>> blocks;

  // The time at which a sample was played, given the earliest start that any block implies.
  Clock::time_point timeOf(std::size_t sample) const;

  // The first and the last sample that is not silent; both 0 if all are silent.
  std::size_t firstSound() const;
  std::size_t lastSound() const;
};

// Records a device from construction on.
class Recorder {
 public:
  explicit Recorder(const std::string& device = kDevice);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Waits for this much silence and returns the recording.
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
