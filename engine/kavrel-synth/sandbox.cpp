// SPDX-License-Identifier: GPL-3.0-or-later
#include "sandbox.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <initializer_list>

#include <fcntl.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "synth/synth_protocol.h"

namespace kavrel {

namespace {

using synth_protocol::Ready;

// What a sanitizer's runtime calls is not known, and it maps terabytes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// ---- Landlock

// The kernel's interface, by its numbers: headers may be older than the kernel.
namespace landlock {

constexpr long kCreateRuleset = 444;
constexpr long kAddRule = 445;
constexpr long kRestrictSelf = 446;
constexpr unsigned kVersionFlag = 1;
constexpr int kPathBeneath = 1;
constexpr std::uint64_t kReadFile = 1U << 2;
constexpr std::uint64_t kReadFolder = 1U << 3;

struct RulesetAttributes {
  std::uint64_t files;
  std::uint64_t network;  // from version 4
  std::uint64_t scoped;   // from version 6
};

struct [[gnu::packed]] PathBeneath {
  std::uint64_t allowed;
  std::int32_t folder;
};

// All rights that a version of the interface can refuse. Unknown rights make the kernel refuse the
// whole ruleset.
RulesetAttributes everything(long version) {
  RulesetAttributes all{(1U << 13) - 1, 0, 0};
  if (version >= 2) all.files |= 1U << 13;
  if (version >= 3) all.files |= 1U << 14;
  if (version >= 4) all.network = 3;
  if (version >= 5) all.files |= 1U << 15;
  if (version >= 6) all.scoped = 3;
  return all;
}

std::size_t sizeFor(long version) {
  if (version >= 6) return sizeof(RulesetAttributes);
  return version >= 4 ? offsetof(RulesetAttributes, scoped) : offsetof(RulesetAttributes, network);
}

// Restricts the calling thread and its children.
bool restrictTo(const std::string& folder) {
  const long version = ::syscall(kCreateRuleset, nullptr, 0, kVersionFlag);
  if (version < 1) return false;
  const RulesetAttributes attributes = everything(version);
  const auto ruleset =
      static_cast<int>(::syscall(kCreateRuleset, &attributes, sizeFor(version), 0U));
  const int opened = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  const PathBeneath rule{kReadFile | kReadFolder, opened};
  const bool done = ruleset >= 0 && opened >= 0 &&
                    ::syscall(kAddRule, ruleset, kPathBeneath, &rule, 0U) == 0 &&
                    ::syscall(kRestrictSelf, ruleset, 0U) == 0;
  if (opened >= 0) ::close(opened);
  if (ruleset >= 0) ::close(ruleset);
  return done;
}

}  // namespace landlock

// ---- Resource limits

// A limit that is already lower stays.
bool lower(int resource, rlim_t soft, rlim_t hard) {
  rlimit limit{};
  if (::getrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0) return false;
  limit.rlim_max = std::min(limit.rlim_max, hard);
  limit.rlim_cur = std::min({limit.rlim_cur, limit.rlim_max, soft});
  return ::setrlimit(static_cast<__rlimit_resource>(resource), &limit) == 0;
}

// The number of processes is left to the filter: its limit counts all processes of the user. A file
// that would grow fails the write instead of ending the process.
bool lowerAll() {
  constexpr rlim_t kMemory = rlim_t{512} << 20;
  constexpr rlim_t kFiles = 32;
  std::signal(SIGXFSZ, SIG_IGN);
  bool done = lower(RLIMIT_CORE, 0, 0);
  done = lower(RLIMIT_FSIZE, 0, 0) && done;
  done = lower(RLIMIT_NOFILE, kFiles, kFiles) && done;
  if (!kSanitized) done = lower(RLIMIT_AS, kMemory, kMemory) && done;
  return done;
}

// ---- System calls

// A filter under construction; it refuses what no rule allows.
class Filter {
 public:
  explicit Filter(std::uint32_t otherwise) : m_context(seccomp_init(otherwise)) {}
  ~Filter() {
    if (m_context != nullptr) seccomp_release(m_context);
  }
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  scmp_filter_ctx context() const { return m_context; }

  // Calls that this architecture lacks are skipped by libseccomp.
  bool add(std::uint32_t action, std::initializer_list<int> calls) {
    return std::ranges::all_of(calls, [&](int call) {
      return seccomp_rule_add_array(m_context, action, call, 0, nullptr) == 0;
    });
  }
  bool allowIf(int call, const scmp_arg_cmp& condition) {
    return seccomp_rule_add_array(m_context, SCMP_ACT_ALLOW, call, 1, &condition) == 0;
  }

 private:
  scmp_filter_ctx m_context;
};

// The template also forks, waits, and lowers limits; workers lose that again. Rationale: tgkill()
// is missing, so abort() ends the process with SIGSEGV instead of SIGABRT.
bool addRules(Filter& filter) {
  constexpr scmp_datum_t kWriting = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND;
  // The flags of glibc's fork(); threads have others.
  constexpr scmp_datum_t kFork = CLONE_CHILD_CLEARTID | CLONE_CHILD_SETTID | SIGCHLD;
  const bool plain = filter.add(SCMP_ACT_ALLOW, {SCMP_SYS(sendmsg),
                                                 SCMP_SYS(sendto),
                                                 SCMP_SYS(recvmsg),
                                                 SCMP_SYS(recvfrom),
                                                 SCMP_SYS(read),
                                                 SCMP_SYS(write),
                                                 SCMP_SYS(close),
                                                 SCMP_SYS(lseek),
                                                 SCMP_SYS(fstat),
                                                 SCMP_SYS(newfstatat),
                                                 SCMP_SYS(stat),
                                                 SCMP_SYS(access),
                                                 SCMP_SYS(brk),
                                                 SCMP_SYS(munmap),
                                                 SCMP_SYS(mremap),
                                                 SCMP_SYS(madvise),
                                                 SCMP_SYS(futex),
                                                 SCMP_SYS(poll),
                                                 SCMP_SYS(ppoll),
                                                 SCMP_SYS(clock_gettime),
                                                 SCMP_SYS(gettimeofday),
                                                 SCMP_SYS(time),
                                                 SCMP_SYS(rt_sigreturn),
                                                 SCMP_SYS(rt_sigprocmask),
                                                 SCMP_SYS(getpid),
                                                 SCMP_SYS(getppid),
                                                 SCMP_SYS(gettid),
                                                 SCMP_SYS(restart_syscall),
                                                 SCMP_SYS(exit),
                                                 SCMP_SYS(exit_group),
                                                 SCMP_SYS(wait4),
                                                 SCMP_SYS(pidfd_open),
                                                 SCMP_SYS(set_robust_list),
                                                 SCMP_SYS(rseq),
                                                 SCMP_SYS(getrandom)});
  const bool conditional =
      filter.allowIf(SCMP_SYS(openat), SCMP_A2(SCMP_CMP_MASKED_EQ, kWriting, O_RDONLY)) &&
      filter.allowIf(SCMP_SYS(mmap), SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0)) &&
      filter.allowIf(SCMP_SYS(mprotect), SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0)) &&
      filter.allowIf(SCMP_SYS(clone), SCMP_A0(SCMP_CMP_EQ, kFork, 0)) &&
      filter.allowIf(SCMP_SYS(prlimit64), SCMP_A0(SCMP_CMP_EQ, 0, 0)) &&
      filter.allowIf(SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_PDEATHSIG, 0)) &&
      filter.allowIf(SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_SECCOMP, 0)) &&
      // Its flags cannot be checked, so glibc must take clone().
      filter.add(SCMP_ACT_ERRNO(ENOSYS), {SCMP_SYS(clone3)});
  return plain && conditional;
}

// Makes the second filter, which refuses what only the template needs. It allows everything else,
// since the first one stays in force.
std::vector<sock_filter> makeWorkerFilter() {
  Filter filter(SCMP_ACT_ALLOW);
  if (filter.context() == nullptr ||
      !filter.add(SCMP_ACT_ERRNO(EPERM), {SCMP_SYS(clone), SCMP_SYS(wait4), SCMP_SYS(prctl),
                                          SCMP_SYS(prlimit64), SCMP_SYS(pidfd_open)})) {
    return {};
  }
  // libseccomp writes a filter only to a descriptor. A pipe holds more than a filter needs and,
  // unlike a file, is not subject to a limit of the host on the size of files.
  int ends[2] = {-1, -1};
  std::vector<sock_filter> instructions;
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return {};
  if (seccomp_export_bpf(filter.context(), ends[1]) == 0) {
    constexpr std::size_t kMostInstructions = 256;
    instructions.resize(kMostInstructions);
    const ssize_t size =
        ::read(ends[0], instructions.data(), instructions.size() * sizeof(sock_filter));
    instructions.resize(size > 0 ? static_cast<std::size_t>(size) / sizeof(sock_filter) : 0);
  }
  ::close(ends[0]);
  ::close(ends[1]);
  return instructions;
}

// TSYNC: espeak-ng has started a thread that does nothing.
bool filterSystemCalls() {
  Filter filter(SCMP_ACT_ERRNO(EPERM));
  return filter.context() != nullptr &&
         seccomp_attr_set(filter.context(), SCMP_FLTATR_CTL_TSYNC, 1) == 0 && addRules(filter) &&
         seccomp_load(filter.context()) == 0;
}

}  // namespace

// The order matters: the filter refuses what the other protections are made with, and neither
// Landlock nor the filter may be used by a process that could gain privileges.
std::uint32_t Sandbox::enter(const std::string& folder) {
  std::uint32_t missing = 0;
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) missing |= Ready::kNoNewPrivileges;
  ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  if (!landlock::restrictTo(folder)) missing |= Ready::kLandlock;
  if (!kSanitized) m_workerFilter = makeWorkerFilter();
  if (!lowerAll()) missing |= Ready::kLimits;
  if (kSanitized || m_workerFilter.empty() || !filterSystemCalls()) {
    m_workerFilter.clear();
    missing |= Ready::kSystemCalls;
  }
  return missing;
}

bool Sandbox::isBuiltWithoutFilter() {
  return kSanitized;
}

bool Sandbox::enterWorker(unsigned seconds) const {
  // One second more for a handler that somebody might have installed.
  if (!lower(RLIMIT_CPU, seconds, seconds + 1)) return false;
  if (m_workerFilter.empty()) return true;
  sock_fprog program{};
  program.len = static_cast<unsigned short>(m_workerFilter.size());
  program.filter = const_cast<sock_filter*>(m_workerFilter.data());
  return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

}  // namespace kavrel
