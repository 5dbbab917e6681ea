// SPDX-License-Identifier: Apache-2.0
#include "Guard.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "Failure.h"

namespace tool {

namespace {

int report(const char* program, const char* message) {
  std::fprintf(stderr, "%s: %s\n", program, message);
  return kFailure;
}

}  // namespace

int guarded(const char* program, const std::function<int()>& work) {
  try {
    // The plain forms of characters are those of a UTF-8 locale.
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
