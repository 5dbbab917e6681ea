// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the text side of the engine hands to the audio side: a marked-up text as a series of
// sentences, each a list of things to do, in order.
//
// Positions and lengths count bytes of the text given to kavrel_port_speak_text. Everything here is
// plain data, used by one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kavrel {

// How a stretch of text is to be spoken. What the text does not set is left to the voice.
struct Style {
  static constexpr double kUnset = -1;

  double rate = kUnset;    // words per minute
  double volume = kUnset;  // percent of the voice's own loudness; 0 and up
  double pitch = kUnset;   // Hz
  double range = kUnset;   // Hz
  bool spellOut = false;   // letter by letter
  bool digits = false;     // numbers digit by digit
  bool emphasis = false;

  bool operator==(const Style&) const = default;
};

// A phone of our phone set ("ae", "dh", "pau"); stress 1 or 0 for vowels that carry a digit, else -1.
struct Phone {
  std::string name;
  int stress = -1;

  bool operator==(const Phone&) const = default;
};

struct Item {
  enum class Kind {
    Word,    // speak `text`, report a word (when `reported`) and its phones
    Mark,    // report the bookmark `name`
    Break,   // be silent for `milliseconds`
    Phones,  // speak `phones`, report one word
  };

  Kind kind = Kind::Word;
  // The place to report. Word: the word without the punctuation around it; Mark: the whole tag;
  // Phones: the content of the element.
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  // Word: the characters to speak (Unicode), punctuation included, never blank, entities resolved.
  std::wstring text;
  // Word, Phones: false for a token of punctuation alone, which is spoken but is no word.
  bool reported = true;
  // Mark: the name as it stands in the text, entities resolved. Word and Phones: the same bytes
  // that start and length name, entities resolved (for kavrel_event_get_text).
  std::string name;
  std::uint32_t milliseconds = 0;
  std::vector<Phone> phones;
  Style style;
};

struct Sentence {
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  // False for the rest of a sentence that was too long for one piece: no sentence begins here.
  bool begins = true;
  // False when the sentence goes on in the next piece: no sentence pause belongs behind it.
  bool ends = true;
  std::vector<Item> items;
};

// Cuts a marked-up text into sentences, one at a time, without looking further ahead than it must.
// Broken markup never fails and never loses words.
class SentenceReader {
 public:
  // The most bytes of text in one Sentence; a longer sentence comes in pieces, cut at a blank where
  // there is one.
  static constexpr std::size_t kMaxSentenceBytes = 64 * 1024;

  // `text` (ISO 8859-15) must outlive the reader.
  explicit SentenceReader(std::string_view text);

  // Fills `sentence` and answers true, or answers false at the end of the text. A text without any
  // item has no sentence.
  bool next(Sentence& sentence);

 private:
  std::string_view m_text;
};

}  // namespace kavrel
