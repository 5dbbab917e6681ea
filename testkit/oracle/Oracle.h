// SPDX-License-Identifier: Apache-2.0
//
// Oracle: text preparation, conversion and offset map once more, as slow and literal as they can be
// written, for tests and fuzzers to hold the product's code against.
//
// It shares no line, no table and no header with the product. Everything is done with values,
// copies and scans from the front; where the described steps say "search", it searches. Nobody
// should make it faster: a reader must see step for step what the behaviour is.
//
// Cost. conversion: quadratic in the number of commands and in the length of the text (cubic for
// nested phoneme input, whose output is capped); offset map: quadratic in the number of records to
// build, linear per query. A few kilobytes of text take milliseconds. It ends on every input.
//
// Threads: no shared state; an object belongs to one thread at a time. No function depends on the
// locale. Only memory exhaustion is thrown; every other failure is an Error in the result.
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
  int pitchAssumedBase = 0;  // MIDI note number; left unset by the product's constructor
  long pitchRange = 0;       // whole units of pitch modulation
};

enum class Output { PlainText, Ssml };

// OutOfRange stands for the standard range error of strings, the others for the converter's own
// error type.
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

  // Adds to the derived lists that are there; a map that has had clean() starts afresh.
  void buildFinalLists();

  // What must be subtracted from a position in the converted text, modulo 2^32. Builds the derived
  // lists first when records have come since they were built.
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

  // For every byte of `converted`: where it came from in the text given to convert(), 0 … its
  // length. A byte of inserted markup has the origin of the next byte that was copied, and the
  // text's length when none follows. What is left of the settings prefix counts as 0, of the
  // closing reset as the text's length.
  std::vector<std::size_t> origins;
};

// No settings: no prefix is put in front of the text.
Result convert(const std::string& text, const std::optional<Settings>& settings, Output output);

// The map that convert() ends with, for queries; empty when it fails.
OffsetMap offsetsOf(const std::string& text, const std::optional<Settings>& settings,
                    Output output);

// The commands that stand for the settings.
std::string settingsPrefix(const Settings& settings);

// Mac OS Roman text with escapes, "OS 10" for "OS X", in ISO 8859-15. Reads up to the first NUL.
std::string prepare(const std::string& text);

struct Phones {
  Error error = Error::None;
  std::string phones;  // empty unless `error` is None
};

// The phones of the bytes `start` to `end` of `text`, both inclusive.
Phones convertPhones(const std::string& text, std::uint32_t start, std::uint32_t end);

}  // namespace oracle
