// SPDX-License-Identifier: Apache-2.0
//
// Listener: interface for the events of a speech.
//
// Threads: the functions are called one at a time, on threads of the Manager. An exception stops
// the speech: no listener is called any more, and Speech::waitForEnd() throws the exception.
#pragma once

#include <cstddef>
#include <cstdint>

namespace say {

class Listener {
 public:
  virtual ~Listener() = default;

  // A word begins. Position and length are in bytes of the Mac OS Roman text.
  virtual void word(std::size_t /*position*/, std::size_t /*length*/) {}
  // A phoneme begins. `code` is the Manager's opcode.
  virtual void phoneme(int /*code*/) {}
  // A sync command is reached. `message` is its value; in a strict speech it has the command's
  // number in the upper half.
  virtual void sync(std::uint32_t /*message*/) {}
  // The speech has ended, for any reason. The last call.
  virtual void done() {}
};

}  // namespace say
