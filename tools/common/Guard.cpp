// SPDX-License-Identifier: Apache-2.0
#include "Guard.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include <fcntl.h>
#include <unistd.h>

#include "Failure.h"

namespace tool {

namespace {

// A standard stream that was closed must not be taken by a file that the program opens. What is
// put in its place fails as a closed one does.
void occupyStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) >= 0) continue;
    // The lowest number that is free.
    [[maybe_unused]] const int taken =
        ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int report(const char* program, const char* message) {
  std::fprintf(stderr, "%s: %s\n", program, message);
  return kFailure;
}

}  // namespace

int guarded(const char* program, const std::function<int()>& work) {
  try {
    occupyStandardStreams();
    // The width of characters on a terminal is that of a UTF-8 locale.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    // What is written is looked at instead.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return work();
  } catch (const ReaderGone&) {
    return kFailure;
  } catch (const std::bad_alloc&) {
    return report(program, "memory is out");
  } catch (const std::exception& error) {
    return report(program, error.what());
  }
}

}  // namespace tool
