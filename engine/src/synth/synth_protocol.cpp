// SPDX-License-Identifier: Apache-2.0
#include "synth/synth_protocol.h"

#include <algorithm>
#include <cstring>

#include "base/text/Utf8.h"

namespace kavrel::synth_protocol {

namespace {

constexpr std::int32_t kMaxRate = 1000;
constexpr std::int32_t kMaxSetting = 99;
constexpr std::size_t kReadyBytes = 8;
constexpr std::size_t kEndBytes = 12;
constexpr std::size_t kSpeakBytes = 16;  // before the text

struct Header {
  std::uint32_t magic;
  std::uint32_t type;
  std::uint32_t length;
  std::uint32_t call;
};
static_assert(sizeof(Header) == kHeaderBytes);
static_assert(sizeof(Event) == kEventBytes);

template <typename Value>
void append(std::vector<std::byte>& out, const Value& value) {
  const auto bytes = std::as_bytes(std::span(&value, 1));
  out.insert(out.end(), bytes.begin(), bytes.end());
}

template <typename Value>
Value valueAt(std::span<const std::byte> bytes, std::size_t offset) {
  Value value;
  std::memcpy(&value, bytes.data() + offset, sizeof(value));
  return value;
}

void writeHeader(std::vector<std::byte>& out, FrameType type, std::size_t length,
                 std::uint32_t call) {
  append(out, Header{kMagic, static_cast<std::uint32_t>(type), static_cast<std::uint32_t>(length),
                     call});
}

bool isWithin(std::int32_t value, std::int32_t least, std::int32_t most) {
  return value >= least && value <= most;
}

bool isValid(const Speak& speak) {
  return isWithin(speak.rate, 1, kMaxRate) && isWithin(speak.pitch, 0, kMaxSetting) &&
         isWithin(speak.range, 0, kMaxSetting) &&
         (speak.flags & ~(Speak::kPhones | Speak::kEndPause)) == 0;
}

// A name has no characters after its first NUL, and a mark has no name.
bool isValid(const Event& event) {
  if (event.mark < 0) return false;
  const std::size_t length = event.nameText().size();
  if (event.mark > 0 && length > 0) return false;
  return std::all_of(event.name.begin() + static_cast<std::ptrdiff_t>(length), event.name.end(),
                     [](char c) { return c == '\0'; });
}

// What a side accepts: type, length and number of the call fit each other.
bool isAcceptable(Side side, const Header& header) {
  const std::size_t length = header.length;
  if (header.magic != kMagic || length > kMaxPayload) return false;
  const bool fromClient = side == Side::Synthesiser;
  switch (static_cast<FrameType>(header.type)) {
    case FrameType::Speak:
      return fromClient && header.call != 0 && length > kSpeakBytes;
    case FrameType::Cancel:
      return fromClient && header.call != 0 && length == 0;
    case FrameType::Ready:
      return !fromClient && header.call == 0 && length == kReadyBytes;
    case FrameType::Events:
      return !fromClient && header.call != 0 && length > 0 && length % kEventBytes == 0;
    case FrameType::Samples:
      return !fromClient && header.call != 0 && length > 0 && length % sizeof(std::int16_t) == 0;
    case FrameType::End:
      return !fromClient && header.call != 0 && length == kEndBytes;
  }
  return false;
}

}  // namespace

std::string_view Event::nameText() const {
  const auto end = std::ranges::find(name, '\0');
  return {name.data(), static_cast<std::size_t>(end - name.begin())};
}

// ---- Writing

bool writeSpeak(std::vector<std::byte>& out, std::uint32_t call, const Speak& speak) {
  if (!isValid(speak) || speak.text.empty() || speak.text.size() > kMaxText) return false;
  writeHeader(out, FrameType::Speak, kSpeakBytes + speak.text.size(), call);
  append(out, speak.rate);
  append(out, speak.pitch);
  append(out, speak.range);
  append(out, speak.flags);
  const auto text = std::as_bytes(std::span(speak.text));
  out.insert(out.end(), text.begin(), text.end());
  return true;
}

void writeCancel(std::vector<std::byte>& out, std::uint32_t call) {
  writeHeader(out, FrameType::Cancel, 0, call);
}

void writeReady(std::vector<std::byte>& out, const Ready& ready) {
  writeHeader(out, FrameType::Ready, kReadyBytes, 0);
  append(out, ready.status);
  append(out, ready.missing);
}

void writeEvents(std::vector<std::byte>& out, std::uint32_t call, std::span<const Event> events) {
  writeHeader(out, FrameType::Events, events.size_bytes(), call);
  const auto bytes = std::as_bytes(events);
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void writeSamples(std::vector<std::byte>& out, std::uint32_t call,
                  std::span<const std::int16_t> samples) {
  writeHeader(out, FrameType::Samples, samples.size_bytes(), call);
  const auto bytes = std::as_bytes(samples);
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void writeEnd(std::vector<std::byte>& out, std::uint32_t call, const End& end) {
  writeHeader(out, FrameType::End, kEndBytes, call);
  append(out, end.status);
  append(out, end.events);
  append(out, end.samples);
}

// ---- Reading

FrameReader::FrameReader(Side side) : m_side(side), m_bytes(kFrameBytes) {}

// The bytes of a frame that has begun move to the front, so that there is room for its rest.
std::span<std::byte> FrameReader::space() {
  if (m_begin > 0) {
    std::memmove(m_bytes.data(), m_bytes.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
  }
  return std::span(m_bytes).subspan(m_end);
}

std::size_t FrameReader::wanted() const {
  const std::size_t here = m_end - m_begin;
  if (here < kHeaderBytes) return kHeaderBytes - here;
  const std::size_t length =
      std::min<std::size_t>(valueAt<Header>(m_bytes, m_begin).length, kMaxPayload);
  return kHeaderBytes + length - std::min(here, kHeaderBytes + length);
}

void FrameReader::received(std::size_t count) {
  m_end = std::min(m_end + count, m_bytes.size());
}

// A bad header is refused before its payload comes.
FrameReader::Result FrameReader::next(Frame& frame) {
  const std::size_t here = m_end - m_begin;
  if (m_garbage) return Result::Garbage;
  if (here < kHeaderBytes) return Result::More;
  const auto header = valueAt<Header>(m_bytes, m_begin);
  if (!isAcceptable(m_side, header)) {
    m_garbage = true;
    return Result::Garbage;
  }
  if (here < kHeaderBytes + header.length) return Result::More;
  frame.type = static_cast<FrameType>(header.type);
  frame.call = header.call;
  frame.payload =
      std::span<const std::byte>(m_bytes).subspan(m_begin + kHeaderBytes, header.length);
  m_begin += kHeaderBytes + header.length;
  return Result::Frame;
}

std::optional<Speak> readSpeak(const Frame& frame) {
  Speak speak;
  speak.rate = valueAt<std::int32_t>(frame.payload, 0);
  speak.pitch = valueAt<std::int32_t>(frame.payload, 4);
  speak.range = valueAt<std::int32_t>(frame.payload, 8);
  speak.flags = valueAt<std::uint32_t>(frame.payload, 12);
  if (!isValid(speak)) return std::nullopt;
  const auto text = frame.payload.subspan(kSpeakBytes);
  speak.text.assign(reinterpret_cast<const char*>(text.data()), text.size());
  return speak;
}

std::optional<Ready> readReady(const Frame& frame) {
  Ready ready;
  const auto status = valueAt<std::uint32_t>(frame.payload, 0);
  ready.missing = valueAt<std::uint32_t>(frame.payload, 4);
  if (status > static_cast<std::uint32_t>(Ready::Status::OutOfMemory)) return std::nullopt;
  if ((ready.missing & ~Ready::kAllProtections) != 0) return std::nullopt;
  ready.status = static_cast<Ready::Status>(status);
  return ready;
}

bool readEvents(const Frame& frame, std::vector<Event>& events) {
  for (std::size_t at = 0; at < frame.payload.size(); at += kEventBytes) {
    const auto event = valueAt<Event>(frame.payload, at);
    if (!isValid(event)) return false;
    events.push_back(event);
  }
  return true;
}

void readSamples(const Frame& frame, std::vector<std::int16_t>& samples) {
  const std::size_t old = samples.size();
  samples.resize(old + frame.payload.size() / sizeof(std::int16_t));
  std::memcpy(samples.data() + old, frame.payload.data(), frame.payload.size());
}

std::optional<End> readEnd(const Frame& frame) {
  End end;
  const auto status = valueAt<std::uint32_t>(frame.payload, 0);
  if (status > static_cast<std::uint32_t>(End::Status::Failed)) return std::nullopt;
  end.status = static_cast<End::Status>(status);
  end.events = valueAt<std::uint32_t>(frame.payload, 4);
  end.samples = valueAt<std::uint32_t>(frame.payload, 8);
  return end;
}

// ---- Text

std::string utf8Of(std::wstring_view text) {
  constexpr char32_t kReplacement = 0xFFFD;
  std::string bytes;
  bytes.reserve(text.size());
  for (const wchar_t wide : text) {
    const auto c = static_cast<char32_t>(wide);
    const bool isCharacter = c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
    base::appendUtf8(bytes, isCharacter ? c : kReplacement);
  }
  return bytes;
}

std::optional<std::wstring> wideOf(std::string_view text) {
  std::wstring wide;
  wide.reserve(text.size());
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    if (character.length == 0) return std::nullopt;
    wide += static_cast<wchar_t>(character.code);
    text.remove_prefix(character.length);
  }
  return wide;
}

}  // namespace kavrel::synth_protocol
