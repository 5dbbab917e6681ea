// SPDX-License-Identifier: Apache-2.0
//
// Failure: exit statuses and exceptions that end a command line tool.
#pragma once

#include <stdexcept>

namespace tool {

// Exit statuses of the programs.
enum Exit { kSuccess = 0, kFailure = 1, kUsage = 2 };

// Ends the program with kFailure; runTool() writes the message to standard error. The message is
// one line without line feed. docs/messages.md lists every message.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Ends the program with kFailure and without a message: the reader of standard output has closed
// its end, so nobody reads more.
class ReaderGone : public std::exception {};

}  // namespace tool
