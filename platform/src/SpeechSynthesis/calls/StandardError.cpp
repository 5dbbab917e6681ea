// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/calls/StandardError.h"

#include <cstdio>
#include <exception>

namespace platform {

void writeMessage(const std::string& sentence) {
  std::fprintf(stderr, "%s.\n", sentence.c_str());
}

void writeException(const char* action) noexcept {
  // Rethrown to learn its type: a catch (...) block has no other access to it.
  try {
    throw;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "Speech Synthesis Manager: %s failed: %s.\n", action, error.what());
  } catch (...) {
    std::fprintf(stderr, "Speech Synthesis Manager: %s failed.\n", action);
  }
}

}  // namespace platform
