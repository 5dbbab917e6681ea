// SPDX-License-Identifier: Apache-2.0
//
// The one exception type of the markup model and the converter: a kind, whose text is made on
// demand. Thrown and caught by value.
#pragma once

#include <string>

enum AppleSynthesisErrorType {
  OBJECT_NOT_INITIALIZED = 0,  // not thrown
  INDEX_OUT_OF_RANGE = 1,      // a token list was asked for a place that it does not have
  TAG_NOT_HANDLED = 2,         // not thrown
  BAD_PHONE_SEQUENCE = 3,      // phoneme text that the phone table does not cover
  UNKNOWN_ERROR = 4            // not thrown
};

class AppleSynthesisError {
 public:
  explicit AppleSynthesisError(AppleSynthesisErrorType type) : lastSetError(type) {}
  virtual ~AppleSynthesisError() = default;
  AppleSynthesisError(const AppleSynthesisError&) = default;
  AppleSynthesisError& operator=(const AppleSynthesisError&) = default;

  AppleSynthesisErrorType getErrorType() const { return lastSetError; }

  // A line for people, with its line feed.
  std::string getErrorString() const;

  // Writes that line to standard output.
  void printError() const;

 private:
  AppleSynthesisErrorType lastSetError;
};
