// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/SpokenPieces.h"

#include <algorithm>

#include "base/text/CharacterProperties.h"

namespace platform {
namespace {

// About a quarter of a minute of speech. Two short pieces become one batch.
constexpr std::size_t kEnough = 200;
// A client without full stops is heard after this many bytes.
constexpr std::size_t kMost = 2000;

// White space between words, without blanks that hold words together.
bool isBlank(char32_t character) {
  constexpr std::u32string_view kNoBreak = U"\u00A0\u2007\u202F";
  return base::isWhiteSpace(character) && kNoBreak.find(character) == std::u32string_view::npos;
}

// The character that ends before `position`, which is not 0. In UTF-8 its first byte is found by
// going back over continuation bytes; a malformed one is U+FFFD.
base::Utf8Character characterBefore(std::string_view text, std::size_t position, Charset charset) {
  constexpr std::size_t kLongest = 4;
  std::size_t start = position - 1;
  if (charset == Charset::Utf8) {
    while (start > 0 && position - start < kLongest && base::isContinuation(text[start])) --start;
  }
  const std::string_view bytes = text.substr(start, position - start);
  const base::Utf8Character character = firstCharacterIn(bytes, charset);
  if (character.length == bytes.size()) return character;
  return {0xFFFD, 1};
}

// Quotes and brackets that may follow the full stop.
bool isClosing(char32_t character) {
  // The last two close quotations in German.
  constexpr std::u32string_view kQuotes = U"\"'\u2018\u201C";
  return kQuotes.find(character) != std::u32string_view::npos ||
         (base::closesPunctuation(character) && character != '}');
}

// True if a sentence ends before the blanks, or the end of the text, at `position`.
bool endsSentence(std::string_view text, std::size_t position, Charset charset) {
  while (position > 0) {
    const base::Utf8Character last = characterBefore(text, position, charset);
    if (!isClosing(last.code)) return base::endsSentences(last.code);
    position -= last.length;
  }
  return false;
}

// A wide full stop ends its sentence without a blank after it.
bool endsSentenceAlone(char32_t character) {
  return base::isWide(character) && base::endsSentences(character);
}

bool isParagraph(std::string_view blanks) {
  return std::ranges::count(blanks, '\n') > 1 || std::ranges::count(blanks, '\r') > 1;
}

// Positions after the blanks that end the last sentence and the last word; 0 if there is none.
struct LastEnds {
  std::size_t sentence = 0;
  std::size_t word = 0;
};

// Returns the position after the blanks that the text has at `position`.
std::size_t afterBlanks(std::string_view text, std::size_t position, Charset charset) {
  while (position < text.size()) {
    const base::Utf8Character next = firstCharacterIn(text.substr(position), charset);
    if (!isBlank(next.code)) break;
    position += next.length;
  }
  return position;
}

// One pass over the text, in linear time. A command that is not closed may go on in the next piece.
LastEnds lastEndsOf(std::string_view text, Charset charset) {
  LastEnds ends;
  bool isAfterWideStop = false;  // only closing quotes and brackets lie between
  std::size_t at = 0;
  while (at < text.size()) {
    if (text.substr(at).starts_with("[[")) {
      const std::size_t close = text.find("]]", at);
      if (close == std::string_view::npos) return ends;
      at = close + 2;
      isAfterWideStop = false;
      continue;
    }
    const base::Utf8Character character = firstCharacterIn(text.substr(at), charset);
    if (isBlank(character.code)) {
      const std::size_t next = afterBlanks(text, at, charset);
      ends.word = next;
      if (endsSentence(text, at, charset) || isParagraph(text.substr(at, next - at))) {
        ends.sentence = next;
      }
      at = next;
      isAfterWideStop = false;
      continue;
    }
    at += character.length;
    isAfterWideStop =
        endsSentenceAlone(character.code) || (isAfterWideStop && isClosing(character.code));
    if (isAfterWideStop) ends.sentence = at;
  }
  if (endsSentence(text, text.size(), charset)) ends.sentence = text.size();
  return ends;
}

bool isAscii(char byte) {
  return static_cast<unsigned char>(byte) < 0x80;
}

// Returns the position before the last character, if that may be cut or have accents after it: the
// bytes of an incomplete one, or else a letter above ASCII with its accents. Else the end of the
// text.
std::size_t beforeLastCharacter(std::string_view text) {
  std::size_t end = text.size();
  const auto last = [&] { return characterBefore(text, end, Charset::Utf8); };
  const auto isIncomplete = [&] { return last().code == 0xFFFD && last().length == 1; };
  while (end > 0 && !isAscii(text[end - 1]) && isIncomplete()) --end;
  if (end < text.size()) return end;
  while (end > 0 && !isAscii(text[end - 1])) {
    const base::Utf8Character character = last();
    end -= character.length;
    if (!base::extendsCharacter(character.code)) break;
  }
  return end;
}

}  // namespace

bool isEnoughToSpeak(std::string_view text, Charset charset) {
  return text.size() >= kMost || (text.size() >= kEnough && lastEndsOf(text, charset).sentence > 0);
}

std::size_t lengthOfCompletePart(std::string_view text, Charset charset) {
  const LastEnds ends = lastEndsOf(text, charset);
  if (ends.sentence > 0) return ends.sentence;
  if (ends.word > 0) return ends.word;
  const std::size_t length = charset == Charset::Utf8 ? beforeLastCharacter(text) : text.size();
  return length > 0 ? length : text.size();
}

std::size_t bytesBeforeEnd(double rate, Charset charset) {
  constexpr double kSlowest = 50;
  constexpr double kFastest = 600;
  constexpr double kMinutes = 2.0 / 60;
  const double bytesPerWord = charset == Charset::Utf8 ? 12 : 6;
  return static_cast<std::size_t>(std::clamp(rate, kSlowest, kFastest) * kMinutes * bytesPerWord);
}

}  // namespace platform
