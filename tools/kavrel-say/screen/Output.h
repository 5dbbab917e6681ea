// SPDX-License-Identifier: Apache-2.0
//
// Output: an open file that is written to while speech goes on, and that must not hold the program
// up when nobody reads what is written.
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace say {

// Told once that the program is to end; for ever after, whoever waits for it goes on.
class Interruption {
 public:
  // Throws Failure when the system has no descriptor left.
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  void come() const;
  // Readable from then on.
  int descriptor() const { return m_event; }

 private:
  int m_event;
};

// What cannot be written before the program ends.
class Interrupted : public std::exception {};

class Output {
 public:
  // `file` stays the caller's and open; `interruption` outlives the output. `name` is for people.
  Output(int file, std::string name, const Interruption& interruption);

  // Throws ReaderGone when its reader has closed the other end, Failure when the text cannot be
  // written for another reason, Interrupted when there has been an interruption and there is no
  // room for the text.
  void write(std::string_view text) const;

  int file() const { return m_file; }

 private:
  void waitForRoom() const;

  int m_file;
  std::string m_name;
  const Interruption& m_interruption;
};

}  // namespace say
