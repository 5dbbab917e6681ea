// SPDX-License-Identifier: Apache-2.0
#include "synth_host/HostFolder.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace hosts {

namespace {

namespace fs = std::filesystem;

// Other users may run what is in it: hosts that give up their rights. Another process copies: if
// this one had the file open for writing, a process that another thread starts meanwhile would have
// it, too, and a file that is open for writing cannot be executed.
void copyProgram(const std::string& from, const std::string& to) {
  fs::create_directories(fs::path(to).parent_path());
  const program::Result copied = program::run("/bin/cp", {from, to});
  if (copied.status != 0) throw std::runtime_error(copied.err);
  fs::permissions(to, fs::perms(0755));
}

// The fields of /proc/PID/stat after the name, which is in brackets.
std::string fieldsOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t name = line.rfind(") ");
  return name == std::string::npos ? std::string() : line.substr(name + 2);
}

}  // namespace

HostFolder::HostFolder(Synthesiser synthesiser) {
  fs::permissions(m_folder.file("."), fs::perms(0755));
  copyProgram(KAVREL_SYNTH_HOST, host());
  if (synthesiser == Synthesiser::Real) copyProgram(KAVREL_REAL_SYNTH, this->synthesiser());
  if (synthesiser == Synthesiser::Scripted) copyProgram(KAVREL_SCRIPTED_SYNTH, this->synthesiser());
}

HostFolder::~HostFolder() {
  for (const pid_t process : processes()) ::kill(process, SIGKILL);
}

program::Result HostFolder::run(const std::vector<std::string>& steps) const {
  return program::run(host(), steps);
}

program::Result HostFolder::runAfter(const std::string& preparation,
                                     const std::vector<std::string>& steps) const {
  std::vector<std::string> arguments = {"-c", preparation + " && exec \"$0\" \"$@\"", host()};
  arguments.insert(arguments.end(), steps.begin(), steps.end());
  return program::run("/bin/sh", arguments);
}

// The command line is readable for everyone, which the path of the program is not.
std::vector<pid_t> HostFolder::processes() const {
  const std::string folder = m_folder.file("");
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream file(entry.path() / "cmdline");
    std::string first;
    std::getline(file, first, '\0');
    if (first.starts_with(folder) && first.ends_with("/kavrel-synth")) {
      found.push_back(std::stoi(name));
    }
  }
  return found;
}

bool HostFolder::processesEnd(std::chrono::milliseconds limit) const {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!processes().empty()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

std::vector<std::string> linesOf(const std::string& out) {
  std::vector<std::string> lines;
  std::istringstream in(out);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> linesOf(const std::string& out, const std::string& kind) {
  std::vector<std::string> lines = linesOf(out);
  std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(kind + ' '); });
  return lines;
}

char stateOf(pid_t process) {
  const std::string fields = fieldsOf(process);
  return fields.empty() ? '\0' : fields[0];
}

pid_t parentOf(pid_t process) {
  const std::string fields = fieldsOf(process);
  return fields.size() < 3 ? 0 : std::stoi(fields.substr(2));
}

}  // namespace hosts
