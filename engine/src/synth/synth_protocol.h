// SPDX-License-Identifier: Apache-2.0
//
// The frames that libkavrel and kavrel-synth exchange over a stream socket. Both run on the same
// machine, so numbers are in its byte order.
//
// A frame is a header of 16 bytes (magic, type, length of the payload, number of the call), then
// the payload. The client sends Speak and, at any time after that, Cancel. The synthesiser sends
// Ready once, with call 0, and for each Speak any number of Events and Samples, then End. A call's
// frames carry the number of its Speak.
//
// Neither side trusts the other: FrameReader refuses every frame that is not exactly as described
// here, and what was refused once stays refused. Nothing allocates by a number that was received;
// a reader needs memory for one frame of the largest size.
//
// Functions are pure, a reader is used by one thread at a time; all may throw std::bad_alloc only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kavrel::synth_protocol {

enum class FrameType : std::uint32_t {
  Speak = 1,
  Cancel = 2,
  Ready = 3,
  Events = 4,
  Samples = 5,
  End = 6,
};

// The side that reads, which decides what frames it accepts.
enum class Side { Client, Synthesiser };

inline constexpr std::uint32_t kMagic = 0x4B535931;  // "KSY1" as a big-endian number
inline constexpr std::size_t kHeaderBytes = 16;
inline constexpr std::size_t kMaxPayload = 65536;
inline constexpr std::size_t kFrameBytes = kHeaderBytes + kMaxPayload;

// ---- Payloads

struct Speak {
  static constexpr std::uint32_t kPhones = 1;    // "[[" … "]]" in the text enclose phones
  static constexpr std::uint32_t kEndPause = 2;  // the audio ends with the last character's pause

  // The synthesiser's settings; see Synthesiser::Settings.
  std::int32_t rate = 0;   // 1 to 1000
  std::int32_t pitch = 0;  // 0 to 99
  std::int32_t range = 0;  // 0 to 99
  std::uint32_t flags = 0;
  std::string text;  // well-formed UTF-8, with the synthesiser's commands
};
inline constexpr std::size_t kMaxText = kMaxPayload - 16;

struct Ready {
  enum class Status : std::uint32_t { Ok, NoData, OtherRate, NoLanguage, NoVariant, OutOfMemory };
  // Protections that the system refused, in `missing`.
  static constexpr std::uint32_t kNoNewPrivileges = 1;
  static constexpr std::uint32_t kLandlock = 2;
  static constexpr std::uint32_t kLimits = 4;
  static constexpr std::uint32_t kSystemCalls = 8;
  static constexpr std::uint32_t kAllProtections = 15;

  Status status = Status::Ok;
  std::uint32_t missing = 0;
};

// A mark that was reached, or a phone that begins.
struct Event {
  std::uint32_t sample = 0;  // from the start of the call
  std::int32_t mark = 0;     // from 1; 0 for a phone
  // Of the phone, in IPA, padded with NUL: empty for a phone without a sound of its own. All NUL
  // for a mark.
  std::array<char, 8> name{};

  std::string_view nameText() const;
};
inline constexpr std::size_t kEventBytes = 16;
inline constexpr std::size_t kMaxEvents = kMaxPayload / kEventBytes;       // in one frame
inline constexpr std::size_t kMaxSamples = kMaxPayload / sizeof(int16_t);  // in one frame

struct End {
  enum class Status : std::uint32_t { Done, Cancelled, Failed };

  Status status = Status::Done;
  // What the call has sent.
  std::uint32_t events = 0;
  std::uint32_t samples = 0;
};

// ---- Writing

// These append one frame to `out`. The number of a call is not 0; that of Ready is.
//
// Returns false, and appends nothing, if the text is too long or a setting is out of range.
bool writeSpeak(std::vector<std::byte>& out, std::uint32_t call, const Speak& speak);
void writeCancel(std::vector<std::byte>& out, std::uint32_t call);
void writeReady(std::vector<std::byte>& out, const Ready& ready);
// 1 to kMaxEvents events, 1 to kMaxSamples samples.
void writeEvents(std::vector<std::byte>& out, std::uint32_t call, std::span<const Event> events);
void writeSamples(std::vector<std::byte>& out, std::uint32_t call,
                  std::span<const std::int16_t> samples);
void writeEnd(std::vector<std::byte>& out, std::uint32_t call, const End& end);

// ---- Reading

// A frame that a reader has accepted; its payload is valid until the reader's next function.
struct Frame {
  FrameType type = FrameType::End;
  std::uint32_t call = 0;
  std::span<const std::byte> payload;
};

class FrameReader {
 public:
  enum class Result {
    Frame,    // a frame was read
    More,     // more bytes are needed
    Garbage,  // the other side does not keep to the protocol; the reader reads no more
  };

  explicit FrameReader(Side side);

  // Memory for received bytes; never empty before next() has returned Garbage, if next() was called
  // until it returned More.
  std::span<std::byte> space();
  // How many bytes the frame that has begun lacks; at least 1 after next() has returned More. A
  // header's length is known only after the header, so the rest of a frame may take two steps.
  std::size_t wanted() const;
  // The first `count` bytes of space() have been filled.
  void received(std::size_t count);

  // Takes the next frame out of the received bytes.
  Result next(Frame& frame);
  // True if a frame has begun that is not complete.
  bool isInside() const { return m_begin != m_end; }

 private:
  Side m_side;
  std::vector<std::byte> m_bytes;
  std::size_t m_begin = 0;  // received and not yet taken: [m_begin, m_end)
  std::size_t m_end = 0;
  bool m_garbage = false;
};

// The values of a frame's payload; nullopt if one of them is invalid. The frame has been accepted
// by a reader and is of the type that the function names.
std::optional<Speak> readSpeak(const Frame& frame);
std::optional<Ready> readReady(const Frame& frame);
// Appends to `events`, or returns false.
bool readEvents(const Frame& frame, std::vector<Event>& events);
void readSamples(const Frame& frame, std::vector<std::int16_t>& samples);
std::optional<End> readEnd(const Frame& frame);

// ---- Text

// UTF-8 of a wide text. What is not a character becomes U+FFFD.
std::string utf8Of(std::wstring_view text);
// The wide text of well-formed UTF-8; nullopt if it is malformed.
std::optional<std::wstring> wideOf(std::string_view text);

}  // namespace kavrel::synth_protocol
