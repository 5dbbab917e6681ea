// SPDX-License-Identifier: Apache-2.0
//
// AppleSynthesisError: the one exception type of the markup model and the converter. It holds the
// kind of the error; the message is made on demand. Thrown by value, caught by reference.
//
// Threads: a value class without locks.
#pragma once

#include <string>

enum AppleSynthesisErrorType {
  OBJECT_NOT_INITIALIZED = 0,  // not thrown
  INDEX_OUT_OF_RANGE = 1,      // an index that is not the index of a token list's entry
  TAG_NOT_HANDLED = 2,         // not thrown
  BAD_PHONE_SEQUENCE = 3,      // phoneme text that the phone table does not cover
  UNKNOWN_ERROR = 4            // not thrown
};

class AppleSynthesisError {
 public:
  // Not explicit, so that a kind converts, as the given interface allows.
  AppleSynthesisError(AppleSynthesisErrorType type) : lastSetError(type) {}
  virtual ~AppleSynthesisError() = default;
  AppleSynthesisError(const AppleSynthesisError&) = default;
  AppleSynthesisError& operator=(const AppleSynthesisError&) = default;

  AppleSynthesisErrorType getErrorType() const { return lastSetError; }

  // Returns a message in English that ends with a line feed.
  std::string getErrorString() const;

  // Writes the message to standard output.
  void printError() const;

 private:
  AppleSynthesisErrorType lastSetError;
};
