// SPDX-License-Identifier: Apache-2.0
#include "events/Captions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "base/text/CharacterProperties.h"
#include "base/text/Utf8.h"
#include "screen/TextLayout.h"

namespace say {
namespace {

// Common limits for subtitles: two lines of 42 cells, at most seven seconds.
constexpr std::size_t kLine = 42;
constexpr std::size_t kLines = 2;
constexpr double kLongestCue = 7;
// A shorter cue is extended, or merged with the next sentence, if possible.
constexpr double kShortestCue = 1;
constexpr double kLongPause = 1.5;
// Words within a phrase may have shorter silences between them.
constexpr double kShortestPause = 0.05;

// Marks after which a sentence may be cut, in all scripts.
constexpr std::u32string_view kCommas =
    U",;:\u2013\u2014\u060C\u061B\u3001\uFF0C\uFF1A\uFF1B\u055D\u1361\u1363\u1364";

constexpr std::string_view kReplacement = "\uFFFD";

bool isBlank(char byte) {
  return static_cast<unsigned char>(byte) <= ' ' || byte == '\x7F';
}

// ---- The displayed text

// A spoken word with the punctuation that it touches.
struct CaptionWord {
  std::string text;
  bool isApart;      // a blank or a command separates it from the previous word
  bool isParagraph;  // follows an empty line
  double begin;
  double end;
};

// Returns the ranges of the text outside commands, in order. A bracket that is not closed before
// the next one is text, as for the Manager. Linear time: the next "]]" is searched once.
std::vector<TextRange> displayedRanges(std::string_view text, tool::Brackets brackets) {
  if (brackets == tool::Brackets::Text) return {{0, text.size()}};
  std::vector<TextRange> ranges;
  const auto find = [text](std::string_view what, std::size_t from) {
    return std::min(text.find(what, from), text.size());
  };
  std::size_t close = 0;  // the first "]]" at or after the last bracket
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t open = find("[[", at);
    if (at < open) ranges.push_back({at, open});
    if (open == text.size()) break;
    at = open + 2;
    if (close < at) close = find("]]", at);
    if (close < text.size() && close <= find("[[", at)) {
      at = close + 2;
    } else {
      ranges.push_back({open, at});
    }
  }
  return ranges;
}

// Appends text for display: each run of blanks and control characters becomes one blank.
void appendDisplayed(std::string& displayed, std::string_view part) {
  while (!part.empty()) {
    const std::size_t length = base::firstCharacter(part).length;
    if (length == 0) {
      displayed += kReplacement;
    } else if (length > 1 || !isBlank(part.front())) {
      displayed += part.substr(0, length);
    } else if (!displayed.empty() && displayed.back() != ' ') {
      displayed += ' ';
    }
    part.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

// Splits the text between spoken words: each cut is at the first blank or command after a word, so
// punctuation stays with the word that it touches.
class CaptionWordBuilder {
 public:
  CaptionWordBuilder(std::string_view text, const std::vector<SpokenWord>& words,
                     tool::Brackets brackets)
      : m_text(text), m_ranges(displayedRanges(text, brackets)) {
    for (std::size_t i = 0; i < words.size(); ++i) {
      const bool isLast = i + 1 == words.size();
      add(words[i], isLast ? text.size() : words[i + 1].range.position);
    }
  }

  std::vector<CaptionWord> release() { return std::move(m_words); }

 private:
  // Adds the text from the last cut up to the next one, which lies between `word` and `nextWord`.
  void add(const SpokenWord& word, std::size_t nextWord) {
    // Words can overlap in text with unusual markup; the cut never moves back.
    const std::size_t wordEnd = std::max(word.range.position + word.range.length, m_cut);
    const std::size_t begin = m_cut;
    const bool isApart = m_isApart;
    const bool isParagraph = m_isParagraph;
    m_cut = nextWord >= m_text.size() ? m_text.size() : cutBetween(wordEnd, nextWord);
    std::string text = displayed(begin, m_cut);
    while (text.ends_with(' ')) text.pop_back();
    m_words.push_back({std::move(text), isApart, isParagraph, word.begin, word.end});
  }

  // Returns the position of the first blank or command in the gap, else the start of the next word.
  std::size_t cutBetween(std::size_t from, std::size_t to) {
    const std::string_view gap = m_text.substr(std::min(from, to), to > from ? to - from : 0);
    std::size_t cut = 0;
    while (cut < gap.size() && !isBlank(gap[cut]) && isDisplayed(from + cut)) ++cut;
    m_isApart = cut < gap.size();
    m_isParagraph = hasEmptyLine(gap);
    return std::min(from, to) + cut;
  }

  // Whether two line feeds have only blanks between them.
  static bool hasEmptyLine(std::string_view gap) {
    std::size_t ends = 0;
    for (const char byte : gap) {
      if (byte == '\n') {
        if (++ends == 2) return true;
      } else if (!isBlank(byte)) {
        ends = 0;
      }
    }
    return false;
  }

  // Returns the range that contains the byte `at`, else the next one. Binary search.
  std::vector<TextRange>::const_iterator rangeAt(std::size_t at) const {
    return std::upper_bound(m_ranges.begin(), m_ranges.end(), at,
                            [](std::size_t byte, const TextRange& one) { return byte < one.end; });
  }

  bool isDisplayed(std::size_t at) const {
    const auto range = rangeAt(at);
    return range != m_ranges.end() && range->begin <= at;
  }

  std::string displayed(std::size_t begin, std::size_t end) const {
    std::string result;
    for (auto one = rangeAt(begin); one != m_ranges.end() && one->begin < end; ++one) {
      const std::size_t from = std::max(begin, one->begin);
      // A command separates the words around it, as a blank does.
      if (!result.empty() && result.back() != ' ') result += ' ';
      appendDisplayed(result, m_text.substr(from, std::min(end, one->end) - from));
    }
    return result;
  }

  const std::string_view m_text;
  const std::vector<TextRange> m_ranges;
  std::vector<CaptionWord> m_words;
  std::size_t m_cut = 0;  // start of the next word's text
  bool m_isApart = false;
  bool m_isParagraph = false;
};

// ---- Cues

using WordRange =
    std::pair<std::size_t, std::size_t>;  // indices of the first word and after the last

// The text of a range of words on one line.
std::string joinWords(const std::vector<CaptionWord>& words, WordRange range) {
  std::string text;
  for (std::size_t i = range.first; i < range.second; ++i) {
    const CaptionWord& word = words[i];
    if (!text.empty() && word.isApart) text += ' ';
    text += word.text;
  }
  return text;
}

// Wraps as the terminal display does, so that wide characters count two cells.
std::vector<std::string> wrapLines(const std::string& text, std::size_t width) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const Row row = rowAt(text, at, width);
    lines.push_back(text.substr(row.begin, row.end - row.begin));
    at = row.next;
  }
  return lines;
}

// Wraps into the smallest number of lines and makes them about equally long: the narrowest width
// that needs no more lines.
std::vector<std::string> balanceLines(const std::string& text) {
  const std::size_t count = wrapLines(text, kLine).size();
  std::size_t width = kLine;
  while (width > 1 && wrapLines(text, width - 1).size() <= count && count > 1) --width;
  return wrapLines(text, width);
}

// Whether the words are short enough for one cue, in time and in lines.
bool fitsInCue(const std::vector<CaptionWord>& words, WordRange range) {
  return words[range.second - 1].end - words[range.first].begin <= kLongestCue &&
         wrapLines(joinWords(words, range), kLine).size() <= kLines;
}

// Returns the last character, ignoring closing quotes and brackets.
char32_t lastSign(const std::string& text) {
  char32_t last = 0;
  for (std::size_t at = 0; at < text.size();) {
    const base::Utf8Character character = base::firstCharacter(std::string_view(text).substr(at));
    constexpr std::u32string_view kClosing = U"\"')]}\u2019\u201D\u00BB\u203A";
    const bool isClosing = kClosing.find(character.code) != std::u32string_view::npos ||
                           base::closesPunctuation(character.code);
    if (!isClosing) last = character.code;
    at += std::max<std::size_t>(character.length, 1);
  }
  return last;
}

bool endsWithOneOf(const CaptionWord& word, std::u32string_view signs) {
  return signs.find(lastSign(word.text)) != std::u32string_view::npos;
}

bool endsWithStop(const CaptionWord& word) {
  const char32_t last = lastSign(word.text);
  return base::endsSentences(last) || last == U'\u2026';
}

double pauseAfter(const std::vector<CaptionWord>& words, std::size_t at) {
  return words[at + 1].begin - words[at].end;
}

// A sentence ends at a paragraph, at a long pause, or at a full stop with a pause. The pause is
// required because no pause follows the full stop of an abbreviation.
bool endsSentence(const std::vector<CaptionWord>& words, std::size_t at) {
  if (at + 1 == words.size() || words[at + 1].isParagraph) return true;
  const double pause = pauseAfter(words, at);
  return pause >= kLongPause || (pause >= kShortestPause && endsWithStop(words[at]));
}

// Returns the index of the word at which a sentence is cut that does not fit into one cue: after
// the last comma or pause in the second half of the words that fit, else after the last of these
// words. Always after the first word, so that the caller makes progress.
std::size_t findCut(const std::vector<CaptionWord>& words, WordRange sentence) {
  std::size_t end = sentence.first + 1;
  while (end < sentence.second && fitsInCue(words, {sentence.first, end + 1})) ++end;
  if (end == sentence.second) return end;
  for (std::size_t at = end; at > sentence.first + (end - sentence.first + 1) / 2; --at) {
    if (endsWithOneOf(words[at - 1], kCommas) || pauseAfter(words, at - 1) >= kShortestPause) {
      return at;
    }
  }
  return end;
}

// Merges the sentence with the previous cue if that is too short to be read and both fit into one
// cue. Otherwise adds cues for the sentence.
void addSentence(const std::vector<CaptionWord>& words, WordRange sentence,
                 std::vector<WordRange>& cues) {
  if (!cues.empty()) {
    WordRange& last = cues.back();
    const bool isShort = words[last.second - 1].end - words[last.first].begin < kShortestCue;
    const bool isNear = pauseAfter(words, last.second - 1) < kLongPause;
    if (isShort && isNear && !words[sentence.first].isParagraph &&
        fitsInCue(words, {last.first, sentence.second})) {
      last.second = sentence.second;
      return;
    }
  }
  while (sentence.first < sentence.second) {
    const std::size_t cut = findCut(words, sentence);
    cues.emplace_back(sentence.first, cut);
    sentence.first = cut;
  }
}

// Cuts the words into sentences and these into cues.
std::vector<WordRange> groupIntoCues(const std::vector<CaptionWord>& words) {
  std::vector<WordRange> cues;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!endsSentence(words, i)) continue;
    addSentence(words, {begin, i + 1}, cues);
    begin = i + 1;
  }
  return cues;
}

// ---- Files

// Returns hours:minutes:seconds and milliseconds; `point` is "." for WebVTT, "," for SubRip.
std::string timeStamp(double seconds, char point) {
  const long long all = std::llround(seconds * 1000);
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%02lld:%02lld:%02lld%c%03lld", all / 3'600'000,
                all / 60'000 % 60, all / 1000 % 60, point, all % 1000);
  return text.data();
}

std::string timesOf(const Cue& cue, char point) {
  return timeStamp(cue.begin, point) + " --> " + timeStamp(cue.end, point) + '\n';
}

// "<" and "&" start markup in WebVTT; ">" could complete "-->".
std::string escapeForWebVtt(const std::string& line) {
  std::string result;
  for (const char byte : line) {
    if (byte == '&') {
      result += "&amp;";
    } else if (byte == '<') {
      result += "&lt;";
    } else if (byte == '>') {
      result += "&gt;";
    } else {
      result += byte;
    }
  }
  return result;
}

}  // namespace

std::vector<Cue> cuesOf(std::string_view text, const std::vector<SpokenWord>& words,
                        tool::Brackets brackets) {
  const std::vector<CaptionWord> captionWords = CaptionWordBuilder(text, words, brackets).release();
  std::vector<Cue> cues;
  for (const WordRange& range : groupIntoCues(captionWords)) {
    std::vector<std::string> lines = balanceLines(joinWords(captionWords, range));
    if (lines.empty()) continue;
    cues.push_back(
        {captionWords[range.first].begin, captionWords[range.second - 1].end, std::move(lines)});
  }
  // Extend short cues, but never over the next one.
  for (std::size_t i = 0; i < cues.size(); ++i) {
    const double longer = std::max(cues[i].end, cues[i].begin + kShortestCue);
    cues[i].end = i + 1 < cues.size() ? std::min(longer, cues[i + 1].begin) : longer;
  }
  return cues;
}

std::string webVttOf(const std::vector<Cue>& cues) {
  std::string file = "WEBVTT\n";
  for (const Cue& cue : cues) {
    file += '\n' + timesOf(cue, '.');
    for (const std::string& line : cue.lines) file += escapeForWebVtt(line) + '\n';
  }
  return file;
}

std::string subRipOf(const std::vector<Cue>& cues) {
  std::string file;
  for (std::size_t i = 0; i < cues.size(); ++i) {
    if (i > 0) file += '\n';
    file += std::to_string(i + 1) + '\n' + timesOf(cues[i], ',');
    for (const std::string& line : cues[i].lines) file += line + '\n';
  }
  return file;
}

}  // namespace say
