// SPDX-License-Identifier: Apache-2.0
#include "TextMutator.h"

#include <algorithm>
#include <array>
#include <utility>

namespace fuzz {

namespace {

constexpr std::size_t kMostCharacters = 2000;

struct Block {
  char32_t first;
  char32_t last;
};

// Blocks of Unicode: those of the languages that espeak-ng speaks, signs, and some that it has
// never heard of.
constexpr Block kBlocks[] = {
    {0x21, 0x7E},        {0x30, 0x39},       {0x61, 0x7A},       {0xA0, 0xFF},
    {0x100, 0x17F},      {0x180, 0x24F},     {0x250, 0x2FF},     {0x300, 0x36F},
    {0x370, 0x3FF},      {0x400, 0x52F},     {0x530, 0x58F},     {0x590, 0x5FF},
    {0x600, 0x6FF},      {0x700, 0x7BF},     {0x900, 0x97F},     {0x980, 0x9FF},
    {0xA00, 0xA7F},      {0xA80, 0xAFF},     {0xB00, 0xB7F},     {0xB80, 0xBFF},
    {0xC00, 0xC7F},      {0xC80, 0xCFF},     {0xD00, 0xD7F},     {0xD80, 0xDFF},
    {0xE00, 0xE7F},      {0xE80, 0xEFF},     {0xF00, 0xFFF},     {0x1000, 0x109F},
    {0x10A0, 0x10FF},    {0x1100, 0x11FF},   {0x1200, 0x137F},   {0x13A0, 0x13FF},
    {0x1780, 0x17FF},    {0x1AB0, 0x1AFF},   {0x1D00, 0x1DFF},   {0x1E00, 0x1EFF},
    {0x1F00, 0x1FFF},    {0x2000, 0x206F},   {0x2070, 0x209F},   {0x20A0, 0x20FF},
    {0x2100, 0x218F},    {0x2190, 0x22FF},   {0x2300, 0x24FF},   {0x2500, 0x27BF},
    {0x2800, 0x28FF},    {0x2C00, 0x2DFF},   {0x3000, 0x303F},   {0x3040, 0x30FF},
    {0x3130, 0x318F},    {0x3200, 0x33FF},   {0x4E00, 0x9FFF},   {0xA980, 0xAA7F},
    {0xAC00, 0xD7A3},    {0xE000, 0xF8FF},   {0xFB00, 0xFDFF},   {0xFE00, 0xFE2F},
    {0xFE70, 0xFEFF},    {0xFF00, 0xFFEF},   {0xFFF0, 0xFFFF},   {0x1D400, 0x1D7FF},
    {0x1F1E6, 0x1F1FF},  {0x1F300, 0x1FAFF}, {0x20000, 0x2A6DF}, {0xE0000, 0xE007F},
    {0x10FF00, 0x10FFFF}};

// Characters that a synthesiser treats apart.
constexpr std::u32string_view kSpecial =
    U"''''\"--..,,;:!?()[]{}<>&/\\|_*+=#@%^~`"
    U"\u00A0\u00AD\u00B4\u02BC\u0301\u034F\u0361\u061C\u0E33\u1039\u103A\u180E\u2011\u2013\u2014"
    U"\u2018\u2019\u201C\u201D\u2026\u200B\u200C\u200D\u200E\u200F\u202A\u202E\u2060\u2061\u20E3"
    U"\uFE0E\uFE0F\uFEFF\uFFFC\uFFFD\u3000\u094D\u0D4D\u1160\u3164\u0130\u0131\u0149\u1E9E";

constexpr std::u32string_view kStyles[] = {
    U"<prosody rate='80'>",    U"<prosody rate='150'>",
    U"<prosody rate='217'>",   U"<prosody rate='600'>",
    U"<prosody pitch='1'>",    U"<prosody pitch='120'>",
    U"<prosody pitch='9999'>", U"<prosody range='0'>",
    U"<prosody range='999'>",  U"<prosody volume='0'>",
    U"<prosody volume='300'>", U"<emphasis strength='strong'>",
    U"<say-as type='digits'>", U"<say-as interpret-as='spell-out'>"};

std::u32string_view endTagOf(std::u32string_view tag) {
  if (tag.starts_with(U"<prosody")) return U"</prosody>";
  return tag.starts_with(U"<emphasis") ? U"</emphasis>" : U"</say-as>";
}

std::u32string utf32Of(std::size_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

// The text's words without its tags, which would not survive a change.
std::vector<std::u32string> wordsOf(std::u32string_view line) {
  std::vector<std::u32string> words(1);
  bool insideTag = false;
  for (const char32_t c : line) {
    insideTag = insideTag || c == U'<';
    if (c == U' ' && !insideTag) words.emplace_back();
    if (c != U' ' || insideTag) words.back() += c;
    insideTag = insideTag && c != U'>';
  }
  std::erase(words, std::u32string());
  return words;
}

}  // namespace

TextMutator::TextMutator(const std::vector<std::u32string>& lines, std::uint64_t seed)
    : m_random(seed) {
  for (const std::u32string& line : lines) {
    const auto words = wordsOf(line);
    if (words.empty()) continue;
    m_lines.push_back(line);
    m_words.insert(m_words.end(), words.begin(), words.end());
  }
}

std::u32string TextMutator::next() {
  if (oneIn(60)) return anyOf(m_lines);
  if (oneIn(3)) return list();
  std::u32string text;
  for (std::size_t count = 1 + below(oneIn(12) ? 40 : 5); count > 0; --count) {
    text += item();
    text += separator();
  }
  for (std::size_t count = below(6); count > 0; --count) change(text);
  text.resize(std::min(text.size(), kMostCharacters));
  for (std::size_t count = oneIn(3) ? 1 + below(2) : 0; count > 0; --count) style(text);
  return text;
}

std::size_t TextMutator::below(std::size_t limit) {
  return static_cast<std::size_t>(m_random() % limit);
}

char32_t TextMutator::character() {
  if (oneIn(3)) return anyOf(kSpecial);
  const Block& block = anyOf(kBlocks);
  return block.first + static_cast<char32_t>(below(block.last - block.first + 1));
}

// Many short items, most of them at the start of a clause: of all texts these lose most processes,
// and have the least sound.
std::u32string TextMutator::list() {
  constexpr std::u32string_view kSeparators[] = {U", ", U", ", U" ", U": ", U". "};
  std::u32string text = U"<prosody rate='216'>";
  for (std::size_t count = 10 + below(20); count > 0; --count) {
    for (std::size_t signs = below(4); signs > 0; --signs) text += anyOf(kSpecial);
    switch (below(4)) {
      case 0:
        text += anyOf(m_words).substr(0, 1 + below(4));
        break;
      case 1:
        text += utf32Of(below(oneIn(4) ? 100000 : 200));
        break;
      case 2:
        text += character();
        break;
      default:
        text += U'a' + static_cast<char32_t>(below(26));
        break;
    }
    for (std::size_t signs = below(3); signs > 0; --signs) text += anyOf(kSpecial);
    text += anyOf(kSeparators);
  }
  return text;
}

// One part of a text. Whole lines are rare: their sound takes long to make.
std::u32string TextMutator::item() {
  switch (below(20)) {
    case 0:
      return oneIn(4) ? anyOf(m_lines) : std::u32string(1, character());
    case 1:
      return run();
    case 2:
    case 3:
      return foreign();
    case 4:
    case 5:
      return number();
    case 6: {
      std::u32string signs;
      for (std::size_t count = 1 + below(4); count > 0; --count) signs += anyOf(kSpecial);
      return signs;
    }
    case 7:
      return anyOf(m_words) + character() + anyOf(m_words);
    case 8:
      return std::u32string(U"'") + (oneIn(2) ? U"-" : U"") +
             anyOf(m_words).substr(0, 1 + below(3));
    case 9:
      return anyOf(m_words) + std::u32string(1 + below(8), U'\u0301');
    case 10:
      return std::u32string(U"<phoneme ph='") + (oneIn(2) ? U"k ae1 t" : U"zh ow0 . ng ax1") +
             U"'>" + anyOf(m_words) + U"</phoneme>";
    case 11:
      return U"[[" + anyOf(m_words) + (oneIn(2) ? U"]]" : U"");
    default:
      return anyOf(m_words);
  }
}

// A character or a word many times.
std::u32string TextMutator::run() {
  const std::size_t count = 1 + below(oneIn(3) ? 200 : 60);
  if (oneIn(2)) return std::u32string(count, character()) + (oneIn(2) ? U"s" : U"");
  std::u32string text;
  const std::u32string word = anyOf(m_words).substr(0, 1 + below(6));
  for (std::size_t i = 0; i < count / word.size() + 1; ++i) text += word;
  return text;
}

// Characters of one block, or of several.
std::u32string TextMutator::foreign() {
  const bool mixed = oneIn(3);
  const Block* block = &anyOf(kBlocks);
  std::u32string text;
  for (std::size_t count = 1 + below(oneIn(5) ? 80 : 12); count > 0; --count) {
    if (mixed) block = &anyOf(kBlocks);
    text += block->first + static_cast<char32_t>(below(block->last - block->first + 1));
  }
  return text;
}

std::u32string TextMutator::number() {
  constexpr std::u32string_view kSeparators = U".,' :-/\u00A0";
  constexpr std::u32string_view kAfter[] = {U"",  U"",   U"",   U"st", U"th", U"er", U"º", U".",
                                            U"%", U"'s", U"\"", U"°C", U"km", U"e9", U"x", U"€"};
  std::u32string text(oneIn(4) ? U"-" : U"");
  const char32_t separator = anyOf(kSeparators);
  const std::size_t group = oneIn(2) ? 3 : 1 + below(40);
  const std::size_t count = 1 + below(oneIn(4) ? 120 : 12);
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0 && (count - i) % group == 0) text += separator;
    text += U'0' + static_cast<char32_t>(below(10));
  }
  return text.append(anyOf(kAfter));
}

std::u32string TextMutator::separator() {
  switch (below(16)) {
    case 0:
      return {};
    case 1:
      return U"\n\n";
    case 2:
      return U"\u200B";
    case 3:
      return U". ";
    case 4:
      return U", ";
    case 5:
      return U"<mark name='m'/>";
    default:
      return U" ";
  }
}

// Changes a few characters at a random position.
void TextMutator::change(std::u32string& text) {
  if (text.empty()) return;
  const std::size_t at = below(text.size());
  const std::size_t length = std::min(text.size() - at, 1 + below(8));
  switch (below(6)) {
    case 0:
      text.erase(at, length);
      break;
    case 1:
      text.insert(at, 1, character());
      break;
    case 2:
      text[at] = character();
      break;
    case 3:
      std::swap(text[at], text[below(text.size())]);
      break;
    case 4: {
      const std::u32string part = text.substr(at, length);
      for (std::size_t count = 1 + below(30); count > 0; --count) text.insert(at, part);
      break;
    }
    default:
      for (std::size_t i = at; i < at + length; ++i) {
        if (text[i] >= U'a' && text[i] <= U'z') text[i] -= U'a' - U'A';
      }
      break;
  }
}

// Puts a part of the text into an element.
void TextMutator::style(std::u32string& text) {
  const std::u32string_view tag = anyOf(kStyles);
  const std::size_t first = oneIn(2) ? 0 : below(text.size() + 1);
  const std::size_t end = oneIn(2) ? text.size() : first + below(text.size() - first + 1);
  text.insert(end, endTagOf(tag));
  text.insert(first, tag);
}

}  // namespace fuzz
