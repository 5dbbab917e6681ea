// SPDX-License-Identifier: Apache-2.0
#include "synth/synth_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/auxv.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"

namespace kavrel {

namespace {

namespace protocol = synth_protocol;
using base::Clock;
using std::chrono::milliseconds;

// How often a wait looks whether it is cancelled: in its first part, which is all of most waits,
// and later.
constexpr std::chrono::microseconds kShortSlice{250};
constexpr milliseconds kSlice{2};
constexpr milliseconds kFirstPart{30};
// Limits the memory for the events of one call: the samples' limit in phones of 2 ms.
constexpr std::size_t kMaxEvents = 600'000;
// For a worker to exit after its End, which takes less than a millisecond.
constexpr milliseconds kWorkersEnd{200};
// The starter exits before the process is ready, so this is long.
constexpr milliseconds kStarterLimit{1000};

// ---- All objects, for fork()

NEVER_DESTROYED constinit base::Mutex g_lock;

struct Registry {
  std::vector<SynthProcess*> objects;
  // Process groups of processes that have been left, if this process becomes their parent.
  std::vector<pid_t> left;
};

Registry& registry() REQUIRES(g_lock) {
  static Registry& all = *new Registry;
  return all;
}

// Returns true if this process becomes the parent of orphans, as the first process of a container
// and a subreaper do.
bool adoptsOrphans() {
  int subreaper = 0;
  return ::getpid() == 1 || (::prctl(PR_GET_CHILD_SUBREAPER, &subreaper) == 0 && subreaper != 0);
}

// Waits for those that have exited and are children of this process. The number of a group is free
// for others only when nothing of the group is left, and then it is dropped here.
void sweep() REQUIRES(g_lock) {
  std::erase_if(registry().left, [](pid_t group) {
    pid_t reaped = 0;
    do {
      reaped = ::waitpid(-group, nullptr, WNOHANG | __WALL);
    } while (reaped > 0 || (reaped < 0 && errno == EINTR));
    return reaped < 0;
  });
}

// ---- System calls that older C libraries lack

int openProcess(pid_t process) {
  return static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
}

void killProcess(int process) {
  ::syscall(SYS_pidfd_send_signal, process, SIGKILL, nullptr, 0);
}

// ---- Descriptors

// Replaces `file` by a copy whose number is at least `least`. Low numbers are the host's standard
// streams, even if the host has closed them.
bool moveUp(int& file, int least) {
  const int copy = ::fcntl(file, F_DUPFD_CLOEXEC, least);
  if (copy < 0) return false;
  ::close(file);
  file = copy;
  return true;
}

void closeAndForget(int& file) {
  if (file >= 0) ::close(file);
  file = -1;
}

// Signals that people, services and the kernel end processes with, whatever these do.
bool isFromOutside(int signal) {
  return signal == SIGKILL || signal == SIGTERM || signal == SIGINT || signal == SIGHUP;
}

std::string message(const char* what, int error) {
  return std::string(what) + ": " + std::strerror(error);
}

// Waits until the descriptor is ready, for one slice at most.
void waitForSlice(int file, short events, Clock::time_point begin) {
  const bool isFirst = Clock::now() - begin < kFirstPart;
  const std::chrono::nanoseconds slice = isFirst ? kShortSlice : kSlice;
  const timespec time{0, slice.count()};
  pollfd polled{file, events, 0};
  ::ppoll(&polled, 1, &time, nullptr);
}

// ---- Spawning

// Attributes and actions of posix_spawn(), destroyed at the end of the scope.
class SpawnSettings {
 public:
  SpawnSettings() {
    ::posix_spawnattr_init(&m_attributes);
    ::posix_spawn_file_actions_init(&m_actions);
  }
  ~SpawnSettings() {
    ::posix_spawnattr_destroy(&m_attributes);
    ::posix_spawn_file_actions_destroy(&m_actions);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  // A session of its own, so that no terminal reaches it; no blocked and no ignored signals. A
  // host with raised privileges does not pass them on.
  bool setAttributes() {
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    int flags = POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (::getauxval(AT_SECURE) != 0) flags |= POSIX_SPAWN_RESETIDS;
    return ::posix_spawnattr_setflags(&m_attributes, static_cast<short>(flags)) == 0 &&
           ::posix_spawnattr_setsigmask(&m_attributes, &none) == 0 &&
           ::posix_spawnattr_setsigdefault(&m_attributes, &all) == 0;
  }

  // Descriptors 0 and 3, and nothing of the host's. The two are above 3 themselves.
  bool setFiles(int socket, int report) {
    return ::posix_spawn_file_actions_adddup2(&m_actions, socket, 0) == 0 &&
           ::posix_spawn_file_actions_addopen(&m_actions, 1, "/dev/null", O_RDWR, 0) == 0 &&
           ::posix_spawn_file_actions_addopen(&m_actions, 2, "/dev/null", O_RDWR, 0) == 0 &&
           ::posix_spawn_file_actions_adddup2(&m_actions, report, 3) == 0 &&
           ::posix_spawn_file_actions_addclosefrom_np(&m_actions, 4) == 0;
  }

  const posix_spawnattr_t* attributes() const { return &m_attributes; }
  const posix_spawn_file_actions_t* actions() const { return &m_actions; }

 private:
  posix_spawnattr_t m_attributes{};
  posix_spawn_file_actions_t m_actions{};
};

std::string whyNoVoice(protocol::Ready::Status status) {
  using Status = protocol::Ready::Status;
  switch (status) {
    case Status::NoData:
      return "the synthesiser's data cannot be read";
    case Status::OtherRate:
      return "the synthesiser has an unexpected sample rate";
    case Status::NoLanguage:
      return "the synthesiser does not know the language";
    case Status::NoVariant:
      return "the synthesiser does not know the variant";
    case Status::OutOfMemory:
      return "the synthesiser is out of memory";
    case Status::Ok:
      break;
  }
  return {};
}

}  // namespace

// ---- OwnFile

void SynthProcess::OwnFile::set(int number) {
  struct stat status {};
  m_number = number;
  if (number < 0 || ::fstat(number, &status) != 0) return;
  m_device = status.st_dev;
  m_inode = status.st_ino;
}

bool SynthProcess::OwnFile::isValid() const {
  struct stat status {};
  return m_number >= 0 && ::fstat(m_number, &status) == 0 && status.st_dev == m_device &&
         status.st_ino == m_inode;
}

void SynthProcess::OwnFile::close() {
  if (isValid()) ::close(m_number);
  m_number = -1;
}

// ---- Life

SynthProcess::SynthProcess(std::string program, const Limits& limits)
    : m_program(std::move(program)), m_limits(limits) {
  const base::ScopedLock held(g_lock);
  registry().objects.push_back(this);
}

SynthProcess::~SynthProcess() {
  if (m_busy || m_cancelled != 0) {
    kill();
  } else {
    close();
  }
  const base::ScopedLock held(g_lock);
  std::erase(registry().objects, this);
}

// ---- Start

SynthProcess::Started SynthProcess::start(const std::string& voice, const Cancelled& cancelled,
                                          std::string& why) {
  const Clock::time_point limit = Clock::now() + m_limits.start;
  int socket = -1;
  int report = -1;
  m_busy = true;
  const bool spawned = connect(socket, report, why) && spawn(voice, socket, report, why);
  closeAndForget(socket);
  closeAndForget(report);
  if (!spawned) {
    kill();
    return Started::Failed;
  }
  protocol::Frame frame;
  const Received received = receive(frame, limit, cancelled);
  std::optional<protocol::Ready> ready;
  if (received == Received::Frame && frame.type == protocol::FrameType::Ready)
    ready = protocol::readReady(frame);
  const bool starterFailed = reapStarter(!ready.has_value());
  if (ready.has_value() && ready->status == protocol::Ready::Status::Ok) {
    m_missing = ready->missing;
    m_busy = false;
    m_ready = true;
    const base::ScopedLock held(g_lock);
    sweep();
    return Started::Ready;
  }
  Started result = Started::NoVoice;
  if (!ready.has_value()) {
    result = whyNotReady(received, starterFailed, why);
  } else {
    why = whyNoVoice(ready->status);
    if (ready->status == protocol::Ready::Status::OutOfMemory) result = Started::Failed;
  }
  kill();
  return result;
}

// A process that fails by itself reports that, or the starter's exit status does. Without a sign of
// that, somebody has ended it.
SynthProcess::Started SynthProcess::whyNotReady(Received received, bool starterFailed,
                                                std::string& why) {
  if (received == Received::Cancelled) return Started::Cancelled;
  why = m_program +
        (received == Received::Timeout ? " was not ready in time" : " ended before it was ready");
  int status = 0;
  const bool failed = received != Received::End || starterFailed || readReport(status);
  return failed ? Started::Failed : Started::Killed;
}

// Makes this side's socket and end of the pipe, and the other side's.
bool SynthProcess::connect(int& socket, int& report, std::string& why) {
  constexpr int kAboveStreams = 3;
  constexpr int kAboveActions = 10;
  int sockets[2] = {-1, -1};
  int pipes[2] = {-1, -1};
  const bool made = ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) == 0 &&
                    ::pipe2(pipes, O_CLOEXEC | O_NONBLOCK) == 0 &&
                    moveUp(sockets[0], kAboveStreams) && moveUp(pipes[0], kAboveStreams) &&
                    moveUp(sockets[1], kAboveActions) && moveUp(pipes[1], kAboveActions);
  const int error = errno;
  m_socket.set(sockets[0]);
  m_report.set(pipes[0]);
  socket = sockets[1];
  report = pipes[1];
  if (!made) why = message("cannot connect to the synthesiser", error);
  return made;
}

// The environment is new: what the host's says about libraries, locale or sound is not for it.
bool SynthProcess::spawn(const std::string& voice, int socket, int report, std::string& why) {
  SpawnSettings settings;
  std::string name = m_program;
  std::string option = "--voice";
  std::string argument = voice;
  std::string locale = "LC_ALL=C.UTF-8";
  char* const arguments[] = {name.data(), option.data(), argument.data(), nullptr};
  char* const environment[] = {locale.data(), nullptr};
  if (!settings.setAttributes() || !settings.setFiles(socket, report)) {
    why = "out of memory";
    return false;
  }
  pid_t starter = 0;
  const int error = ::posix_spawn(&starter, m_program.c_str(), settings.actions(),
                                  settings.attributes(), arguments, environment);
  if (error != 0) {
    why = message(("cannot start " + m_program).c_str(), error);
    return false;
  }
  m_starter = starter;
  m_group = starter;
  m_starterProcess.set(openProcess(starter));
  return true;
}

// The process detaches: it forks, and the process that was spawned exits. It is a child of this
// process until then. A host may wait for it first, which is no error. Returns true if it is known
// to have failed by itself.
bool SynthProcess::reapStarter(bool kill) {
  constexpr auto kProcessDescriptor = static_cast<idtype_t>(3);  // P_PIDFD
  const Clock::time_point limit = Clock::now() + kStarterLimit;
  // Without a descriptor, it is identified by its number, which is its own until it is waited for.
  const bool hasDescriptor = m_starterProcess.isValid();
  const idtype_t type = hasDescriptor ? kProcessDescriptor : P_PID;
  const auto id = static_cast<id_t>(hasDescriptor ? m_starterProcess.number() : m_starter);
  siginfo_t info{};
  for (bool killed = false;;) {
    if (kill && hasDescriptor && !killed) {
      killProcess(m_starterProcess.number());
      killed = true;
    }
    const int result = ::waitid(type, id, &info, WEXITED | __WALL | (killed ? 0 : WNOHANG));
    if ((result == 0 && info.si_pid != 0) || (result != 0 && errno != EINTR)) break;
    const bool late = Clock::now() >= limit;
    if (late && !hasDescriptor) break;
    kill = kill || late;
    if (!kill) ::poll(nullptr, 0, 1);
  }
  m_starter = 0;
  m_starterProcess.close();
  if (info.si_pid == 0) return false;
  if (info.si_code == CLD_EXITED) return info.si_status != 0;
  return !isFromOutside(info.si_status);
}

// ---- Calls

// What a cancelled call has still sent may be there.
bool SynthProcess::isUsable() const {
  if (!m_socket.isValid()) return false;
  char byte = 0;
  const ssize_t seen = ::recv(m_socket.number(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  if (seen > 0) return m_cancelled != 0;
  return seen < 0 && (errno == EAGAIN || errno == EINTR);
}

SynthProcess::Result SynthProcess::speak(const protocol::Speak& call, const Cancelled& cancelled,
                                         Speech& speech, std::string& why) {
  speech.events.clear();
  speech.samples.clear();
  std::vector<std::byte> bytes;
  const std::uint32_t number = ++m_call == 0 ? ++m_call : m_call;
  if (!protocol::writeSpeak(bytes, number, call)) {
    why = "the text of a call is too long";
    return Result::Refused;
  }
  m_busy = true;
  Received ready = finishCancelled(cancelled);
  if (ready == Received::Frame) ready = awaitWorkersEnd(cancelled);
  switch (ready) {
    case Received::Frame:
      break;
    case Received::Cancelled:
      m_busy = false;
      return Result::Cancelled;
    case Received::End:
    case Received::Garbage:
    case Received::Timeout:
      kill();
      why = "the synthesiser did not end its last call";
      return Result::Killed;
  }
  const Result result = send(bytes, Clock::now() + m_limits.silence)
                            ? collect(number, cancelled, speech, why)
                            : ended(why);
  m_busy = m_broken;
  if (m_broken) kill();
  return result;
}

// Receives until End.
SynthProcess::Result SynthProcess::collect(std::uint32_t call, const Cancelled& cancelled,
                                           Speech& speech, std::string& why) {
  const Clock::time_point last = Clock::now() + m_limits.call;
  for (;;) {
    protocol::Frame frame;
    switch (receive(frame, std::min(Clock::now() + m_limits.silence, last), cancelled)) {
      case Received::Frame:
        break;
      case Received::Cancelled:
        return cancelCall(call);
      case Received::End:
        return ended(why);
      case Received::Timeout:
        m_broken = true;
        why = "the synthesiser does not respond";
        return Result::Silent;
      case Received::Garbage:
        return garbage(why);
    }
    if (frame.call != call) return garbage(why);
    if (frame.type == protocol::FrameType::End) return finish(frame, speech, why);
    if (!take(frame, speech)) return garbage(why);
  }
}

// Returns false if the frame is invalid, or there is more than any honest call has.
bool SynthProcess::take(const protocol::Frame& frame, Speech& speech) const {
  if (frame.type == protocol::FrameType::Samples) {
    protocol::readSamples(frame, speech.samples);
    return speech.samples.size() <= m_limits.samples;
  }
  return frame.type == protocol::FrameType::Events && protocol::readEvents(frame, speech.events) &&
         speech.events.size() <= kMaxEvents;
}

SynthProcess::Result SynthProcess::finish(const protocol::Frame& frame, const Speech& speech,
                                          std::string& why) {
  const auto end = protocol::readEnd(frame);
  m_workerRuns = true;
  // Nobody has cancelled the call.
  if (!end.has_value() || end->events != speech.events.size() ||
      end->samples != speech.samples.size() || end->status == protocol::End::Status::Cancelled) {
    return garbage(why);
  }
  if (end->status == protocol::End::Status::Done) return Result::Done;
  why = "the synthesiser failed";
  return Result::Refused;
}

// Does not wait: whoever cancels a call wants to be rid of it.
SynthProcess::Result SynthProcess::cancelCall(std::uint32_t call) {
  std::vector<std::byte> bytes;
  protocol::writeCancel(bytes, call);
  m_broken = !send(bytes, Clock::now());
  m_cancelled = call;
  return Result::Cancelled;
}

// Discards what a cancelled call has sent. Returns Frame when there is none, or when it has ended.
// A process that was waiting for its frames to be read needs some time from here on.
SynthProcess::Received SynthProcess::finishCancelled(const Cancelled& cancelled) {
  const Clock::time_point limit = Clock::now() + m_limits.cancel;
  while (m_cancelled != 0) {
    protocol::Frame frame;
    const Received received = receive(frame, limit, cancelled);
    if (received != Received::Frame) return received;
    if (frame.call != m_cancelled) return Received::Garbage;
    if (frame.type != protocol::FrameType::End) continue;
    if (!protocol::readEnd(frame).has_value()) return Received::Garbage;
    m_cancelled = 0;
    m_workerRuns = true;
  }
  return Received::Frame;
}

// A worker that a text has taken over could stay after its End and read the next call, which may
// be somebody else's text. So that is not sent before the worker has ended. Returns Frame then.
SynthProcess::Received SynthProcess::awaitWorkersEnd(const Cancelled& cancelled) {
  const Clock::time_point begin = Clock::now();
  while (m_workerRuns) {
    int status = 0;
    if (readReport(status)) {
      if (status != 0) return Received::End;
      m_workerRuns = false;
    } else {
      if (cancelled && cancelled()) return Received::Cancelled;
      if (!m_report.isValid()) return Received::End;
      if (Clock::now() - begin >= kWorkersEnd) return Received::Timeout;
      waitForSlice(m_report.number(), POLLIN, begin);
    }
  }
  return Received::Frame;
}

SynthProcess::Result SynthProcess::garbage(std::string& why) {
  m_broken = true;
  why = "the synthesiser sent garbage";
  return Result::Garbage;
}

// Finds out why the stream has ended.
SynthProcess::Result SynthProcess::ended(std::string& why) {
  m_broken = true;
  int status = 0;
  // Without a report, the process itself has ended, and that does not read texts.
  if (!readReport(status)) {
    why = "the synthesiser was ended";
    return Result::Killed;
  }
  const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  if (isFromOutside(signal)) {
    why = "the synthesiser was ended by signal " + std::to_string(signal);
    return Result::Killed;
  }
  why = signal == SIGXCPU ? "the synthesiser took too much time"
        : signal != 0     ? "the synthesiser crashed with signal " + std::to_string(signal)
                          : "the synthesiser gave up";
  return Result::Crashed;
}

// Reads the wait status that the process has reported. It was written before the stream ended.
bool SynthProcess::readReport(int& status) {
  return m_report.isValid() && ::read(m_report.number(), &status, sizeof(status)) == sizeof(status);
}

// ---- Sending and receiving

// Tries to read before it looks at the time: if this process was stopped, the limit may have passed
// although the bytes are there.
SynthProcess::Received SynthProcess::receive(protocol::Frame& frame, Clock::time_point limit,
                                             const Cancelled& cancelled) {
  const Clock::time_point begin = Clock::now();
  for (;;) {
    switch (m_reader.next(frame)) {
      case protocol::FrameReader::Result::Frame:
        return Received::Frame;
      case protocol::FrameReader::Result::Garbage:
        return Received::Garbage;
      case protocol::FrameReader::Result::More:
        break;
    }
    if (cancelled && cancelled()) return Received::Cancelled;
    if (!m_socket.isValid()) return Received::End;
    const ssize_t count = receiveBytes();
    if (count > 0) {
      m_reader.received(static_cast<std::size_t>(count));
      continue;
    }
    if (count == 0 || (errno != EAGAIN && errno != EINTR)) return Received::End;
    if (Clock::now() >= limit) return Received::Timeout;
    waitForSlice(m_socket.number(), POLLIN, begin);
  }
}

// As recv(). The header of Ready brings the descriptor of the process. After Ready, no message may
// bring any: recv() discards them.
ssize_t SynthProcess::receiveBytes() {
  const std::span<std::byte> space = m_reader.space();
  if (m_ready) return ::recv(m_socket.number(), space.data(), space.size(), MSG_DONTWAIT);
  iovec data{space.data(), space.size()};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
  msghdr header{};
  header.msg_iov = &data;
  header.msg_iovlen = 1;
  header.msg_control = control;
  header.msg_controllen = sizeof(control);
  const ssize_t count = ::recvmsg(m_socket.number(), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  const cmsghdr* const rights = count > 0 ? CMSG_FIRSTHDR(&header) : nullptr;
  if (rights == nullptr || rights->cmsg_level != SOL_SOCKET || rights->cmsg_type != SCM_RIGHTS) {
    return count;
  }
  // The control data is padded, so it has room for two.
  for (std::size_t at = 0; CMSG_LEN(at + sizeof(int)) <= rights->cmsg_len; at += sizeof(int)) {
    int file = -1;
    std::memcpy(&file, CMSG_DATA(rights) + at, sizeof(file));
    m_process.close();
    m_process.set(file);
  }
  return count;
}

// Returns false if the other side is gone, or does not read until the limit.
bool SynthProcess::send(const std::vector<std::byte>& bytes, Clock::time_point limit) {
  const Clock::time_point begin = Clock::now();
  std::span<const std::byte> left(bytes);
  while (!left.empty()) {
    if (!m_socket.isValid()) return false;
    const ssize_t sent =
        ::send(m_socket.number(), left.data(), left.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) {
      left = left.subspan(static_cast<std::size_t>(sent));
      continue;
    }
    if (sent < 0 && errno != EAGAIN && errno != EINTR) return false;
    if (Clock::now() >= limit) return false;
    waitForSlice(m_socket.number(), POLLOUT, begin);
  }
  return true;
}

// ---- End

void SynthProcess::kill() {
  if (m_starter != 0) reapStarter(true);
  if (m_process.isValid()) killProcess(m_process.number());
  close();
}

void SynthProcess::close() {
  const base::ScopedLock held(g_lock);
  closeAll();
  if (m_group != 0 && adoptsOrphans()) registry().left.push_back(m_group);
  m_group = 0;
  sweep();
}

void SynthProcess::reapLeft() {
  const base::ScopedLock held(g_lock);
  sweep();
}

void SynthProcess::closeAll() {
  m_socket.close();
  m_report.close();
  m_process.close();
  m_starterProcess.close();
}

// ---- fork()

void SynthProcess::prepareFork() NO_THREAD_SAFETY_ANALYSIS {
  g_lock.lock();
}

void SynthProcess::afterForkInParent() NO_THREAD_SAFETY_ANALYSIS {
  g_lock.unlock();
}

// The threads that used the objects do not exist here. Nothing is ended: the processes belong to
// the parent.
void SynthProcess::afterForkInChild() NO_THREAD_SAFETY_ANALYSIS {
  for (SynthProcess* const object : registry().objects) {
    object->closeAll();
    object->m_starter = 0;
    object->m_group = 0;
  }
  registry().left.clear();
  g_lock.unlock();
}

}  // namespace kavrel
