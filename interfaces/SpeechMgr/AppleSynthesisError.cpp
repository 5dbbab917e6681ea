// SPDX-License-Identifier: Apache-2.0
#include "AppleSynthesisError.h"

#include <cstdio>

std::string AppleSynthesisError::getErrorString() const {
  // Rationale: two blanks after the first and the last "Error:", one after the other.
  switch (lastSetError) {
    case INDEX_OUT_OF_RANGE:
      return "Error:  Index out of range\n";
    case BAD_PHONE_SEQUENCE:
      return "Error: Bad phoneme sequence encountered\n";
    default:
      return "Error:  An unknown error occurred\n";
  }
}

void AppleSynthesisError::printError() const {
  std::printf("%s", getErrorString().c_str());
}
