// SPDX-License-Identifier: Apache-2.0
//
// Oracle: a second implementation of text preparation, conversion and offset map, as simple and
// literal as possible. Tests and fuzzers compare the product's results with its results.
//
// It shares no code, no table and no header with the product. It works with values, copies and
// linear searches from the start. Do not make it faster: a reader must see the behaviour step by
// step.
//
// Cost. Conversion: quadratic in the number of commands and in the length of the text (cubic for
// nested phoneme input, whose output is limited). Offset map: quadratic in the number of records to
// build, linear per query. A few kilobytes of text take milliseconds. It terminates on every input.
//
// Threads: no shared state; an object belongs to one thread at a time. No function depends on the
// locale. Out of memory is the only exception; every other failure is an Error in the result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace oracle {

// A channel's speech settings, with the values of a fresh channel.
struct Settings {
  bool speakPhones = false;
  bool spellOut = false;
  bool sayDigits = false;
  double volume = 100.0;     // percent
  double wpm = 180.0;        // words per minute
  long pitchBase = 0;        // MIDI note number
  int pitchAssumedBase = 0;  // MIDI note number; the product's constructor leaves it unset
  long pitchRange = 0;       // whole units of pitch modulation
};

enum class Output { PlainText, Ssml };

// OutOfRange stands for std::out_of_range, the others for the converter's own error type.
enum class Error { None, IndexOutOfRange, BadPhoneSequence, OutOfRange };

// Values of Record::type.
constexpr int kAppleToken = 0;
constexpr int kSsmlToken = 1;
constexpr int kUnknownToken = 2;

struct Record {
  std::uint32_t pos = 0;
  std::int32_t amount = 0;
  bool insertedCode = false;
  int type = kAppleToken;

  friend bool operator==(const Record&, const Record&) = default;
};

class OffsetMap {
 public:
  void insert(std::uint32_t pos, std::int32_t amount, int type, bool insertedCode);

  // Appends to the existing derived lists; only clean() empties them.
  void buildFinalLists();

  // The number to subtract from a position in the converted text, modulo 2^32. Builds the derived
  // lists first if records have been inserted since they were built.
  std::uint32_t offset(std::uint32_t pos);

  void clean();

  bool finalListsBuilt() const { return m_finalListsBuilt; }
  const std::vector<Record>& records() const { return m_offsets; }
  const std::vector<Record>& appleRanges() const { return m_appleRanges; }
  const std::vector<Record>& ssmlRanges() const { return m_ssmlRanges; }

 private:
  void addAppleRange(const Record& record);
  std::vector<Record> gaps() const;
  std::uint32_t convertedPosition(std::size_t record, std::size_t range,
                                  const std::vector<Record>& gapList) const;

  bool m_finalListsBuilt = false;
  std::vector<Record> m_appleRanges;
  std::vector<Record> m_ssmlRanges;
  std::vector<Record> m_offsets;
};

// `converted`, the lists and `origins` are empty unless `error` is None.
struct Result {
  Error error = Error::None;
  std::string converted;
  std::vector<Record> records;      // the final map's, in order
  std::vector<Record> appleRanges;  // derived from them
  std::vector<Record> ssmlRanges;   // derived from them

  // For every byte of `converted`: its position in the text passed to convert(), 0 … the length. A
  // byte of inserted markup has the origin of the next copied byte, or the text's length if there
  // is none. The origin of the settings prefix is 0, that of the closing reset is the text's
  // length.
  std::vector<std::size_t> origins;
};

// Converts `text`. Without settings the text has no prefix. `utf8`: the text is UTF-8.
Result convert(const std::string& text, const std::optional<Settings>& settings, Output output,
               bool utf8 = false);

// The offset map after convert(), for queries; empty if the conversion fails.
OffsetMap offsetsOf(const std::string& text, const std::optional<Settings>& settings,
                    Output output);

// The commands that express the settings.
std::string settingsPrefix(const Settings& settings);

// Prepares Mac OS Roman text up to the first NUL: escapes characters of markup, replaces "OS X" by
// "OS 10", converts to ISO 8859-15.
std::string prepare(const std::string& text);

// The same for UTF-8, which is not converted; U+F8FF takes the place of the byte 0xF0.
std::string prepareUtf8(const std::string& text);

struct Phones {
  Error error = Error::None;
  std::string phones;  // empty unless `error` is None
};

// The phones of the bytes `start` to `end` of `text`, both inclusive.
Phones convertPhones(const std::string& text, std::uint32_t start, std::uint32_t end);

}  // namespace oracle
