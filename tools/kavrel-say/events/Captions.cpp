// SPDX-License-Identifier: Apache-2.0
#include "events/Captions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "base/text/Utf8.h"
#include "screen/TextLayout.h"

namespace say {
namespace {

// What readers are used to: two lines of 42 cells, for seven seconds at most.
constexpr std::size_t kLine = 42;
constexpr std::size_t kLines = 2;
constexpr double kLongestCue = 7;
// A cue shorter than this is shown for longer, or with the next sentence, where that can be.
constexpr double kShortestCue = 1;
constexpr double kLongPause = 1.5;
// Between words of a phrase there may be a little silence, too.
constexpr double kShortestPause = 0.05;

constexpr std::string_view kReplacement = "\uFFFD";

bool isBlank(char byte) {
  return static_cast<unsigned char>(byte) <= ' ' || byte == '\x7F';
}

// ---- The text that is shown --------------------------------------------------------------------

// A word with the punctuation around it.
struct Piece {
  std::string text;
  bool isApart;      // from the piece before, by a blank or a command
  bool isParagraph;  // behind an empty line
  double begin;
  double end;
};

// Bytes that are no command, in the order of the text.
std::vector<Stretch> shownStretches(std::string_view text, tool::Brackets brackets) {
  if (brackets == tool::Brackets::Text) return {{0, text.size()}};
  std::vector<Stretch> stretches;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t open = std::min(text.find("[[", at), text.size());
    if (at < open) stretches.push_back({at, open});
    const std::size_t close = open < text.size() ? text.find("]]", open + 2) : text.size();
    at = close >= text.size() ? text.size() : close + 2;
  }
  return stretches;
}

// As it is shown: one blank for blanks and control characters.
void appendShown(std::string& shown, std::string_view part) {
  while (!part.empty()) {
    const std::size_t length = base::firstCharacter(part).length;
    if (length == 0) {
      shown += kReplacement;
    } else if (length > 1 || !isBlank(part.front())) {
      shown += part.substr(0, length);
    } else if (!shown.empty() && shown.back() != ' ') {
      shown += ' ';
    }
    part.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

class Pieces {
 public:
  Pieces(std::string_view text, const std::vector<SpokenWord>& words, tool::Brackets brackets)
      : m_text(text), m_stretches(shownStretches(text, brackets)) {
    for (std::size_t i = 0; i < words.size(); ++i) {
      const bool isLast = i + 1 == words.size();
      add(words[i], isLast ? text.size() : words[i + 1].place.position);
    }
  }

  std::vector<Piece> take() { return std::move(m_pieces); }

 private:
  // The piece of the word, which ends somewhere in front of `nextWord`.
  void add(const SpokenWord& word, std::size_t nextWord) {
    const std::size_t wordEnd = std::max(word.place.position + word.place.length, m_cut);
    const std::size_t begin = m_cut;
    const bool isApart = m_isApart;
    const bool isParagraph = m_isParagraph;
    m_cut = nextWord >= m_text.size() ? m_text.size() : cutBetween(wordEnd, nextWord);
    std::string text = shown(begin, m_cut);
    while (text.ends_with(' ')) text.pop_back();
    m_pieces.push_back({std::move(text), isApart, isParagraph, word.begin, word.end});
  }

  // The first blank or command, else where the next word begins.
  std::size_t cutBetween(std::size_t from, std::size_t to) {
    const std::string_view gap = m_text.substr(std::min(from, to), to > from ? to - from : 0);
    std::size_t cut = 0;
    while (cut < gap.size() && !isBlank(gap[cut]) && isShown(from + cut)) ++cut;
    m_isApart = cut < gap.size();
    m_isParagraph = hasEmptyLine(gap);
    return std::min(from, to) + cut;
  }

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

  // The stretch with the byte `at`, or the first behind it.
  std::vector<Stretch>::const_iterator stretchAt(std::size_t at) const {
    return std::upper_bound(m_stretches.begin(), m_stretches.end(), at,
                            [](std::size_t byte, const Stretch& one) { return byte < one.end; });
  }

  bool isShown(std::size_t at) const {
    const auto stretch = stretchAt(at);
    return stretch != m_stretches.end() && stretch->begin <= at;
  }

  std::string shown(std::size_t begin, std::size_t end) const {
    std::string result;
    for (auto one = stretchAt(begin); one != m_stretches.end() && one->begin < end; ++one) {
      const std::size_t from = std::max(begin, one->begin);
      // A command parts what stands around it.
      if (!result.empty() && result.back() != ' ') result += ' ';
      appendShown(result, m_text.substr(from, std::min(end, one->end) - from));
    }
    return result;
  }

  const std::string_view m_text;
  const std::vector<Stretch> m_stretches;
  std::vector<Piece> m_pieces;
  std::size_t m_cut = 0;  // where the next piece begins
  bool m_isApart = false;
  bool m_isParagraph = false;
};

// ---- Cues --------------------------------------------------------------------------------------

using PieceRange = std::pair<std::size_t, std::size_t>;  // the first, and behind the last

std::string joined(const std::vector<Piece>& pieces, PieceRange range) {
  std::string text;
  for (std::size_t i = range.first; i < range.second; ++i) {
    const Piece& piece = pieces[i];
    if (!text.empty() && piece.isApart) text += ' ';
    text += piece.text;
  }
  return text;
}

std::vector<std::string> linesOf(const std::string& text, std::size_t width) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const Row row = rowAt(text, at, width);
    lines.push_back(text.substr(row.begin, row.end - row.begin));
    at = row.next;
  }
  return lines;
}

// In as few lines as can be, and these about as long as each other.
std::vector<std::string> balancedLines(const std::string& text) {
  const std::size_t count = linesOf(text, kLine).size();
  std::size_t width = kLine;
  while (width > 1 && linesOf(text, width - 1).size() <= count && count > 1) --width;
  return linesOf(text, width);
}

bool fits(const std::vector<Piece>& pieces, PieceRange range) {
  return pieces[range.second - 1].end - pieces[range.first].begin <= kLongestCue &&
         linesOf(joined(pieces, range), kLine).size() <= kLines;
}

// The last character but for closing quotes and brackets.
char32_t lastSign(const std::string& text) {
  char32_t last = 0;
  for (std::size_t at = 0; at < text.size();) {
    const base::Utf8Character character = base::firstCharacter(std::string_view(text).substr(at));
    constexpr std::u32string_view kClosing = U"\"')]}\u2019\u201D\u00BB\u203A";
    if (kClosing.find(character.code) == std::u32string_view::npos) last = character.code;
    at += character.length;
  }
  return last;
}

bool endsWithOneOf(const Piece& piece, std::u32string_view signs) {
  return signs.find(lastSign(piece.text)) != std::u32string_view::npos;
}

double pauseBehind(const std::vector<Piece>& pieces, std::size_t at) {
  return pieces[at + 1].begin - pieces[at].end;
}

// Behind an abbreviation there is no pause.
bool endsSentence(const std::vector<Piece>& pieces, std::size_t at) {
  if (at + 1 == pieces.size() || pieces[at + 1].isParagraph) return true;
  const double pause = pauseBehind(pieces, at);
  return pause >= kLongPause ||
         (pause >= kShortestPause && endsWithOneOf(pieces[at], U".!?\u2026"));
}

// Where a sentence that does not fit is cut: behind the last comma or pause in the further half of
// what fits, else behind the last word of it.
std::size_t cutOf(const std::vector<Piece>& pieces, PieceRange sentence) {
  std::size_t end = sentence.first + 1;
  while (end < sentence.second && fits(pieces, {sentence.first, end + 1})) ++end;
  if (end == sentence.second) return end;
  for (std::size_t at = end; at > sentence.first + (end - sentence.first + 1) / 2; --at) {
    if (endsWithOneOf(pieces[at - 1], U",;:\u2013\u2014") ||
        pauseBehind(pieces, at - 1) >= kShortestPause) {
      return at;
    }
  }
  return end;
}

// Adds the sentence to the last cue if that is short, else as cues of its own.
void addSentence(const std::vector<Piece>& pieces, PieceRange sentence,
                 std::vector<PieceRange>& cues) {
  if (!cues.empty()) {
    PieceRange& last = cues.back();
    const bool isShort = pieces[last.second - 1].end - pieces[last.first].begin < kShortestCue;
    const bool isNear = pauseBehind(pieces, last.second - 1) < kLongPause;
    if (isShort && isNear && !pieces[sentence.first].isParagraph &&
        fits(pieces, {last.first, sentence.second})) {
      last.second = sentence.second;
      return;
    }
  }
  while (sentence.first < sentence.second) {
    const std::size_t cut = cutOf(pieces, sentence);
    cues.emplace_back(sentence.first, cut);
    sentence.first = cut;
  }
}

std::vector<PieceRange> grouped(const std::vector<Piece>& pieces) {
  std::vector<PieceRange> cues;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (!endsSentence(pieces, i)) continue;
    addSentence(pieces, {begin, i + 1}, cues);
    begin = i + 1;
  }
  return cues;
}

// ---- Files -------------------------------------------------------------------------------------

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

std::string escaped(const std::string& line) {
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
  const std::vector<Piece> pieces = Pieces(text, words, brackets).take();
  std::vector<Cue> cues;
  for (const PieceRange& range : grouped(pieces)) {
    std::vector<std::string> lines = balancedLines(joined(pieces, range));
    if (lines.empty()) continue;
    cues.push_back({pieces[range.first].begin, pieces[range.second - 1].end, std::move(lines)});
  }
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
    for (const std::string& line : cue.lines) file += escaped(line) + '\n';
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
