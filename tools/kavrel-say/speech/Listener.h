// SPDX-License-Identifier: Apache-2.0
//
// Listener: who wants to know what happens while a text is spoken.
//
// Threads: its functions are called one at a time, on threads of the Manager. What one of them
// throws stops the speech; nobody is told anything more, and Speech::waitForEnd() throws it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace say {

class Listener {
 public:
  virtual ~Listener() = default;

  // A word begins. Position and length count bytes of the Mac OS Roman text.
  virtual void word(std::size_t /*position*/, std::size_t /*length*/) {}
  virtual void phoneme(int /*code*/) {}
  // `message` is the number as the Manager carries it: in the upper half.
  virtual void sync(std::uint32_t /*message*/) {}
  // The speech is over, however it ended.
  virtual void done() {}
};

}  // namespace say
