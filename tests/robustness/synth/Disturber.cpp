// SPDX-License-Identifier: Apache-2.0
#include "Disturber.h"

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace hosts {

namespace {

constexpr milliseconds kSlice{2};

milliseconds randomPause(milliseconds pause, std::mt19937& random) {
  return pause * (25 + static_cast<int>(random() % 175)) / 100;
}

void sleepWhile(const RunningHost& host, milliseconds time) {
  const Clock::time_point end = Clock::now() + time;
  while (host.isRunning() && Clock::now() < end) std::this_thread::sleep_for(kSlice);
}

// Returns 0 if there is none.
pid_t oneOf(const HostFolder& folder, std::mt19937& random) {
  const std::vector<pid_t> processes = folder.processes();
  return processes.empty() ? 0 : processes[random() % processes.size()];
}

bool exists(pid_t process) {
  const char state = stateOf(process);
  return state != '\0' && state != 'Z';
}

}  // namespace

RunningHost::RunningHost(const HostFolder& folder, const std::vector<std::string>& steps)
    : m_file(folder.file("output")),
      m_output(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)),
      m_program(folder.host(), steps, {}, m_output),
      m_thread([this] {
        m_result = m_program.finish();
        m_ended = true;
      }) {}

RunningHost::~RunningHost() {
  if (!m_ended) m_program.sendSignal(SIGKILL);
  if (m_thread.joinable()) m_thread.join();
  ::close(m_output);
}

std::size_t RunningHost::outputSize() const {
  return std::filesystem::file_size(m_file);
}

bool RunningHost::hasWritten(const std::string& text) const {
  return program::contentsOf(m_file).find(text) != std::string::npos;
}

program::Result RunningHost::finish() {
  m_thread.join();
  m_result.out = program::contentsOf(m_file);
  return m_result;
}

int killWhileRunning(const HostFolder& folder, const RunningHost& host, milliseconds pause,
                     int most, std::mt19937& random, const std::string& last) {
  const auto isOver = [&] { return !last.empty() && host.hasWritten(last); };
  int killed = 0;
  while (host.isRunning() && killed < most && !isOver()) {
    sleepWhile(host, randomPause(pause, random));
    const pid_t process = oneOf(folder, random);
    if (process != 0 && ::kill(process, SIGKILL) == 0) ++killed;
  }
  return killed;
}

int stopWhileRunning(const HostFolder& folder, const RunningHost& host, milliseconds pause,
                     int most, std::mt19937& random) {
  constexpr std::size_t kSomeSentences = 6000;
  int stopped = 0;
  while (host.isRunning() && stopped < most) {
    sleepWhile(host, randomPause(pause, random));
    const pid_t process = oneOf(folder, random);
    if (process == 0 || ::kill(process, SIGSTOP) != 0) continue;
    ++stopped;
    while (host.isRunning() && exists(process)) std::this_thread::sleep_for(kSlice);
    if (exists(process)) ::kill(process, SIGKILL);
    const std::size_t size = host.outputSize();
    while (host.isRunning() && host.outputSize() < size + kSomeSentences) {
      std::this_thread::sleep_for(kSlice);
    }
  }
  return stopped;
}

}  // namespace hosts
