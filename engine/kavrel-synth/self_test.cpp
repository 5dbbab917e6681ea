// SPDX-License-Identifier: GPL-3.0-or-later
#include "self_test.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "sandbox.h"
#include "speaker.h"
#include "synth/synth_protocol.h"

namespace kavrel {

namespace {

using synth_protocol::Ready;

// Of the process that made the sandbox: neither inside it nor a child of what is.
pid_t outsider = 0;
std::string dataFile;
std::string newFileInData;

constexpr std::size_t kGibibyte = std::size_t{1} << 30;

bool opens(const char* path, int flags) {
  const int file = ::open(path, flags, 0600);
  if (file >= 0) ::close(file);
  return file >= 0;
}

bool maps(std::size_t size, int protection) {
  void* const memory = ::mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return false;
  ::munmap(memory, size);
  return true;
}

bool forks() {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  if (child > 0) ::waitpid(child, nullptr, 0);
  return child > 0;
}

bool readsTheOutsider() {
  char byte = 0;
  iovec here{&byte, 1};
  iovec there{&byte, 1};
  // EFAULT: the other process has something else there, but could have been read.
  return ::process_vm_readv(outsider, &here, 1, &there, 1, 0) >= 0 || errno == EFAULT;
}

// An attempt returns true if the system let it pass.
struct Attempt {
  const char* name;
  bool (*run)();
  // The protections that refuse it, as bits of Ready: without all of them it is not checked.
  std::uint32_t needs;
  bool inTemplate = true;  // the template must not do it either
};

constexpr std::uint32_t kCalls = Ready::kSystemCalls;
constexpr std::uint32_t kFiles = Ready::kLandlock;

const Attempt kForbidden[] = {
    {"socket of the internet", [] { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }, kCalls},
    {"local socket", [] { return ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }, kCalls},
    {"netlink socket", [] { return ::socket(AF_NETLINK, SOCK_RAW, 0) >= 0; }, kCalls},
    {"reading a file elsewhere", [] { return opens("/etc/passwd", O_RDONLY); }, kFiles},
    {"listing a folder elsewhere", [] { return opens("/", O_RDONLY | O_DIRECTORY); }, kFiles},
    {"creating a file", [] { return opens("/tmp/kavrel-synth-test", O_WRONLY | O_CREAT); }, kCalls},
    {"creating a nameless file", [] { return opens("/tmp", O_RDWR | O_TMPFILE); }, kCalls},
    {"creating a file in the data", [] { return opens(newFileInData.c_str(), O_RDWR | O_CREAT); },
     kCalls},
    {"writing to the data", [] { return opens(dataFile.c_str(), O_WRONLY); }, kCalls},
    {"truncating the data", [] { return opens(dataFile.c_str(), O_RDONLY | O_TRUNC); }, kCalls},
    {"writing to a device", [] { return opens("/dev/null", O_WRONLY); }, kCalls},
    {"removing a file", [] { return ::unlink("/tmp/kavrel-synth-none") == 0 || errno == ENOENT; },
     kCalls},
    {"creating a folder", [] { return ::mkdir("/tmp/kavrel-synth-folder", 0700) == 0; }, kCalls},
    {"renaming",
     [] { return ::rename("/tmp/kavrel-none", "/tmp/kavrel-x") == 0 || errno == ENOENT; }, kCalls},
    {"changing modes", [] { return ::chmod(dataFile.c_str(), 0644) == 0; }, kCalls},
    {"starting a program",
     [] {
       char name[] = "/bin/true";
       char* const arguments[] = {name, nullptr};
       return ::execve(name, arguments, nullptr) == 0 || errno == ENOENT;
     },
     kCalls},
    {"fork", &forks, kCalls, false},
    {"clone with other flags",
     [] { return ::syscall(SYS_clone, CLONE_VM | CLONE_THREAD, nullptr) >= 0 || errno == EINVAL; },
     kCalls},
    {"new namespace", [] { return ::unshare(CLONE_NEWUSER) == 0; }, kCalls},
    {"signal to another process", [] { return ::kill(outsider, 0) == 0; }, kCalls},
    {"signal to another thread", [] { return ::syscall(SYS_tgkill, outsider, outsider, 0) == 0; },
     kCalls},
    {"ptrace", [] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0; }, kCalls},
    {"reading another process", &readsTheOutsider, kCalls},
    {"io_uring", [] { return ::syscall(425, 4, nullptr) >= 0 || errno == EFAULT; }, kCalls},
    {"bpf", [] { return ::syscall(SYS_bpf, 0, nullptr, 0) >= 0 || errno == EINVAL; }, kCalls},
    {"executable memory", [] { return maps(4096, PROT_READ | PROT_EXEC); }, kCalls},
    {"a gibibyte of memory", [] { return maps(kGibibyte, PROT_READ | PROT_WRITE); },
     Ready::kLimits | Ready::kSystemCalls},
    {"undoing the death signal", [] { return ::prctl(PR_SET_PDEATHSIG, 0, 0, 0, 0) == 0; }, kCalls,
     false},
    {"changing limits",
     [] {
       const rlimit limit{0, 0};
       return ::setrlimit(RLIMIT_CORE, &limit) == 0;
     },
     kCalls, false},
    {"dumpable", [] { return ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0) == 0; }, kCalls},
};

const Attempt kNeeded[] = {
    {"reading the data", [] { return opens(dataFile.c_str(), O_RDONLY); }, 0},
    {"memory", [] { return maps(1 << 20, PROT_READ | PROT_WRITE); }, 0},
};

// stdout is flushed after each line: the last attempt may end the process.
bool report(const char* who, const Attempt& attempt, bool good, const char* result) {
  std::printf("%s: %s: %s\n", who, attempt.name, result);
  std::fflush(stdout);
  return good;
}

// What the attempts print is buffered in a pipe, which no limit of file sizes applies to.
bool tryAll(const char* who, bool isTemplate, std::uint32_t missing) {
  bool good = true;
  for (const Attempt& attempt : kForbidden) {
    if (isTemplate && !attempt.inTemplate) continue;
    if ((attempt.needs & missing) != 0) {
      report(who, attempt, true, "not checked");
    } else if (attempt.run()) {
      good = report(who, attempt, false, "ALLOWED");
    } else {
      report(who, attempt, true, "refused");
    }
  }
  for (const Attempt& attempt : kNeeded) {
    const bool allowed = attempt.run();
    good = report(who, attempt, allowed, allowed ? "allowed" : "REFUSED") && good;
  }
  return good;
}

// The template's part, and a worker's in a child of it.
int runInside() {
  if (speaker::start("en-us") != Ready::Status::Ok) {
    std::puts("espeak-ng cannot be started");
    return 1;
  }
  dataFile = speaker::dataFolder() + "/phontab";
  newFileInData = speaker::dataFolder() + "/kavrel-synth-test";
  Sandbox sandbox;
  const std::uint32_t missing = sandbox.enter(speaker::dataFolder());
  bool good = tryAll("template", true, missing);
  const pid_t worker = ::fork();
  if (worker == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    const bool entered = sandbox.enterWorker(5);
    ::_exit(entered && tryAll("worker", false, missing) ? 0 : 1);
  }
  int status = 1;
  ::waitpid(worker, &status, 0);
  good = good && worker > 0 && status == 0;
  return good ? 0 : 1;
}

}  // namespace

int selfTest() {
  outsider = ::getpid();
  int ends[2];
  if (::pipe(ends) != 0) return 1;
  const pid_t inside = ::fork();
  if (inside == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
    const int result = runInside();
    std::fflush(stdout);
    ::_exit(result);
  }
  ::close(ends[1]);
  char text[4096];
  for (ssize_t count = ::read(ends[0], text, sizeof(text)); count > 0;
       count = ::read(ends[0], text, sizeof(text))) {
    std::fwrite(text, 1, static_cast<std::size_t>(count), stdout);
  }
  int status = 1;
  if (inside > 0) ::waitpid(inside, &status, 0);
  std::printf("%s\n", status == 0 ? "passed" : "FAILED");
  return status == 0 ? 0 : 1;
}

}  // namespace kavrel
