// SPDX-License-Identifier: Apache-2.0
//
// EventWriter: what happens while a text is spoken, one JSON object a line on standard output
// (Arguments.cpp describes them for users).
//
// Threads: one at a time. Every function throws what writeOut() of StandardOutput.h throws.
#pragma once

#include <cstdint>

#include "SpokenText.h"

namespace say {

class EventWriter {
 public:
  // `text` outlives the writer.
  explicit EventWriter(const tool::SpokenText& text) : m_text(text) {}

  // Position and length count bytes of the Mac OS Roman text.
  void word(std::size_t position, std::size_t length) const;
  void phoneme(int code) const;
  // `message` is the number as the Manager carries it: in the upper half.
  void sync(std::uint32_t message) const;
  void done() const;

 private:
  const tool::SpokenText& m_text;
};

}  // namespace say
