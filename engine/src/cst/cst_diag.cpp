// SPDX-License-Identifier: Apache-2.0
//
// Diagnostic lines. Each thread stores the parts of its next line in fixed thread-local buffers.
// Only a message that is too long for the stack buffer allocates, so that diagnostics also work
// when memory is short. Safe on any thread; a message with its parts is one write() call.
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <sys/time.h>
#include <unistd.h>

#include "cst.h"

unsigned int cst_diag_mask = 0;
int cst_diag_level = 0;

namespace {

// The parts of a line before its message; empty parts are omitted.
struct Prefix {
  std::array<char, 24> time;
  std::array<char, 160> location;
  std::array<char, 24> area;

  void clear() { time[0] = location[0] = area[0] = '\0'; }
};

thread_local Prefix t_prefix{};

const char* areaName(unsigned int area) {
  switch (area) {
    case CST_DIAG_CHANNELS:
      return "channels";
    case CST_DIAG_MARKUP:
      return "markup";
    case CST_DIAG_ENGINE:
      return "engine";
    default:
      return nullptr;
  }
}

// Gives up on any error but an interruption: there is no other channel to report it.
void writeAll(const char* bytes, size_t count) {
  while (count > 0) {
    const ssize_t written = write(STDERR_FILENO, bytes, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    bytes += written;
    count -= static_cast<size_t>(written);
  }
}

}  // namespace

void cst_dbg_timestamp(void) {
  timeval now{};
  gettimeofday(&now, nullptr);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  std::snprintf(t_prefix.time.data(), t_prefix.time.size(), "%02d:%02d:%02d.%03d ",
                local.tm_hour % 100, local.tm_min % 100, local.tm_sec % 100,
                static_cast<int>(now.tv_usec / 1000) % 1000);
}

void cst_dbg_ffl(const char* file, const char* function, int line) {
  std::snprintf(t_prefix.location.data(), t_prefix.location.size(), "%s:%s:%d ",
                file != nullptr ? file : "", function != nullptr ? function : "", line);
}

void cst_dbg_context(unsigned int area) {
  if (const char* name = areaName(area)) {
    std::snprintf(t_prefix.area.data(), t_prefix.area.size(), "[%s] ", name);
  } else {
    std::snprintf(t_prefix.area.data(), t_prefix.area.size(), "[0x%x] ", area);
  }
}

void cst_errmsg(const char* format, ...) {
  if (format == nullptr) return;
  // Callers report an error before they read errno.
  const int savedErrno = errno;
  std::array<char, 1024> shortLine;
  const int prefixed =
      std::snprintf(shortLine.data(), shortLine.size(), "%s%s%s", t_prefix.time.data(),
                    t_prefix.location.data(), t_prefix.area.data());
  t_prefix.clear();
  const auto prefix = static_cast<size_t>(prefixed > 0 ? prefixed : 0);

  va_list arguments;
  va_list again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const size_t room = shortLine.size() - prefix;
  const int formatted = std::vsnprintf(shortLine.data() + prefix, room, format, arguments);
  va_end(arguments);
  const auto message = static_cast<size_t>(formatted > 0 ? formatted : 0);

  // The line goes out in one write, so it is formatted again on the heap if the stack is too small,
  // and truncated if there is no memory.
  if (message < room) {
    writeAll(shortLine.data(), prefix + message);
  } else if (auto* longLine = static_cast<char*>(cst_safe_alloc(prefix + message + 1))) {
    std::memcpy(longLine, shortLine.data(), prefix);
    std::vsnprintf(longLine + prefix, message + 1, format, again);
    writeAll(longLine, prefix + message);
    cst_free(longLine);
  } else {
    shortLine.back() = '\n';
    writeAll(shortLine.data(), shortLine.size());
  }
  va_end(again);
  errno = savedErrno;
}
