// SPDX-License-Identifier: Apache-2.0
//
// SpokenText: a text as the Manager takes it, and the way back to the bytes it came from.
//
// The text given is UTF-8, the Manager's is Mac OS Roman. What Mac OS Roman lacks takes its
// customary plain form (l for a crossed l, -> for an arrow, the whole letter for one with a
// combining accent), or a blank where there is none. Characters without width vanish. A byte that
// is no part of well-formed UTF-8, and a NUL, are a blank.
//
// Threads: constant once made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

class MacRomanEncoder;

// What "[[" does in a text.
enum class Brackets {
  Command,  // begins a speech command
  Text,     // nothing, like all characters: the second one is passed on as a "("
};

struct Slice {
  std::size_t position;
  std::size_t length;
};

class SpokenText {
 public:
  // Throws Failure when the text is longer than the Manager's positions can tell (2 GiB).
  explicit SpokenText(std::string given, Brackets brackets = Brackets::Command);

  const std::string& given() const { return m_given; }
  const std::string& macRoman() const { return m_macRoman; }

  // The bytes of the given text that `length` bytes of the Mac OS Roman text from `position` came
  // from; whole characters, and always inside the text.
  Slice origin(std::size_t position, std::size_t length) const;

  std::string_view givenAt(Slice slice) const {
    return std::string_view(m_given).substr(slice.position, slice.length);
  }

 private:
  std::size_t appendNext(MacRomanEncoder& encoder, std::size_t at);
  void append(std::string_view plainForm, std::size_t origin);
  void disarmBrackets();

  std::string m_given;
  std::string m_macRoman;
  // For each byte of m_macRoman where its character begins in m_given, and the length of m_given.
  std::vector<std::uint32_t> m_origins;
};

}  // namespace tool
