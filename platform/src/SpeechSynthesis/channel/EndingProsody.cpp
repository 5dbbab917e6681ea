// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/EndingProsody.h"

#include <string_view>

namespace platform {
namespace {

// All bytes above ASCII count as letters: punctuation among them is rare at the end of a text.
bool isInWord(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= 'a' && byte <= 'z') || byte >= 0x80;
}

}  // namespace

std::string withoutEndingProsody(const std::string& text) {
  // A command that changes how text is read; the words alone, without "[[", are ordinary text.
  for (const std::string_view command : {"inpt", "char"}) {
    if (text.find(command) != std::string::npos && text.find("[[") != std::string::npos) {
      return text;
    }
  }
  const std::size_t last = text.find_last_not_of(" \t\r\n");
  if (last == std::string::npos || !isInWord(text[last])) return text;
  return text + ",";
}

}  // namespace platform
