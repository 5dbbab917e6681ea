// SPDX-License-Identifier: Apache-2.0
#include "screen/Output.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "Failure.h"

namespace say {

// An eventfd rather than a flag: poll() can wait for it together with the file.
Interruption::Interruption() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (m_event < 0)
    throw tool::Failure(std::string("cannot create an event descriptor: ") + std::strerror(errno));
}

Interruption::~Interruption() {
  ::close(m_event);
}

void Interruption::trigger() const {
  constexpr std::uint64_t kOne = 1;
  // Can fail only if the counter is full; the descriptor is readable then anyway.
  [[maybe_unused]] const ssize_t written = ::write(m_event, &kOne, sizeof kOne);
}

Output::Output(int file, std::string name, const Interruption& interruption)
    : m_file(file), m_name(std::move(name)), m_interruption(interruption) {}

// Waits with poll() before each write, so that an interruption can end the wait.
void Output::write(std::string_view text) const {
  while (!text.empty()) {
    waitForRoom();
    // A pipe that poll() reports as writable takes PIPE_BUF bytes without blocking.
    const ssize_t written =
        ::write(m_file, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      throw tool::ReaderGone();
    } else if (errno != EINTR && errno != EAGAIN) {
      throw tool::Failure("cannot write " + m_name + ": " + std::strerror(errno));
    }
  }
}

void Output::waitForRoom() const {
  constexpr int kForever = -1;
  pollfd files[] = {{m_file, POLLOUT, 0}, {m_interruption.descriptor(), POLLIN, 0}};
  while (::poll(files, 2, kForever) < 0 && errno == EINTR) {
  }
  // If there is room the text is written even after an interruption.
  if (files[0].revents == 0 && files[1].revents != 0) throw Interrupted();
}

}  // namespace say
