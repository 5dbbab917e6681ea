// SPDX-License-Identifier: GPL-3.0-or-later
//
// Takes from the process what speaking does not need, for good. After enter() it can read the files
// of one folder; it cannot write, create or remove a file, open a socket, start a program, send a
// signal to another process, look into one, or map memory that is executable. A refused system call
// fails with EPERM.
//
// Each protection is independent of the others: where the system lacks one, the others hold.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <linux/filter.h>

namespace kavrel {

class Sandbox {
 public:
  // Applies all protections to all threads of the process, which is one that forks workers. Only
  // files in `folder` can be read from now on. Returns those that the system refused, as bits of
  // synth_protocol::Ready.
  std::uint32_t enter(const std::string& folder);

  // True if the program is built with a sanitizer, whose system calls are not known, and so has no
  // filter of system calls. enter() then reports it as missing.
  static bool isBuiltWithoutFilter();

  // In a worker, after fork(): takes fork() and its relatives too, and limits the worker's CPU time
  // to `seconds`, after which SIGXCPU ends it. Returns false if the system refuses.
  bool enterWorker(unsigned seconds) const;

 private:
  // The worker's filter, made in enter(), because making it takes longer than a short call.
  std::vector<sock_filter> m_workerFilter;
};

}  // namespace kavrel
