// SPDX-License-Identifier: Apache-2.0
//
// The oracle's tokens and token list: plain values, copied in and out.
//
// Failures inside the oracle travel as the exception Failure; convert() and convertPhones() turn it
// into their result.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Oracle.h"

namespace oracle {

struct Failure {
  Error error;
};

// The kinds of command, with their fixed values.
enum class Kind : int {
  CharSpellout = 0,
  CharNormal = 1,
  Comment = 2,
  Delimiters = 3,
  EmphasisOn = 4,
  EmphasisOff = 5,
  Phonemes = 6,
  Tune = 7,
  Text = 8,
  NumberSpellout = 9,
  NumberNormal = 10,
  Pitch = 11,
  PitchRange = 12,
  Rate = 13,
  Reset = 14,
  Silence = 15,
  Sync = 16,
  Version = 17,
  Volume = 18,
  Extension = 19,
  WordContext = 20,
  WordSkip = 21,
  TextContext = 22,
  TextSkip = 23,
  NormalContext = 24,
  Unknown = 25
};

// The words of one command: "+" and "-" are words of their own, "[", ";" and "]" are stripped from
// both ends of a word, and a word of which nothing is left is dropped.
std::vector<std::string> splitCommand(const std::string& command);

// Of the words of one command.
Kind classify(const std::vector<std::string>& words);

struct Token {
  // The command as found in the text; a pure insertion has no words, size 0 and kind Unknown.
  std::vector<std::string> words;
  int size = 0;  // bytes of the base text that the token covers
  Kind kind = Kind::Unknown;

  // What replaces it.
  std::string ssml;
  bool hasSsml = false;

  int start = -1;   // in the base text
  int number = -1;  // of the command in the text, from 0

  // Argument number `index`, from 0; empty when there is none.
  std::string argument(std::size_t index) const;
};

// A byte of the converted text with the position in the base text it was copied from, or -1 when it
// belongs to inserted markup.
struct Carried {
  char byte;
  std::int64_t origin;
};

class TokenList {
 public:
  void create(const std::string& text, const OffsetMap& inherited);

  int size() const { return static_cast<int>(m_tokens.size()); }
  std::string base() const { return m_base; }

  // These throw Failure{IndexOutOfRange}.
  Token at(int index) const;
  void replace(int index, const Token& token);
  void remove(int index);

  // An index one past the size appends; one equal to the size is refused.
  void insert(int index, const Token& token);

  // Throws Failure{OutOfRange} when an entry starts behind the end of the text.
  std::vector<Carried> converted() const;

  OffsetMap offsets() const;

 private:
  void checkIndex(int index) const;

  std::vector<Token> m_tokens;
  std::string m_base;
  OffsetMap m_inherited;
};

}  // namespace oracle
