// SPDX-License-Identifier: Apache-2.0
//
// Checks that the offset map equals the oracle's after any series of insertions and queries. Input:
// at most 200 lines of
//
//   a 10 5     insert command text at position 10, 5 bytes; "A": text that the converter inserted
//   s 10 5     insert markup; "S": likewise; "u" and "U": neither kind
//   ? 12       query position 12
//   build      derive the lists again
//   clean      empty the map
//
// Numbers are modulo 2^32.
#include <vector>

#include "Fuzz.h"
#include "conversions/ComparedConversion.h"

namespace {

std::uint32_t number(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  std::uint32_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    value = value * 10 + static_cast<std::uint32_t>(c - '0');
  }
  return negative ? ~value + 1 : value;
}

class BothMaps {
 public:
  // Applies a line of the input to both maps; unknown lines are ignored.
  void apply(std::string_view line) {
    const std::string_view word = fuzz::takeWord(line);
    if (word == "build") {
      m_fast.buildFinalLists();
      m_slow.buildFinalLists();
    } else if (word == "clean") {
      m_fast.clean();
      m_slow.clean();
    } else if (word == "?") {
      query(number(fuzz::takeWord(line)));
    } else if (word.size() == 1 && std::string_view("aAsSuU").find(word[0]) != word.npos) {
      const std::uint32_t position = number(fuzz::takeWord(line));
      insert(word[0], position, number(fuzz::takeWord(line)));
    }
  }

  void compare() {
    for (std::uint32_t position = 0; position < 64; ++position) query(position);
    for (const std::uint32_t around : std::vector<std::uint32_t>(m_positions)) {
      for (std::uint32_t distance = 0; distance < 5; ++distance) query(around + distance - 2);
    }
    fuzz::require(conversion::recordsOf(m_fast.records()) == m_slow.records(), "same records");
    fuzz::require(conversion::recordsOf(m_fast.appleRangeList()) == m_slow.appleRanges(),
                  "same ranges of command text");
    fuzz::require(conversion::recordsOf(m_fast.ssmlRangeList()) == m_slow.ssmlRanges(),
                  "same ranges of markup");
  }

 private:
  void insert(char kind, std::uint32_t position, std::uint32_t amount) {
    const bool inserted = kind < 'a';
    const char letter = static_cast<char>(kind | 0x20);
    const auto type = letter == 'a'   ? OffsetMap::APPLE_TOKEN
                      : letter == 's' ? OffsetMap::SSML_TOKEN
                                      : OffsetMap::UNKNOWN_TOKEN;
    m_fast.insert(position, static_cast<std::int32_t>(amount), type, inserted);
    m_slow.insert(position, static_cast<std::int32_t>(amount), type, inserted);
    m_positions.push_back(position);
    m_positions.push_back(position + amount);
  }

  void query(std::uint32_t position) {
    fuzz::require(m_fast.offset(position) == m_slow.offset(position), "same offset");
  }

  OffsetMap m_fast;
  oracle::OffsetMap m_slow;
  std::vector<std::uint32_t> m_positions;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr int kMostLines = 200;
  std::string_view input = fuzz::viewOf(data, size);
  BothMaps maps;
  for (int lines = 0; !input.empty() && lines < kMostLines; ++lines) {
    const std::string_view line = input.substr(0, input.find('\n'));
    maps.apply(line);
    input.remove_prefix(std::min(input.size(), line.size() + 1));
  }
  maps.compare();
  return 0;
}
