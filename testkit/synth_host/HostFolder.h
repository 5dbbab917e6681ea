// SPDX-License-Identifier: Apache-2.0
//
// A temporary folder with a copy of synth_host, and of a synthesiser where the engine in that host
// looks for it. So the test knows the synthesiser processes of its own hosts, and can replace their
// program, without any means for that in the engine.
//
// Threads: const functions may be called on any thread. Functions throw std::runtime_error or
// std::filesystem::filesystem_error if the system refuses files or processes.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

#include "programs/Program.h"

namespace hosts {

class HostFolder {
 public:
  enum class Synthesiser { Real, Scripted, None };

  explicit HostFolder(Synthesiser synthesiser = Synthesiser::Real);
  // Ends the synthesiser processes that are left, and removes the folder.
  ~HostFolder();
  HostFolder(const HostFolder&) = delete;
  HostFolder& operator=(const HostFolder&) = delete;

  // Path of the host; its arguments are described in synth_host.cpp.
  std::string host() const { return m_folder.file("bin/synth_host"); }
  std::string synthesiser() const { return m_folder.file("libexec/kavrel/kavrel-synth"); }
  std::string file(const std::string& name) const { return m_folder.file(name); }
  std::string write(const std::string& name, const std::string& contents) const {
    return m_folder.write(name, contents);
  }

  // Runs a host to its end.
  program::Result run(const std::vector<std::string>& steps) const;
  // Runs it by a shell, which executes `preparation` first.
  program::Result runAfter(const std::string& preparation,
                           const std::vector<std::string>& steps) const;

  // The processes of all hosts' synthesisers: starters, templates and workers.
  std::vector<pid_t> processes() const;
  // Waits until there are none; returns false if there are some after `limit`.
  bool processesEnd(std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

 private:
  program::Folder m_folder;
};

// The lines of an output, and those whose first word is `kind`.
std::vector<std::string> linesOf(const std::string& out);
std::vector<std::string> linesOf(const std::string& out, const std::string& kind);

// The state of a process in /proc, "R" for example, and its parent; 0 if there is no process.
char stateOf(pid_t process);
pid_t parentOf(pid_t process);

}  // namespace hosts
