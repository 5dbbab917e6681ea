// SPDX-License-Identifier: Apache-2.0
#include "SoundServer.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// The time limit for a child to start; ample for any machine.
constexpr seconds kPatience(30);

std::chrono::nanoseconds durationOf(std::size_t samples) {
  return std::chrono::nanoseconds(static_cast<std::int64_t>(samples) * 1'000'000'000 / kRate);
}

}  // namespace

Child::Child(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  m_process = fork();
  if (m_process != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (output >= 0) dup2(output, STDOUT_FILENO);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

void Child::kill() {
  if (m_process <= 0) return;
  ::kill(m_process, SIGKILL);
  waitpid(std::exchange(m_process, -1), nullptr, 0);
}

void Child::send(int signal) const {
  if (m_process <= 0) return;
  EXPECT_EQ(::kill(m_process, signal), 0);
}

bool Child::isRunning() {
  if (m_process > 0 && waitpid(m_process, nullptr, WNOHANG) == m_process) m_process = -1;
  return m_process > 0;
}

SoundServer::SoundServer() : SoundServer(Stopped()) {
  start();
}

SoundServer::SoundServer(Stopped) {
  unsetenv("KAVREL_AUDIO");
  setenv("PULSE_SERVER", ("unix:" + m_folder.path("socket")).c_str(), 1);
  // The server's runtime folder; root has none.
  setenv("XDG_RUNTIME_DIR", m_folder.path().c_str(), 1);
  setenv("HOME", m_folder.path().c_str(), 1);
}

void SoundServer::launch() {
  const auto device = [](const char* name) {
    // Without norewinds the device stalls and reports positions ahead of what it has played.
    return std::string(
               "module-null-sink norewinds=1 format=s16le channels=1 rate=22050 sink_name=") +
           name;
  };
  m_child = std::make_unique<Child>(std::vector<std::string>{
      "pulseaudio", "--system=false", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
      "--disable-shm=yes", "--realtime=no", "--high-priority=no", "--log-level=error", "-n", "-L",
      device(kDevice), "-L", device(kOtherDevice), "-L",
      "module-native-protocol-unix auth-anonymous=1 socket=" + m_folder.path("socket")});
}

void SoundServer::start() {
  launch();
  const auto limit = Clock::now() + kPatience;
  while (!accepts()) {
    ASSERT_TRUE(m_child->isRunning()) << "pulseaudio does not run; is it installed?";
    ASSERT_LT(Clock::now(), limit) << "pulseaudio does not take connections";
    std::this_thread::sleep_for(milliseconds(5));
  }
}

void SoundServer::suspend() const {
  m_child->send(SIGSTOP);
}

void SoundServer::resume() const {
  m_child->send(SIGCONT);
}

bool SoundServer::accepts() const {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, m_folder.path("socket").c_str(), sizeof(address.sun_path) - 1);
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool accepted =
      connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(connection);
  return accepted;
}

Clock::time_point Recording::timeOf(std::size_t sample) const {
  Clock::time_point start = Clock::time_point::max();
  for (const auto& [end, when] : blocks) start = std::min(start, when - durationOf(end));
  return start + durationOf(sample);
}

std::size_t Recording::firstSound() const {
  const auto found = std::find_if(samples.begin(), samples.end(), [](int s) { return s != 0; });
  return found != samples.end() ? static_cast<std::size_t>(found - samples.begin()) : 0;
}

std::size_t Recording::lastSound() const {
  const auto found = std::find_if(samples.rbegin(), samples.rend(), [](int s) { return s != 0; });
  return found != samples.rend() ? static_cast<std::size_t>(samples.rend() - found) - 1 : 0;
}

Recorder::Recorder(const std::string& device) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  m_pipe = ends[0];
  m_child = std::make_unique<Child>(
      std::vector<std::string>{"parec", "--raw", "--format=s16le", "--channels=1", "--rate=22050",
                               "--latency-msec=10", "--device=" + device + ".monitor"},
      ends[1]);
  close(ends[1]);
  m_thread = std::thread([this] { run(); });
  std::unique_lock held(m_lock);
  const bool records =
      m_more.wait_for(held, kPatience, [this] { return !m_recording.samples.empty(); });
  EXPECT_TRUE(records) << "parec does not record; is it installed?";
}

Recorder::~Recorder() {
  m_child.reset();
  m_thread.join();
  close(m_pipe);
}

void Recorder::run() {
  std::array<std::int16_t, 4096> block;
  std::size_t odd = 0;  // bytes of an incomplete sample
  for (;;) {
    auto* const bytes = reinterpret_cast<char*>(block.data());
    const ssize_t count = read(m_pipe, bytes + odd, sizeof(block) - odd);
    if (count <= 0) return;
    const auto now = Clock::now();
    const std::size_t there = odd + static_cast<std::size_t>(count);
    const std::lock_guard held(m_lock);
    m_recording.samples.insert(m_recording.samples.end(), block.begin(),
                               block.begin() + static_cast<std::ptrdiff_t>(there / 2));
    m_recording.blocks.emplace_back(m_recording.samples.size(), now);
    odd = there % 2;
    if (odd != 0) bytes[0] = bytes[there - 1];
    m_more.notify_all();
  }
}

Recording Recorder::whenSilentFor(milliseconds time) {
  const auto enough = static_cast<std::size_t>(time.count()) * kRate / 1000;
  std::unique_lock held(m_lock);
  const std::size_t from = m_recording.samples.size();
  EXPECT_TRUE(m_more.wait_for(held, kPatience, [&] {
    const std::size_t quiet = m_recording.samples.size() - m_recording.lastSound();
    return quiet > enough && m_recording.samples.size() > from + enough;
  })) << "The audio does not end.";
  return m_recording;
}

Recording Recorder::soFar() const {
  const std::lock_guard held(m_lock);
  return m_recording;
}

}  // namespace test
