// SPDX-License-Identifier: Apache-2.0
//
// EventWriter: what happens while a text is spoken, one JSON object a line on standard output
// (Arguments.cpp describes them for users).
//
// Threads: one at a time. Every function throws what writeOut() of StandardOutput.h throws.
#pragma once

#include "Listener.h"
#include "SpokenText.h"

namespace say {

class EventWriter : public Listener {
 public:
  // `text` outlives the writer.
  explicit EventWriter(const tool::SpokenText& text) : m_text(text) {}

  void word(std::size_t position, std::size_t length) override;
  void phoneme(int code) override;
  void sync(std::uint32_t message) override;
  void done() override;

 private:
  const tool::SpokenText& m_text;
};

}  // namespace say
