// SPDX-License-Identifier: Apache-2.0
//
// The oracle's tokens and token list: plain values, copied in and out.
//
// Failures inside the oracle are exceptions of type Failure; convert() and convertPhones() catch
// them and return an Error.
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

// The words of one command: "+" and "-" are separate words; "[", ";" and "]" are stripped from both
// ends of a word; a word that is then empty is dropped.
std::vector<std::string> splitCommand(const std::string& command);

// The kind of a command, from its words.
Kind classify(const std::vector<std::string>& words);

struct Token {
  // The command as found in the text; a pure insertion has no words, size 0 and kind Unknown.
  std::vector<std::string> words;
  int size = 0;  // bytes of the base text that the token covers
  Kind kind = Kind::Unknown;

  // The replacement.
  std::string ssml;
  bool hasSsml = false;

  int start = -1;   // position in the base text
  int number = -1;  // index of the command in the text, from 0

  // Argument number `index`, from 0; empty if the command has fewer.
  std::string argument(std::size_t index) const;
};

// A byte of the converted text with its position in the base text, or -1 for a byte of inserted
// markup.
struct Carried {
  char byte;
  std::int64_t origin;
};

class TokenList {
 public:
  // Reads all commands of `text`, the base text. `inherited` holds records made before. `utf8`: the
  // text is UTF-8.
  void create(const std::string& text, const OffsetMap& inherited, bool utf8 = false);

  int size() const { return static_cast<int>(m_tokens.size()); }
  std::string base() const { return m_base; }
  bool isUtf8() const { return m_utf8; }

  // These throw Failure{IndexOutOfRange}.
  Token at(int index) const;
  void replace(int index, const Token& token);
  void remove(int index);

  // An index of size() + 1 appends; an index of size() is rejected.
  void insert(int index, const Token& token);

  // Throws Failure{OutOfRange} if an entry starts after the end of the text.
  std::vector<Carried> converted() const;

  OffsetMap offsets() const;

 private:
  void checkIndex(int index) const;

  std::vector<Token> m_tokens;
  std::string m_base;
  bool m_utf8 = false;
  OffsetMap m_inherited;
};

}  // namespace oracle
