// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/EndingProsody.h"

#include <string_view>

#include "base/text/CharacterProperties.h"

namespace platform {
namespace {

// All characters of Mac OS Roman above ASCII count as letters: punctuation among them is rare at
// the end of a text.
bool isInWord(char32_t character) {
  if (character < 0x80) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
  }
  return base::toMacRoman(character).has_value() ||
         (!base::isPunctuation(character) && !base::isWhiteSpace(character));
}

bool endsWithWord(std::string_view text, Charset charset) {
  std::size_t start = text.size() - 1;
  if (charset == Charset::Utf8) {
    while (start > 0 && base::isContinuation(text[start])) --start;
  }
  return isInWord(firstCharacterIn(text.substr(start), charset).code);
}

}  // namespace

std::string withoutEndingProsody(const std::string& text, Charset charset) {
  // A command that changes how text is read; the words alone, without "[[", are ordinary text.
  for (const std::string_view command : {"inpt", "char"}) {
    if (text.find(command) != std::string::npos && text.find("[[") != std::string::npos) {
      return text;
    }
  }
  const std::size_t last = text.find_last_not_of(" \t\r\n");
  if (last == std::string::npos ||
      !endsWithWord(std::string_view(text).substr(0, last + 1), charset)) {
    return text;
  }
  return text + ",";
}

}  // namespace platform
