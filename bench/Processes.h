// SPDX-License-Identifier: Apache-2.0
//
// Programs that workloads run, and what they run on.
//
// Threads: one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/types.h>

namespace bench {

using Command = std::vector<std::string>;

// Runs a program and waits for its end. Returns its wall-clock time in seconds; nullopt if it
// fails.
std::optional<double> run(const Command& command);

// Runs a program that prints numbers, and returns them; empty if it fails. `exitStatus` may be
// null.
std::vector<double> runForNumbers(const Command& command, int* exitStatus = nullptr);

// A folder that the destructor removes with its files.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string operator/(const std::string& name) const { return m_path + "/" + name; }
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

// Restricts the calling thread, and the processes that it starts, to the first `count` of its
// processors. The destructor lifts the restriction for the thread.
class Processors {
 public:
  explicit Processors(int count);
  ~Processors();
  Processors(const Processors&) = delete;
  Processors& operator=(const Processors&) = delete;

  // How many the calling thread may use.
  static int available();

 private:
  cpu_set_t m_before{};
};

// A sound server with a device that nobody hears, for the processes that are started with its
// environment. It exits with its user, or some seconds after the last client.
class SoundServer {
 public:
  SoundServer();
  ~SoundServer();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  // False if no server runs: the program is missing or does not start.
  bool isRunning() const { return m_running; }
  // `command` in the environment in which programs find this server only.
  Command reach(Command command) const;

 private:
  ScratchFolder m_folder;
  pid_t m_process = -1;
  bool m_running = false;
};

}  // namespace bench
