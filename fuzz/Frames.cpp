// SPDX-License-Identifier: Apache-2.0
#include "Frames.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "Fuzz.h"

namespace fuzz {

namespace {

namespace protocol = kavrel::synth_protocol;
using protocol::Frame;
using protocol::FrameReader;
using protocol::FrameType;
using protocol::Side;
using Bytes = std::span<const std::byte>;

std::uint32_t numberAt(Bytes bytes, std::size_t offset) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data() + offset, sizeof(number));
  return number;
}

// ---- A literal reading

// Whether a side accepts a header, by the table in synth_protocol.h.
bool isHeader(Side side, Bytes header) {
  const std::uint32_t magic = numberAt(header, 0);
  const std::uint32_t type = numberAt(header, 4);
  const std::uint32_t length = numberAt(header, 8);
  const std::uint32_t call = numberAt(header, 12);
  if (magic != 0x4B535931 || length > 65536) return false;
  if (side == Side::Synthesiser) {
    return call != 0 && ((type == 1 && length > 16) || (type == 2 && length == 0));
  }
  return (type == 3 && call == 0 && length == 8) ||
         (type == 4 && call != 0 && length != 0 && length % 16 == 0) ||
         (type == 5 && call != 0 && length != 0 && length % 2 == 0) ||
         (type == 6 && call != 0 && length == 12);
}

// The bytes of all whole frames at the start of `bytes`, and whether garbage follows them.
struct Reading {
  std::vector<Bytes> frames;
  bool garbage = false;
};

Reading readingOf(Side side, Bytes bytes) {
  Reading reading;
  while (bytes.size() >= 16 && !reading.garbage) {
    reading.garbage = !isHeader(side, bytes);
    const std::size_t length = 16 + std::size_t{numberAt(bytes, 8)};
    if (reading.garbage || bytes.size() < length) break;
    reading.frames.push_back(bytes.first(length));
    bytes = bytes.subspan(length);
  }
  return reading;
}

// ---- Payloads

// Whether the values of an accepted frame are valid, by the comments in synth_protocol.h.
bool isPayload(FrameType type, Bytes payload) {
  switch (type) {
    case FrameType::Speak: {
      const auto rate = static_cast<std::int32_t>(numberAt(payload, 0));
      return rate >= 1 && rate <= 1000 && numberAt(payload, 4) <= 99 &&
             numberAt(payload, 8) <= 99 && numberAt(payload, 12) <= 3;
    }
    case FrameType::Ready:
      return numberAt(payload, 0) <= 5 && numberAt(payload, 4) <= 15;
    case FrameType::End:
      return numberAt(payload, 0) <= 2;
    case FrameType::Events:
      for (; !payload.empty(); payload = payload.subspan(16)) {
        const std::uint32_t mark = numberAt(payload, 4);
        const Bytes name = payload.subspan(8, 8);
        const auto end = std::ranges::find(name, std::byte{0});
        const bool isPadded =
            std::all_of(end, name.end(), [](auto b) { return b == std::byte{0}; });
        if (mark > 0x7FFFFFFF || !isPadded || (mark > 0 && end != name.begin())) return false;
      }
      return true;
    case FrameType::Cancel:
    case FrameType::Samples:
      return true;
  }
  return false;
}

void checkText(const std::string& text) {
  const auto wide = protocol::wideOf(text);
  require(!wide.has_value() || protocol::utf8Of(*wide) == text, "a text reads back equal");
}

// Reads the values of a frame and writes them again; nothing for values that are invalid.
std::vector<std::byte> rewritten(const Frame& frame) {
  std::vector<std::byte> out;
  std::vector<protocol::Event> events;
  std::vector<std::int16_t> samples;
  switch (frame.type) {
    case FrameType::Speak:
      if (const auto speak = protocol::readSpeak(frame)) {
        checkText(speak->text);
        require(protocol::writeSpeak(out, frame.call, *speak), "what was read can be written");
      }
      break;
    case FrameType::Cancel:
      protocol::writeCancel(out, frame.call);
      break;
    case FrameType::Ready:
      if (const auto ready = protocol::readReady(frame)) protocol::writeReady(out, *ready);
      break;
    case FrameType::Events:
      if (protocol::readEvents(frame, events)) protocol::writeEvents(out, frame.call, events);
      break;
    case FrameType::Samples:
      protocol::readSamples(frame, samples);
      protocol::writeSamples(out, frame.call, samples);
      break;
    case FrameType::End:
      if (const auto end = protocol::readEnd(frame)) protocol::writeEnd(out, frame.call, *end);
      break;
  }
  return out;
}

bool isSame(Bytes one, Bytes other) {
  return std::ranges::equal(one, other);
}

// ---- Reading in pieces

std::vector<std::size_t> piecesOf(std::string_view line) {
  std::vector<std::size_t> pieces;
  for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) {
    std::size_t piece = 0;
    std::from_chars(word.data(), word.data() + word.size(), piece);
    pieces.push_back(piece);
  }
  if (pieces.empty()) pieces.push_back(0);
  return pieces;
}

// Passes bytes to a reader as a socket does, and takes the frames out after each piece.
class Connection {
 public:
  Connection(Side side, Bytes bytes)
      : m_reader(side), m_expected(readingOf(side, bytes)), m_bytes(bytes) {}

  // `most` bytes at a time; 0: as much as fits; nullopt: as many as the reader wants, as the
  // synthesiser reads.
  void give(std::optional<std::size_t> most) {
    const std::span<std::byte> space = m_reader.space();
    require(!space.empty() && space.size() <= protocol::kFrameBytes, "there is room, but not more");
    require(m_reader.wanted() >= 1 && m_reader.wanted() <= space.size(), "what is wanted fits");
    std::size_t count = std::min(space.size(), m_bytes.size());
    if (!most.has_value()) count = std::min(count, m_reader.wanted());
    if (most.has_value() && *most > 0) count = std::min(count, *most);
    std::copy_n(m_bytes.begin(), count, space.begin());
    m_bytes = m_bytes.subspan(count);
    m_reader.received(count);
    takeFrames(!most.has_value());
  }

  bool isDone() const { return m_bytes.empty() || m_garbage; }

  void checkEnd() {
    require(m_taken == m_expected.frames.size(), "all whole frames are read");
    require(m_garbage == m_expected.garbage, "garbage is refused, and nothing else");
    Frame frame;
    const auto last = m_garbage ? FrameReader::Result::Garbage : FrameReader::Result::More;
    require(m_reader.next(frame) == last, "the end stays the end");
    // Good bytes after the bad ones change nothing.
    if (!m_garbage) return;
    std::vector<std::byte> good;
    protocol::writeCancel(good, 1);
    const std::span<std::byte> space = m_reader.space();
    const std::size_t count = std::min(space.size(), good.size());
    std::copy_n(good.begin(), count, space.begin());
    m_reader.received(count);
    require(m_reader.next(frame) == FrameReader::Result::Garbage, "garbage stays garbage");
  }

 private:
  void takeFrames(bool exactly) {
    Frame frame;
    for (;;) {
      const FrameReader::Result result = m_reader.next(frame);
      m_garbage = result == FrameReader::Result::Garbage;
      if (result != FrameReader::Result::Frame) return;
      require(m_taken < m_expected.frames.size(), "no frame too many");
      const Bytes expected = m_expected.frames[m_taken++];
      require(frame.call == numberAt(expected, 12), "same call");
      require(static_cast<std::uint32_t>(frame.type) == numberAt(expected, 4), "same type");
      require(isSame(frame.payload, expected.subspan(16)), "same payload");
      require(!exactly || !m_reader.isInside(), "nothing after the frame was read");
      const std::vector<std::byte> again = rewritten(frame);
      const bool isValid = isPayload(frame.type, frame.payload);
      require(isValid != again.empty(), "values are read if they are valid, and not otherwise");
      require(!isValid || isSame(again, expected), "what was read is written equal");
    }
  }

  FrameReader m_reader;
  const Reading m_expected;
  Bytes m_bytes;
  std::size_t m_taken = 0;
  bool m_garbage = false;
};

}  // namespace

int checkFrames(Side side, std::string_view input) {
  const auto [line, rest] = atFirstLine(input);
  const Bytes bytes = std::as_bytes(std::span(rest));
  const std::vector<std::size_t> pieces = piecesOf(line);
  Connection inPieces(side, bytes);
  for (std::size_t i = 0; !inPieces.isDone(); ++i) inPieces.give(pieces[i % pieces.size()]);
  inPieces.checkEnd();
  Connection asWanted(side, bytes);
  while (!asWanted.isDone()) asWanted.give(std::nullopt);
  asWanted.checkEnd();
  return 0;
}

}  // namespace fuzz
