// SPDX-License-Identifier: Apache-2.0
#include "programs/Program.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace program {
namespace {

// A descriptor from which `text` can be read. A file instead of a pipe, since a program that does
// not read its input would otherwise block the test.
int fileWith(const std::string& text) {
  const int file = memfd_create("input", MFD_CLOEXEC);
  if (file < 0 || write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
      lseek(file, 0, SEEK_SET) != 0) {
    throw std::runtime_error("no file for standard input");
  }
  return file;
}

struct Pipe {
  int reading = -1;
  int writing = -1;
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    reading = ends[0];
    writing = ends[1];
  }
};

// Runs in the child after fork. The program is killed if the test's process dies.
[[noreturn]] void becomeProgram(const std::string& program,
                                const std::vector<std::string>& arguments, int in, int out,
                                int err) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  dup2(in, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(127);
}

}  // namespace

Result say(const std::vector<std::string>& arguments, const std::string& input) {
  return Running(arguments, input).finish();
}

Result run(const std::string& program, const std::vector<std::string>& arguments,
           const std::string& input) {
  return Running(program, arguments, input, -1).finish();
}

Running::Running(const std::vector<std::string>& arguments, const std::string& input,
                 int standardOutput)
    : Running(KAVREL_SAY, arguments, input, standardOutput) {}

Running::Running(const std::string& program, const std::vector<std::string>& arguments,
                 const std::string& input, int standardOutput) {
  const int in = fileWith(input);
  const Pipe out;
  const Pipe err;
  m_process = fork();
  if (m_process == 0) {
    becomeProgram(program, arguments, in, standardOutput < 0 ? out.writing : standardOutput,
                  err.writing);
  }
  for (const int file : {in, out.writing, err.writing}) close(file);
  if (m_process < 0) throw std::runtime_error("no process");
  m_out = out.reading;
  m_err = err.reading;
}

Running::~Running() {
  if (m_process > 0) {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }
  for (const int file : {m_out, m_err}) {
    if (file >= 0) close(file);
  }
}

std::string Running::readUntil(const std::string& text) {
  while (m_out >= 0 && m_result.out.find(text) == std::string::npos) readSome(m_out, m_result.out);
  return m_result.out;
}

bool Running::waitUntilItTakes(int signal) const {
  const std::string path = "/proc/" + std::to_string(m_process) + "/status";
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < limit) {
    std::ifstream status(path);
    for (std::string line; std::getline(status, line);) {
      if (!line.starts_with("SigBlk:")) continue;
      const unsigned long long blocked = std::stoull(line.substr(7), nullptr, 16);
      if ((blocked >> (signal - 1) & 1) != 0) return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return false;
}

void Running::sendSignal(int signal) const {
  kill(m_process, signal);
}

void Running::closeItsOutput() {
  close(std::exchange(m_out, -1));
}

// Reads both outputs at the same time: the program blocks if one pipe is full.
Result Running::finish() {
  while (m_out >= 0 || m_err >= 0) {
    pollfd files[] = {{m_out, POLLIN, 0}, {m_err, POLLIN, 0}};
    if (poll(files, 2, -1) < 0 && errno != EINTR) throw std::runtime_error("poll");
    if (files[0].revents != 0) readSome(m_out, m_result.out);
    if (files[1].revents != 0) readSome(m_err, m_result.err);
  }
  int status = 0;
  waitpid(std::exchange(m_process, -1), &status, 0);
  if (WIFEXITED(status)) m_result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) m_result.signal = WTERMSIG(status);
  return m_result;
}

// Appends some bytes to `text`; at the end of the file closes it and returns false.
bool Running::readSome(int& file, std::string& text) {
  char bytes[4096];
  const ssize_t count = read(file, bytes, sizeof bytes);
  if (count > 0) {
    text.append(bytes, static_cast<std::size_t>(count));
    return true;
  }
  if (count < 0 && errno == EINTR) return true;
  close(std::exchange(file, -1));
  return false;
}

std::vector<nlohmann::json> eventsOf(const std::string& out) {
  std::vector<nlohmann::json> events;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) events.push_back(nlohmann::json::parse(line));
  return events;
}

Folder::Folder() {
  std::string path = std::filesystem::temp_directory_path() / "kavrel-say-XXXXXX";
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no folder");
  m_path = path;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string Folder::write(const std::string& name, const std::string& contents) const {
  std::ofstream(file(name), std::ios::binary) << contents;
  return file(name);
}

std::string contentsOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

double secondsIn(const std::string& path) {
  const std::string bytes = contentsOf(path);
  const auto number = [&](std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
      value = (value << 8U) | static_cast<std::uint8_t>(bytes.at(i));
    }
    return value;
  };
  if (bytes.size() < 12 || bytes.substr(0, 4) != "FORM" || bytes.substr(8, 4) != "AIFF") return -1;
  if (number(4) + 8 != bytes.size()) return -1;
  const std::size_t common = bytes.find("COMM");
  if (common == std::string::npos) return -1;
  // The rate is an 80-bit extended float: 15 bits of exponent, 64 bits of mantissa.
  const std::size_t rate = common + 16;
  const int exponent = static_cast<int>(number(rate) >> 16U & 0x7FFFU) - 16383;
  const double mantissa = number(rate + 2) / std::exp2(31);
  return number(common + 10) / (mantissa * std::exp2(exponent));
}

}  // namespace program
