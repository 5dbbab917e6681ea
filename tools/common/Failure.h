// SPDX-License-Identifier: Apache-2.0
//
// How a command line tool ends when it cannot do what it was asked to do.
#pragma once

#include <stdexcept>

namespace tool {

// The program's exit statuses.
enum Exit { kSuccess = 0, kFailure = 1, kUsage = 2 };

// Ends the program with kFailure. The message is one line for people, without line feed.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Ends the program with kFailure without a word: nobody reads what it writes any more.
class ReaderGone : public std::exception {};

}  // namespace tool
