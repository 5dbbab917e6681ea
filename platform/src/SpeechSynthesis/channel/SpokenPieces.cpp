// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/SpokenPieces.h"

#include <algorithm>

namespace platform {
namespace {

// About a quarter of a minute of speech. Two short pieces become one batch.
constexpr std::size_t kEnough = 200;
// A client without full stops is heard after this many bytes.
constexpr std::size_t kMost = 2000;

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isTerminator(char c) {
  return c == '.' || c == '!' || c == '?';
}

// Quotes and brackets that may follow the full stop, the curved quotes of Mac OS Roman included.
bool isClosing(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return c == '"' || c == '\'' || c == ')' || c == ']' || (byte >= 0xD2 && byte <= 0xD5);
}

// True if a sentence ends before the blanks, or the end of the text, at `position`.
bool endsSentence(std::string_view text, std::size_t position) {
  while (position > 0 && isClosing(text[position - 1])) --position;
  return position > 0 && isTerminator(text[position - 1]);
}

bool isParagraph(std::string_view blanks) {
  return std::ranges::count(blanks, '\n') > 1 || std::ranges::count(blanks, '\r') > 1;
}

// Positions after the blanks that end the last sentence and the last word; 0 if there is none.
struct LastEnds {
  std::size_t sentence = 0;
  std::size_t word = 0;
};

// One pass over the text, in linear time. A command that is not closed may go on in the next piece.
LastEnds lastEndsOf(std::string_view text) {
  LastEnds ends;
  std::size_t at = 0;
  while (at < text.size()) {
    if (text.substr(at).starts_with("[[")) {
      const std::size_t close = text.find("]]", at);
      if (close == std::string_view::npos) return ends;
      at = close + 2;
    } else if (isBlank(text[at])) {
      std::size_t next = at;
      while (next < text.size() && isBlank(text[next])) ++next;
      ends.word = next;
      if (endsSentence(text, at) || isParagraph(text.substr(at, next - at))) ends.sentence = next;
      at = next;
    } else {
      ++at;
    }
  }
  if (endsSentence(text, text.size())) ends.sentence = text.size();
  return ends;
}

}  // namespace

bool isEnoughToSpeak(std::string_view text) {
  return text.size() >= kMost || (text.size() >= kEnough && lastEndsOf(text).sentence > 0);
}

std::size_t lengthOfCompletePart(std::string_view text) {
  const LastEnds ends = lastEndsOf(text);
  if (ends.sentence > 0) return ends.sentence;
  return ends.word > 0 ? ends.word : text.size();
}

std::size_t bytesBeforeEnd(double rate) {
  constexpr double kSlowest = 50;
  constexpr double kFastest = 600;
  constexpr double kBytesPerWord = 6;
  constexpr double kMinutes = 2.0 / 60;
  return static_cast<std::size_t>(std::clamp(rate, kSlowest, kFastest) * kMinutes * kBytesPerWord);
}

}  // namespace platform
