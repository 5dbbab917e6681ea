// SPDX-License-Identifier: GPL-3.0-or-later
#include "worker.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/prctl.h>
#include <unistd.h>

#include "connection.h"
#include "speaker.h"

namespace kavrel {

namespace {

namespace protocol = synth_protocol;

// A copy of the socket in a process that does not use it must not keep the template forever.
constexpr int kIdleMilliseconds = 10 * 60 * 1000;

// Sends the results and counts them.
class Sender final : public speaker::Output {
 public:
  explicit Sender(std::uint32_t call) : m_call(call) { m_bytes.reserve(protocol::kFrameBytes); }

  bool beforeBlock() override {
    const connection::Meanwhile seen = connection::look(m_call);
    m_gone = seen == connection::Meanwhile::Gone;
    return seen == connection::Meanwhile::Nothing;
  }

  bool onEvents(std::span<const protocol::Event> events) override {
    m_end.events += static_cast<std::uint32_t>(events.size());
    while (!events.empty()) {
      const auto part = events.first(std::min(events.size(), protocol::kMaxEvents));
      events = events.subspan(part.size());
      m_bytes.clear();
      protocol::writeEvents(m_bytes, m_call, part);
      if (!send()) return false;
    }
    return true;
  }

  bool onSamples(std::span<const std::int16_t> samples) override {
    m_end.samples += static_cast<std::uint32_t>(samples.size());
    while (!samples.empty()) {
      const auto part = samples.first(std::min(samples.size(), protocol::kMaxSamples));
      samples = samples.subspan(part.size());
      m_bytes.clear();
      protocol::writeSamples(m_bytes, m_call, part);
      if (!send()) return false;
    }
    return true;
  }

  // Returns false if the client is gone.
  bool end(protocol::End::Status status) {
    if (m_gone) return false;
    m_end.status = status;
    m_bytes.clear();
    protocol::writeEnd(m_bytes, m_call, m_end);
    return send();
  }

 private:
  bool send() {
    m_gone = m_gone || !connection::send(m_bytes);
    return !m_gone;
  }

  const std::uint32_t m_call;
  std::vector<std::byte> m_bytes;
  protocol::End m_end;
  bool m_gone = false;
};

struct Call {
  std::uint32_t number = 0;
  protocol::Speak speak;
  std::wstring text;
};

// Waits for the next call. Returns nullopt if none comes, or what comes is invalid.
std::optional<Call> receiveCall() {
  protocol::FrameReader reader(protocol::Side::Synthesiser);
  protocol::Frame frame;
  while (connection::receive(reader, frame, kIdleMilliseconds)) {
    // Its call has ended before it came.
    if (frame.type == protocol::FrameType::Cancel) continue;
    auto speak = protocol::readSpeak(frame);
    if (!speak.has_value()) return std::nullopt;
    auto text = protocol::wideOf(speak->text);
    if (!text.has_value()) return std::nullopt;
    return Call{frame.call, std::move(*speak), std::move(*text)};
  }
  return std::nullopt;
}

}  // namespace

// The parent may have ended before the signal was set.
int runWorker(const Sandbox& sandbox, pid_t parent) {
  if (::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || ::getppid() != parent) {
    return kWorkerFailed;
  }
  ::close(connection::kReport);
  if (!sandbox.enterWorker(kCallSeconds)) return kWorkerFailed;
  const std::optional<Call> call = receiveCall();
  if (!call.has_value()) return kWorkerNoCall;
  Sender sender(call->number);
  const protocol::End::Status status = speaker::speak(call->speak, call->text, sender);
  // Frees nothing: a text may have damaged the heap without any effect on its call, and a worker
  // that aborts after End would be lost to the next call.
  ::_exit(sender.end(status) ? kWorkerDone : kWorkerClientGone);
}

}  // namespace kavrel
