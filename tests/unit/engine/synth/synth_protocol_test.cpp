// SPDX-License-Identifier: Apache-2.0
//
// The frames between libkavrel and kavrel-synth: what is written can be read, nothing else can.
#include "synth/synth_protocol.h"

#include <cstring>
#include <random>

#include <gtest/gtest.h>

namespace protocol = kavrel::synth_protocol;

namespace {

using Bytes = std::vector<std::byte>;
using protocol::FrameType;
using Result = protocol::FrameReader::Result;
using protocol::Side;

constexpr std::uint32_t kCall = 7;

void give(protocol::FrameReader& reader, std::span<const std::byte> bytes) {
  const auto space = reader.space();
  ASSERT_LE(bytes.size(), space.size());
  std::memcpy(space.data(), bytes.data(), bytes.size());
  reader.received(bytes.size());
}

// What a fresh reader says to these bytes.
Result resultOf(Side side, std::span<const std::byte> bytes) {
  protocol::FrameReader reader(side);
  give(reader, bytes);
  protocol::Frame frame;
  return reader.next(frame);
}

protocol::Speak someSpeak() {
  return {180, 50, 60, protocol::Speak::kEndPause, "Grüße, Welt"};
}

protocol::Event phone(std::string_view name, std::uint32_t sample) {
  protocol::Event event;
  event.sample = sample;
  std::memcpy(event.name.data(), name.data(), name.size());
  return event;
}

protocol::Event mark(std::int32_t number, std::uint32_t sample) {
  protocol::Event event;
  event.sample = sample;
  event.mark = number;
  return event;
}

// One frame of each type, with the side that reads it.
struct Example {
  Side side;
  Bytes bytes;
};

std::vector<Example> examples() {
  std::vector<Example> all;
  const auto add = [&all](Side side) -> Bytes& {
    return all.emplace_back(Example{side, {}}).bytes;
  };
  EXPECT_TRUE(protocol::writeSpeak(add(Side::Synthesiser), kCall, someSpeak()));
  protocol::writeCancel(add(Side::Synthesiser), kCall);
  protocol::writeReady(add(Side::Client), {});
  const std::vector events{mark(1, 0), phone("a", 10)};
  protocol::writeEvents(add(Side::Client), kCall, events);
  const std::vector<std::int16_t> samples{1, -2, 3};
  protocol::writeSamples(add(Side::Client), kCall, samples);
  protocol::writeEnd(add(Side::Client), kCall, {});
  return all;
}

void setNumber(Bytes& frame, std::size_t offset, std::uint32_t value) {
  std::memcpy(frame.data() + offset, &value, sizeof(value));
}

constexpr std::size_t kTypeOffset = 4;
constexpr std::size_t kLengthOffset = 8;
constexpr std::size_t kCallOffset = 12;

// The frame of `bytes`, whose payload is copied into `payload`.
protocol::Frame frameOf(Side side, const Bytes& bytes, Bytes& payload) {
  protocol::FrameReader reader(side);
  give(reader, bytes);
  protocol::Frame frame;
  EXPECT_EQ(reader.next(frame), Result::Frame);
  payload.assign(frame.payload.begin(), frame.payload.end());
  frame.payload = payload;
  return frame;
}

}  // namespace

TEST(SynthProtocol, ReadsASpeakAsItWasWritten) {
  Bytes bytes;
  Bytes payload;
  ASSERT_TRUE(protocol::writeSpeak(bytes, kCall, someSpeak()));
  const protocol::Frame frame = frameOf(Side::Synthesiser, bytes, payload);
  EXPECT_EQ(frame.type, FrameType::Speak);
  EXPECT_EQ(frame.call, kCall);
  const auto speak = protocol::readSpeak(frame);
  ASSERT_TRUE(speak.has_value());
  EXPECT_EQ(speak->rate, 180);
  EXPECT_EQ(speak->pitch, 50);
  EXPECT_EQ(speak->range, 60);
  EXPECT_EQ(speak->flags, protocol::Speak::kEndPause);
  EXPECT_EQ(speak->text, "Grüße, Welt");
}

TEST(SynthProtocol, ReadsResultsAsTheyWereWritten) {
  Bytes bytes;
  Bytes payload;
  protocol::writeReady(bytes, {protocol::Ready::Status::NoVariant, protocol::Ready::kLandlock});
  const auto ready = protocol::readReady(frameOf(Side::Client, bytes, payload));
  ASSERT_TRUE(ready.has_value());
  EXPECT_EQ(ready->status, protocol::Ready::Status::NoVariant);
  EXPECT_EQ(ready->missing, protocol::Ready::kLandlock);

  bytes.clear();
  protocol::writeEvents(bytes, kCall, std::vector{mark(3, 5), phone("12345678", 6)});
  std::vector<protocol::Event> events;
  ASSERT_TRUE(protocol::readEvents(frameOf(Side::Client, bytes, payload), events));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].mark, 3);
  EXPECT_EQ(events[0].sample, 5u);
  EXPECT_EQ(events[1].nameText(), "12345678");

  bytes.clear();
  protocol::writeSamples(bytes, kCall, std::vector<std::int16_t>{-32768, 0, 32767});
  std::vector<std::int16_t> samples{1};
  protocol::readSamples(frameOf(Side::Client, bytes, payload), samples);
  EXPECT_EQ(samples, (std::vector<std::int16_t>{1, -32768, 0, 32767}));

  bytes.clear();
  protocol::writeEnd(bytes, kCall, {protocol::End::Status::Cancelled, 2, 3});
  const auto end = protocol::readEnd(frameOf(Side::Client, bytes, payload));
  ASSERT_TRUE(end.has_value());
  EXPECT_EQ(end->status, protocol::End::Status::Cancelled);
  EXPECT_EQ(end->events, 2u);
  EXPECT_EQ(end->samples, 3u);
}

TEST(SynthProtocol, WaitsForTheRestOfATruncatedFrame) {
  for (const Example& example : examples()) {
    for (std::size_t cut = 0; cut < example.bytes.size(); ++cut) {
      protocol::FrameReader reader(example.side);
      protocol::Frame frame;
      give(reader, std::span(example.bytes).first(cut));
      ASSERT_EQ(reader.next(frame), Result::More) << cut;
      EXPECT_EQ(reader.isInside(), cut > 0);
      EXPECT_GE(reader.wanted(), 1u);
      EXPECT_LE(reader.wanted(), example.bytes.size() - cut);
      give(reader, std::span(example.bytes).subspan(cut));
      ASSERT_EQ(reader.next(frame), Result::Frame) << cut;
      EXPECT_FALSE(reader.isInside());
      EXPECT_EQ(reader.next(frame), Result::More);
    }
  }
}

TEST(SynthProtocol, AsksForNoMoreThanTheFrameThatHasBegun) {
  for (const Example& example : examples()) {
    protocol::FrameReader reader(example.side);
    protocol::Frame frame;
    std::size_t given = 0;
    while (reader.next(frame) == Result::More) {
      const std::size_t wanted = reader.wanted();
      ASSERT_LE(given + wanted, example.bytes.size());
      give(reader, std::span(example.bytes).subspan(given, wanted));
      given += wanted;
    }
    EXPECT_EQ(given, example.bytes.size());
  }
}

TEST(SynthProtocol, ReadsFramesThatComeTogetherInOrder) {
  Bytes bytes;
  for (const Example& example : examples()) {
    if (example.side == Side::Client)
      bytes.insert(bytes.end(), example.bytes.begin(), example.bytes.end());
  }
  protocol::FrameReader reader(Side::Client);
  give(reader, bytes);
  protocol::Frame frame;
  for (const FrameType type :
       {FrameType::Ready, FrameType::Events, FrameType::Samples, FrameType::End}) {
    ASSERT_EQ(reader.next(frame), Result::Frame);
    EXPECT_EQ(frame.type, type);
  }
  EXPECT_EQ(reader.next(frame), Result::More);
}

TEST(SynthProtocol, HasRoomForTheLargestFrameAfterAnother) {
  Bytes bytes;
  protocol::writeEnd(bytes, kCall, {});
  const std::size_t first = bytes.size();
  protocol::writeSamples(bytes, kCall, std::vector<std::int16_t>(protocol::kMaxSamples, 5));
  protocol::FrameReader reader(Side::Client);
  protocol::Frame frame;
  give(reader, std::span(bytes).first(first + 20));
  ASSERT_EQ(reader.next(frame), Result::Frame);
  ASSERT_EQ(reader.next(frame), Result::More);
  give(reader, std::span(bytes).subspan(first + 20));
  ASSERT_EQ(reader.next(frame), Result::Frame);
  EXPECT_EQ(frame.payload.size(), protocol::kMaxPayload);
}

TEST(SynthProtocol, RefusesAWrongMagicAtEveryBit) {
  for (const Example& example : examples()) {
    for (std::size_t bit = 0; bit < 32; ++bit) {
      Bytes bytes = example.bytes;
      bytes[bit / 8] ^= std::byte{1} << (bit % 8);
      EXPECT_EQ(resultOf(example.side, bytes), Result::Garbage) << bit;
    }
  }
}

TEST(SynthProtocol, RefusesFramesOfTheOtherSide) {
  for (const Example& example : examples()) {
    const Side other = example.side == Side::Client ? Side::Synthesiser : Side::Client;
    EXPECT_EQ(resultOf(other, example.bytes), Result::Garbage);
  }
}

TEST(SynthProtocol, RefusesUnknownTypes) {
  for (const Example& example : examples()) {
    for (const std::uint32_t type : {0u, 7u, 0x01000001u, 0xFFFFFFFFu}) {
      Bytes bytes = example.bytes;
      setNumber(bytes, kTypeOffset, type);
      EXPECT_EQ(resultOf(example.side, bytes), Result::Garbage) << type;
    }
  }
}

TEST(SynthProtocol, RefusesWrongLengthsBeforeThePayload) {
  // For each type, in the order of examples(), lengths that it never has.
  const std::vector<std::vector<std::uint32_t>> wrong{
      {0, 1, 15, 16}, {1, 16}, {0, 4, 7, 9, 16}, {0, 1, 15, 17, 24}, {0, 1, 3}, {0, 4, 11, 13, 16}};
  const std::vector<Example> all = examples();
  ASSERT_EQ(wrong.size(), all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::vector<std::uint32_t> lengths = wrong[i];
    lengths.insert(lengths.end(), {protocol::kMaxPayload + 1, protocol::kMaxPayload + 16,
                                   0x7FFFFFFFu, 0xFFFFFFF0u, 0xFFFFFFFFu});
    for (const std::uint32_t length : lengths) {
      Bytes header(all[i].bytes.begin(), all[i].bytes.begin() + protocol::kHeaderBytes);
      setNumber(header, kLengthOffset, length);
      EXPECT_EQ(resultOf(all[i].side, header), Result::Garbage) << i << ' ' << length;
    }
  }
}

TEST(SynthProtocol, RefusesWrongNumbersOfCalls) {
  for (const Example& example : examples()) {
    Bytes bytes = example.bytes;
    std::uint32_t call = 0;
    std::memcpy(&call, bytes.data() + kCallOffset, sizeof(call));
    setNumber(bytes, kCallOffset, call == 0 ? 1 : 0);
    EXPECT_EQ(resultOf(example.side, bytes), Result::Garbage);
  }
}

TEST(SynthProtocol, ReadsNothingAfterGarbage) {
  Bytes bytes(protocol::kHeaderBytes, std::byte{0xFF});
  protocol::writeEnd(bytes, kCall, {});
  protocol::FrameReader reader(Side::Client);
  give(reader, bytes);
  protocol::Frame frame;
  EXPECT_EQ(reader.next(frame), Result::Garbage);
  EXPECT_EQ(reader.next(frame), Result::Garbage);
}

TEST(SynthProtocol, RefusesSettingsOutOfRange) {
  struct Row {
    std::size_t offset;
    std::int32_t value;
  };
  for (const Row& row : {Row{0, 0}, Row{0, -1}, Row{0, 1001}, Row{4, -1}, Row{4, 100}, Row{8, -1},
                         Row{8, 100}, Row{12, 4}, Row{12, -1}}) {
    Bytes bytes;
    Bytes payload;
    ASSERT_TRUE(protocol::writeSpeak(bytes, kCall, someSpeak()));
    setNumber(bytes, protocol::kHeaderBytes + row.offset, static_cast<std::uint32_t>(row.value));
    EXPECT_FALSE(protocol::readSpeak(frameOf(Side::Synthesiser, bytes, payload)).has_value())
        << row.offset << ' ' << row.value;
  }
}

TEST(SynthProtocol, DoesNotWriteWhatNobodyWouldAccept) {
  Bytes bytes;
  protocol::Speak speak = someSpeak();
  speak.text.assign(protocol::kMaxText + 1, 'x');
  EXPECT_FALSE(protocol::writeSpeak(bytes, kCall, speak));
  speak.text.clear();
  EXPECT_FALSE(protocol::writeSpeak(bytes, kCall, speak));
  speak = someSpeak();
  speak.pitch = 100;
  EXPECT_FALSE(protocol::writeSpeak(bytes, kCall, speak));
  EXPECT_TRUE(bytes.empty());
  speak = someSpeak();
  speak.text.assign(protocol::kMaxText, 'x');
  ASSERT_TRUE(protocol::writeSpeak(bytes, kCall, speak));
  EXPECT_EQ(resultOf(Side::Synthesiser, bytes), Result::Frame);
}

TEST(SynthProtocol, RefusesInvalidEvents) {
  protocol::Event named = mark(1, 0);
  named.name[0] = 'a';
  protocol::Event hole = phone("a", 0);
  hole.name[7] = 'b';
  for (const protocol::Event& bad : {mark(-1, 0), named, hole}) {
    Bytes bytes;
    Bytes payload;
    std::vector<protocol::Event> events;
    protocol::writeEvents(bytes, kCall, std::vector{mark(1, 0), bad});
    EXPECT_FALSE(protocol::readEvents(frameOf(Side::Client, bytes, payload), events));
  }
}

TEST(SynthProtocol, RefusesUnknownStatusesAndProtections) {
  Bytes bytes;
  Bytes payload;
  protocol::writeReady(bytes, {});
  setNumber(bytes, protocol::kHeaderBytes, 6);
  EXPECT_FALSE(protocol::readReady(frameOf(Side::Client, bytes, payload)).has_value());
  setNumber(bytes, protocol::kHeaderBytes, 0);
  setNumber(bytes, protocol::kHeaderBytes + 4, 16);
  EXPECT_FALSE(protocol::readReady(frameOf(Side::Client, bytes, payload)).has_value());
  bytes.clear();
  protocol::writeEnd(bytes, kCall, {});
  setNumber(bytes, protocol::kHeaderBytes, 3);
  EXPECT_FALSE(protocol::readEnd(frameOf(Side::Client, bytes, payload)).has_value());
}

TEST(SynthProtocol, SurvivesRandomBytes) {
  std::mt19937 random(20260101);
  for (int round = 0; round < 2000; ++round) {
    const std::vector<Example> all = examples();
    Example example = all[random() % all.size()];
    for (int change = 0; change < 3; ++change) {
      example.bytes[random() % example.bytes.size()] = static_cast<std::byte>(random());
    }
    protocol::FrameReader reader(example.side);
    give(reader, example.bytes);
    protocol::Frame frame;
    while (reader.next(frame) == Result::Frame) {
      std::vector<protocol::Event> events;
      std::vector<std::int16_t> samples;
      switch (frame.type) {
        case FrameType::Speak:
          if (const auto speak = protocol::readSpeak(frame)) protocol::wideOf(speak->text);
          break;
        case FrameType::Ready:
          protocol::readReady(frame);
          break;
        case FrameType::Events:
          protocol::readEvents(frame, events);
          break;
        case FrameType::Samples:
          protocol::readSamples(frame, samples);
          break;
        case FrameType::End:
          protocol::readEnd(frame);
          break;
        case FrameType::Cancel:
          break;
      }
    }
  }
}

TEST(SynthProtocol, ConvertsTextThereAndBack) {
  const std::wstring text =
      L"\x01"
      L"1M a\u00E9\u4E2D\U0001F600]";
  EXPECT_EQ(protocol::wideOf(protocol::utf8Of(text)), text);
  EXPECT_EQ(protocol::utf8Of(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
  EXPECT_EQ(protocol::utf8Of(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
  for (const std::string_view bad :
       {"\x80", "\xC3", "a\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_FALSE(protocol::wideOf(bad).has_value()) << bad.size();
  }
}
