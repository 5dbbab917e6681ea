// SPDX-License-Identifier: Apache-2.0
#include "RunTool.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include <fcntl.h>
#include <unistd.h>

#include "Failure.h"

namespace tool {

namespace {

// Opens /dev/null for each closed standard stream. Otherwise a file that the program opens later
// would get the descriptor, and messages would be written into it. The stream is opened in the
// wrong direction, so that reading or writing still fails as on a closed stream.
void occupyStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) >= 0) continue;
    // open() returns the lowest free descriptor, which is `stream`.
    [[maybe_unused]] const int taken =
        ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int report(const char* program, const char* message) {
  std::fprintf(stderr, "%s: %s\n", program, message);
  return kFailure;
}

}  // namespace

int runTool(const char* program, const std::function<int()>& work) {
  try {
    occupyStandardStreams();
    // Every write checks its result, so a broken pipe or a size limit is an error, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return work();
  } catch (const ReaderGone&) {
    // No message: the reader has what it wanted.
    return kFailure;
  } catch (const std::bad_alloc&) {
    // Its what() is the name of a class, which has no meaning for users.
    return report(program, "out of memory");
  } catch (const std::exception& error) {
    return report(program, error.what());
  }
}

}  // namespace tool
