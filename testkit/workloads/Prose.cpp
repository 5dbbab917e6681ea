// SPDX-License-Identifier: Apache-2.0
#include "Prose.h"

#include <array>
#include <random>
#include <span>
#include <string_view>

namespace workloads {

namespace {

constexpr std::array<std::string_view, 56> kWords = {
    "the",     "a",       "harbour", "morning", "with",    "old",      "lantern", "walked",
    "under",   "rain",    "quiet",   "of",      "letters", "and",      "bridge",  "seven",
    "slowly",  "he",      "window",  "could",   "they",    "in",       "it",      "garden",
    "never",   "whole",   "summer",  "speak",   "before",  "was",      "to",      "round",
    "table",   "where",   "her",     "clock",   "little",  "sound",    "field",   "answer",
    "for",     "weather", "not",     "stone",   "kitchen", "paper",    "at",      "river",
    "between", "three",   "evening", "boat",    "from",    "listened", "1904",    "almost"};

// In Mac OS Roman.
constexpr std::array<std::string_view, 10> kMacWords = {
    "\xD2quietly\xD3", "caf\x8E", "\xD0",     "don\xD5t",  "R&D",
    "na\x95ve",        "OS X",    "well\xC9", "Z\x9Frich", "M\xDFnner"};

constexpr std::array<std::string_view, 18> kCommands = {
    "[[rate 200]]",  "[[emph +]]",    "[[volm 0.5]]",  "[[slnc 300]]", "[[pbas +2]]",
    "[[pmod 30]]",   "[[char LTRL]]", "[[char NORM]]", "[[rate -20]]", "[[sync 42]]",
    "[[nmbr LTRL]]", "[[emph -]]",    "[[nmbr NORM]]", "[[pbas 46]]",  "[[cmnt aside]]",
    "[[volm +0.1]]", "[[ctxt WORD]]", "[[rset 0]]"};

// Appends words one by one, with the full stops, capitals and line ends of sentences. In about one
// of 24 cases the word comes from `odd`.
class Writer {
 public:
  explicit Writer(std::span<const std::string_view> odd) : m_odd(odd) {}

  // Appends a word and the punctuation and blank after it.
  void addWord(std::string& text) {
    const bool odd = !m_odd.empty() && below(24) == 0;
    const std::size_t start = text.size();
    text += odd ? m_odd[below(m_odd.size())] : kWords[below(kWords.size())];
    if (m_atStart && text[start] >= 'a' && text[start] <= 'z') text[start] &= '\xDF';
    m_atStart = false;
    if (below(12) == 0) {
      text += below(8) == 0 ? "?" : ".";
      m_atStart = true;
    } else if (below(10) == 0) {
      text += ',';
    }
    text += m_atStart && below(5) == 0 ? '\n' : ' ';
  }

 private:
  std::size_t below(std::size_t bound) { return m_random() % bound; }

  std::span<const std::string_view> m_odd;
  std::mt19937 m_random;  // default seed: the same words on every platform
  bool m_atStart = true;
};

std::string write(std::size_t bytes, std::span<const std::string_view> odd) {
  Writer writer(odd);
  std::string text;
  text.reserve(bytes + 32);
  while (text.size() < bytes) writer.addWord(text);
  text.resize(bytes);
  return text;
}

}  // namespace

std::string prose(std::size_t bytes) {
  return write(bytes, {});
}

std::string macProse(std::size_t bytes) {
  return write(bytes, kMacWords);
}

std::string proseWithCommands(std::size_t bytes, std::size_t every) {
  Writer writer({});
  std::string text;
  text.reserve(bytes + every + 32);
  for (std::size_t nth = 0; text.size() < bytes; ++nth) {
    text += kCommands[nth % kCommands.size()];
    while (text.size() < (nth + 1) * every) writer.addWord(text);
  }
  return text;
}

std::string ssmlProse(std::size_t bytes, std::size_t every) {
  Writer writer({});
  std::string text = "<speak>";
  text.reserve(bytes + every + 64);
  for (std::size_t nth = 0; text.size() < bytes; ++nth) {
    text += "<prosody rate='200'>";
    const std::size_t start = text.size();
    while (text.size() < start + every - 30) writer.addWord(text);
    text += "</prosody>";
  }
  return text + "</speak>";
}

}  // namespace workloads
