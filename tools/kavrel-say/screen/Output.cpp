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

Interruption::Interruption() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (m_event < 0) throw tool::Failure(std::string("cannot speak: ") + std::strerror(errno));
}

Interruption::~Interruption() {
  ::close(m_event);
}

void Interruption::come() const {
  constexpr std::uint64_t kOne = 1;
  // It fails only where it has come more often than can be counted.
  [[maybe_unused]] const ssize_t written = ::write(m_event, &kOne, sizeof kOne);
}

Output::Output(int file, std::string name, const Interruption& interruption)
    : m_file(file), m_name(std::move(name)), m_interruption(interruption) {}

void Output::write(std::string_view text) const {
  while (!text.empty()) {
    waitForRoom();
    // A pipe that has room has room for this much.
    const ssize_t written =
        ::write(m_file, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      throw tool::ReaderGone();
    } else if (errno != EINTR && errno != EAGAIN) {
      throw tool::Failure(m_name + ": " + std::strerror(errno));
    }
  }
}

void Output::waitForRoom() const {
  constexpr int kForever = -1;
  pollfd files[] = {{m_file, POLLOUT, 0}, {m_interruption.descriptor(), POLLIN, 0}};
  while (::poll(files, 2, kForever) < 0 && errno == EINTR) {
  }
  if (files[0].revents == 0 && files[1].revents != 0) throw Interrupted();
}

}  // namespace say
