// SPDX-License-Identifier: GPL-3.0-or-later
#include "connection.h"

#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kavrel::connection {

namespace protocol = synth_protocol;

// Without the C library's function: its declaration is not for C++ everywhere.
int openProcess(pid_t process) {
  return static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
}

bool send(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(kSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
  return true;
}

bool beginReady() {
  std::vector<std::byte> bytes;
  protocol::writeReady(bytes, {});
  bytes.resize(protocol::kHeaderBytes);
  const int self = openProcess(::getpid());
  if (self < 0) return send(bytes);
  iovec data{bytes.data(), bytes.size()};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof(control);
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(header), &self, sizeof(self));
  const ssize_t sent = ::sendmsg(kSocket, &message, MSG_NOSIGNAL);
  ::close(self);
  return sent == static_cast<ssize_t>(bytes.size());
}

bool endReady(const protocol::Ready& ready) {
  std::vector<std::byte> bytes;
  protocol::writeReady(bytes, ready);
  return send(std::span(bytes).subspan(protocol::kHeaderBytes));
}

// The time limit is for the first byte: after that the client is about to send the rest.
bool receive(protocol::FrameReader& reader, protocol::Frame& frame, int milliseconds) {
  pollfd socket{kSocket, POLLIN, 0};
  int ready = ::poll(&socket, 1, milliseconds);
  while (ready < 0 && errno == EINTR) ready = ::poll(&socket, 1, milliseconds);
  if (ready <= 0) return false;
  for (;;) {
    const auto result = reader.next(frame);
    if (result != protocol::FrameReader::Result::More) {
      return result == protocol::FrameReader::Result::Frame;
    }
    const ssize_t count = ::recv(kSocket, reader.space().data(), reader.wanted(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    reader.received(static_cast<std::size_t>(count));
  }
}

// Only Cancel can come during a call, so a part of a frame is the begin of one.
Meanwhile look(std::uint32_t call) {
  std::byte bytes[protocol::kHeaderBytes];
  const ssize_t seen = ::recv(kSocket, bytes, sizeof(bytes), MSG_PEEK | MSG_DONTWAIT);
  if (seen < 0) return errno == EAGAIN || errno == EINTR ? Meanwhile::Nothing : Meanwhile::Gone;
  if (seen == 0) return Meanwhile::Gone;
  if (seen < static_cast<ssize_t>(sizeof(bytes))) return Meanwhile::Nothing;
  protocol::FrameReader reader(protocol::Side::Synthesiser);
  std::memcpy(reader.space().data(), bytes, sizeof(bytes));
  reader.received(sizeof(bytes));
  protocol::Frame frame;
  if (reader.next(frame) != protocol::FrameReader::Result::Frame ||
      frame.type != protocol::FrameType::Cancel || frame.call != call) {
    return Meanwhile::Gone;
  }
  (void)::recv(kSocket, bytes, sizeof(bytes), MSG_DONTWAIT);
  return Meanwhile::Cancel;
}

}  // namespace kavrel::connection
