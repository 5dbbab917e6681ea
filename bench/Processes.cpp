// SPDX-License-Identifier: Apache-2.0
#include "Processes.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "WallClock.h"

namespace bench {

namespace {

// Returns the process, or -1.
pid_t start(Command command) {
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  pid_t child = -1;
  const int error = posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ);
  return error == 0 ? child : -1;
}

// No argument of the workloads has a quote in it.
std::string shellLine(const Command& command) {
  std::string line;
  for (const std::string& argument : command) line += "'" + argument + "' ";
  return line;
}

}  // namespace

std::optional<double> run(const Command& command) {
  const Clock::time_point begun = Clock::now();
  const pid_t child = start(command);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) return std::nullopt;
  return secondsBetween(begun, Clock::now());
}

std::vector<double> runForNumbers(const Command& command, int* exitStatus) {
  std::vector<double> numbers;
  FILE* const output = popen(shellLine(command).c_str(), "r");
  if (output == nullptr) return numbers;
  for (double number = 0; std::fscanf(output, "%lf", &number) == 1;) numbers.push_back(number);
  const int status = pclose(output);
  if (exitStatus != nullptr) *exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (status != 0) numbers.clear();
  return numbers;
}

ScratchFolder::ScratchFolder()
    : m_path((std::filesystem::temp_directory_path() / "kavrel-bench-XXXXXX").string()) {
  if (mkdtemp(m_path.data()) == nullptr) m_path.clear();
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  if (!m_path.empty()) std::filesystem::remove_all(m_path, ignored);
}

Processors::Processors(int count) {
  sched_getaffinity(0, sizeof m_before, &m_before);
  cpu_set_t first;
  CPU_ZERO(&first);
  for (int cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&first) < count; ++cpu) {
    if (CPU_ISSET(cpu, &m_before)) CPU_SET(cpu, &first);
  }
  sched_setaffinity(0, sizeof first, &first);
}

Processors::~Processors() {
  sched_setaffinity(0, sizeof m_before, &m_before);
}

int Processors::available() {
  cpu_set_t all;
  return sched_getaffinity(0, sizeof all, &all) == 0 ? CPU_COUNT(&all) : 1;
}

// The device has the engine's sample format. Without norewinds it stalls.
SoundServer::SoundServer() {
  constexpr std::chrono::seconds kPatience{10};
  const std::string socketPath = m_folder / "socket";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socketPath.size() >= sizeof(address.sun_path)) return;
  std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
  m_process = start(
      {"env", "XDG_RUNTIME_DIR=" + m_folder.path(), "HOME=" + m_folder.path(), "pulseaudio",
       "--system=false", "--daemonize=no", "--exit-idle-time=20", "--use-pid-file=no",
       "--disable-shm=yes", "--realtime=no", "--high-priority=no", "--log-level=error", "-n", "-L",
       "module-null-sink norewinds=1 format=s16le channels=1 rate=22050 sink_name=nowhere", "-L",
       "module-native-protocol-unix auth-anonymous=1 socket=" + socketPath});
  const Clock::time_point limit = Clock::now() + kPatience;
  while (m_process > 0 && !m_running && Clock::now() < limit) {
    if (waitpid(m_process, nullptr, WNOHANG) != 0) {
      m_process = -1;
      return;
    }
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    m_running =
        connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(connection);
    if (!m_running) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

SoundServer::~SoundServer() {
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);
  while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

Command SoundServer::reach(Command command) const {
  Command all = {"env",
                 "-u",
                 "KAVREL_AUDIO",
                 "PULSE_SERVER=unix:" + (m_folder / "socket"),
                 "XDG_RUNTIME_DIR=" + m_folder.path(),
                 "HOME=" + m_folder.path()};
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

}  // namespace bench
