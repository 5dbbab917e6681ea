// SPDX-License-Identifier: Apache-2.0
//
// Output: writes to an open file while speech is in progress, without blocking the end of the
// program when nobody reads the file.
//
// Threads: all functions are safe to call on any thread.
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace say {

// An event that wakes every writer: set when the program is to end, and never reset. Uses eventfd.
class Interruption {
 public:
  // Throws Failure if the system has no descriptor left.
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  void trigger() const;
  // Readable after trigger().
  int descriptor() const { return m_event; }

 private:
  int m_event;
};

// Thrown when a write is abandoned because the program is to end.
class Interrupted : public std::exception {};

class Output {
 public:
  // Does not close `file`. `interruption` outlives the output. `name` is for messages.
  Output(int file, std::string name, const Interruption& interruption);

  // Writes all of `text`; blocks until there is room. Throws ReaderGone if the reader has closed
  // the other end, Failure if writing fails for another reason, Interrupted if the interruption has
  // been triggered and there is no room for the text.
  void write(std::string_view text) const;

  int file() const { return m_file; }

 private:
  void waitForRoom() const;

  int m_file;
  std::string m_name;
  const Interruption& m_interruption;
};

}  // namespace say
