// SPDX-License-Identifier: Apache-2.0
//
// Random texts with many commands, and random settings. The same seed gives the same sequence.
#pragma once

#include <array>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "oracle/Oracle.h"

namespace conversion {

class RandomTexts {
 public:
  explicit RandomTexts(unsigned int seed) : m_random(seed) {}

  // A text of up to `pieces` words, commands, fragments of commands and random bytes.
  std::string text(std::size_t pieces) {
    std::string result;
    const std::size_t count = below(pieces + 1);
    // How often pieces are separated by blanks differs from text to text.
    const std::size_t blanks = below(4);
    for (std::size_t i = 0; i < count; ++i) {
      result += piece();
      if (below(4) < blanks) result += ' ';
    }
    return result;
  }

  // Random settings; none in one of three cases.
  std::optional<oracle::Settings> settings() {
    if (below(3) == 0) return std::nullopt;
    oracle::Settings settings;
    settings.speakPhones = below(8) == 0;
    settings.spellOut = below(5) == 0;
    settings.sayDigits = below(5) == 0;
    constexpr std::array kVolumes = {100.0, 50.0, 0.0, 150.0, 33.333333};
    constexpr std::array kRates = {180.0, 200.0, 90.5, 1e7, 0.0};
    constexpr std::array<long, 4> kPitches = {0, 43, 53, 60};
    settings.volume = kVolumes[below(kVolumes.size())];
    settings.wpm = kRates[below(kRates.size())];
    settings.pitchBase = kPitches[below(kPitches.size())];
    settings.pitchAssumedBase = static_cast<int>(kPitches[below(kPitches.size())]);
    settings.pitchRange = kPitches[below(kPitches.size())];
    return settings;
  }

  // A random number from 0 to `bound` - 1.
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(m_random);
  }

 private:
  // Plain words and single commands are the most frequent pieces.
  std::string piece() {
    constexpr std::array<std::string_view, 16> kWords = {
        "hello", "a",     "world", "x1", "42",  "AE", "1dAE", "~\nAA {D 120}",
        "OS X",  "&amp;", "\t",    "\n", "1.5", "",   "-",    "caf\xE9"};
    constexpr std::array<std::string_view, 48> kCommands = {
        "rate 200",  "rate +20",  "rate -5.5",        "rate",      "rate x",     "pbas 50",
        "pbas +0.5", "pbas",      "pmod 3",           "pmod -1",   "volm 0.5",   "volm +.1",
        "volm -2",   "emph +",    "emph -",           "emph",      "slnc 300",   "slnc",
        "slnc 1e3",  "sync 1",    "sync 99999999999", "sync",      "sync 0x5",   "char LTRL",
        "char NORM", "char ltrl", "nmbr LTRL",        "nmbr norm", "inpt PHON",  "inpt TEXT",
        "inpt TUNE", "inpt phon", "ctxt WSKP",        "ctxt TSKP", "ctxt WORD",  "ctxt TEXT",
        "ctxt NORM", "ctxt",      "rset 0",           "rset",      "cmnt a # b", "dlim (( ))",
        "vers 1",    "xtnd a b",  "frob 1",           "RATE 1",    "",           " "};
    constexpr std::array<std::string_view, 12> kFragments = {
        "[[", "]]", "[", "]", ";", "[[;", ";;]]", "[[[", "]]]", "[[]]", "[[ ; ]]", "[["};
    switch (below(16)) {
      case 0:
        return std::string(pick(kFragments));
      case 1:
        return std::string(1, static_cast<char>(below(256)));
      case 2:
        return "[[" + std::string(pick(kCommands)) + "; " + std::string(pick(kCommands)) + "]]";
      case 3:
        return "[[" + std::string(pick(kCommands)) + ";" + std::string(pick(kCommands)) + ";" +
               std::string(pick(kCommands)) + "]]";
      case 4:
        return "[[inpt PHON]]hEHl1OW[[inpt TEXT]]";
      case 5:
      case 6:
      case 7:
      case 8:
      case 9:
        return "[[" + std::string(pick(kCommands)) + "]]";
      default:
        return std::string(pick(kWords));
    }
  }

  template <typename List>
  std::string_view pick(const List& list) {
    return list[below(list.size())];
  }

  std::mt19937 m_random;
};

}  // namespace conversion
