// SPDX-License-Identifier: Apache-2.0
#include "text/encoding.h"

#include "base/text/Latin9.h"
#include "base/text/Utf8.h"

namespace kavrel {

namespace {

// Quotes, dashes and the ellipsis have customary ASCII forms.
void appendLatin9(std::string& text, char32_t character) {
  const auto byte = base::toLatin9(character);
  if (byte && *byte != 0) {
    text += static_cast<char>(*byte);
  } else if (character >= 0x2018 && character <= 0x201B) {
    text += '\'';
  } else if (character >= 0x201C && character <= 0x201F) {
    text += '"';
  } else if (character >= 0x2010 && character <= 0x2015) {
    text += '-';
  } else if (character == 0x2026) {
    text += "...";
  } else {
    text += '?';
  }
}

}  // namespace

std::optional<Encoding> encodingNamed(const char* name) {
  if (name == nullptr || std::string_view(name) == "iso-8859-15") return Encoding::Latin9;
  if (std::string_view(name) == "utf-8") return Encoding::Utf8;
  return std::nullopt;
}

EncodedCharacter firstCharacter(std::string_view text, Encoding encoding) {
  if (encoding == Encoding::Latin9) {
    return {base::fromLatin9(static_cast<unsigned char>(text.front())), 1};
  }
  const base::Utf8Character character = base::firstCharacter(text);
  if (character.length == 0) return {kMalformed, 1};
  return {character.code, character.length};
}

void append(std::string& text, char32_t character, Encoding encoding) {
  if (encoding == Encoding::Latin9) {
    appendLatin9(text, character);
  } else if (character == 0) {
    text += '?';
  } else {
    base::appendUtf8(text, character);
  }
}

}  // namespace kavrel
