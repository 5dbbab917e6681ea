// SPDX-License-Identifier: Apache-2.0
//
// Reads commands with a table of command words and a small scanner for their arguments.
#include "SpeechSynthesis/texts/EmbeddedCommand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace platform {
namespace {

using Kind = EmbeddedCommand::Kind;

// What a command takes as its argument.
enum class Argument : std::uint8_t { None, Sign, Mode, Number, Milliseconds, SyncValue, Rest };

struct Row {
  std::string_view word;
  Kind kind;
  Argument argument;
  std::array<std::string_view, 5> modes;  // the valid arguments of Argument::Mode
};

constexpr std::size_t kWordLength = 4;

constexpr std::array<Row, 16> kCommands = {{
    {"char", Kind::Characters, Argument::Mode, {"LTRL", "NORM"}},
    {"cmnt", Kind::Comment, Argument::None, {}},
    {"ctxt", Kind::Context, Argument::Mode, {"WORD", "WSKP", "TEXT", "TSKP", "NORM"}},
    {"dlim", Kind::Delimiters, Argument::Rest, {}},
    {"emph", Kind::Emphasis, Argument::Sign, {}},
    {"inpt", Kind::Input, Argument::Mode, {"TEXT", "PHON", "TUNE"}},
    {"nmbr", Kind::Numbers, Argument::Mode, {"LTRL", "NORM"}},
    {"pbas", Kind::PitchBase, Argument::Number, {}},
    {"pmod", Kind::PitchRange, Argument::Number, {}},
    {"rate", Kind::Rate, Argument::Number, {}},
    {"rset", Kind::Reset, Argument::None, {}},
    {"slnc", Kind::Silence, Argument::Milliseconds, {}},
    {"sync", Kind::Sync, Argument::SyncValue, {}},
    {"vers", Kind::Version, Argument::None, {}},
    {"volm", Kind::Volume, Argument::Number, {}},
    {"xtnd", Kind::Extension, Argument::None, {}},
}};

// ---- Characters

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char toLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other, {}, toLower, toLower);
}

bool isSign(char c) {
  return c == '+' || c == '-';
}

// Characters around a command that belong to its delimiters.
bool isPunctuation(char c) {
  return c == '[' || c == ']' || c == ';';
}

std::string_view withoutLeading(std::string_view text, bool (*dropped)(char)) {
  return {std::ranges::find_if_not(text, dropped), text.end()};
}

std::string_view withoutBlanks(std::string_view text) {
  return withoutLeading(text, isBlank);
}

// The first word: up to white space, a sign or a bracket.
std::string_view firstWord(std::string_view text) {
  const auto ends = [](char c) { return isBlank(c) || isSign(c) || isPunctuation(c); };
  return {text.begin(), std::ranges::find_if(text, ends)};
}

std::size_t countDigits(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
}

// ---- Numbers

struct Number {
  std::string text;
  bool isExact;  // as written
};

// A number with an exponent, in plain digits: a sign in the exponent would end the argument.
std::string inPlainDigits(std::string_view written) {
  double value = 0;
  std::from_chars(written.data(), written.data() + written.size(), value);
  if (!std::isfinite(value)) value = 0;
  value = std::min(value, 1e9);
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                 std::chars_format::fixed, 6);
  return std::string(digits.data(), end.ptr);
}

// Reads the number that `text` begins with; empty if there is none. A unit after it is ignored.
std::optional<Number> readNumber(std::string_view text) {
  std::size_t length = countDigits(text);
  std::size_t digits = length;
  if (length < text.size() && text[length] == '.') {
    const std::size_t fraction = countDigits(text.substr(length + 1));
    digits += fraction;
    length += 1 + fraction;
  }
  if (digits == 0) return std::nullopt;
  bool isPlain = true;
  if (length < text.size() && toLower(text[length]) == 'e') {
    const std::size_t sign = length + 1 < text.size() && isSign(text[length + 1]) ? 1 : 0;
    const std::size_t exponent = countDigits(text.substr(length + 1 + sign));
    if (exponent > 0) {
      length += 1 + sign + exponent;
      isPlain = sign == 0;
    }
  }
  const std::string_view written = text.substr(0, length);
  const bool ends = length == text.size() || isBlank(text[length]);
  return Number{isPlain ? std::string(written) : inPlainDigits(written), isPlain && ends};
}

// ---- Sync values

constexpr std::size_t kFourCharacters = 4;

// Four characters as a number, and the number of bytes that they take.
struct FourCharacters {
  std::uint32_t code = 0;
  std::size_t length = 0;
};

// Empty if there are fewer characters, or one that Mac OS Roman lacks: a code has its bytes.
std::optional<FourCharacters> readFourCharacters(std::string_view text, Charset charset) {
  FourCharacters read;
  for (std::size_t count = 0; count < kFourCharacters; ++count) {
    if (read.length == text.size()) return std::nullopt;
    const base::Utf8Character character = firstCharacterIn(text.substr(read.length), charset);
    const auto byte = base::toMacRoman(character.code);
    if (!byte) return std::nullopt;
    read.code = (read.code << 8U) | *byte;
    read.length += character.length;
  }
  return read;
}

// Returns the length of the straight or curved quote that the text begins with; 0 if there is none.
std::size_t lengthOfQuote(std::string_view text, Charset charset) {
  if (text.empty()) return 0;
  const base::Utf8Character character = firstCharacterIn(text, charset);
  constexpr std::u32string_view kQuotes = U"'\"\u2018\u2019\u201C\u201D";
  return kQuotes.find(character.code) == std::u32string_view::npos ? 0 : character.length;
}

// Reads four characters between quotes; `length` includes the quotes.
std::optional<FourCharacters> readQuotedCode(std::string_view text, Charset charset) {
  const std::size_t open = lengthOfQuote(text, charset);
  if (open == 0) return std::nullopt;
  auto code = readFourCharacters(text.substr(open), charset);
  if (!code) return std::nullopt;
  const std::size_t close = lengthOfQuote(text.substr(open + code->length), charset);
  if (close == 0) return std::nullopt;
  code->length += open + close;
  return code;
}

// A number that must take up all of `digits` and fit 32 bits.
std::optional<std::uint32_t> wholeNumber(std::string_view digits, int base) {
  std::uint32_t value = 0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, value, base);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return value;
}

// 65, -1, 0x41, $41, 'four', "four", four.
std::optional<std::uint32_t> readSyncValue(std::string_view text, Charset charset) {
  if (const auto quoted = readQuotedCode(text, charset)) return quoted->code;
  const bool isNegative = !text.empty() && text[0] == '-';
  if (!text.empty() && isSign(text[0])) text = withoutBlanks(text.substr(1));
  const std::string_view word = firstWord(text);
  std::optional<std::uint32_t> value;
  if (word.starts_with('$')) {
    value = wholeNumber(word.substr(1), 16);
  } else if (word.size() > 2 && word[0] == '0' && toLower(word[1]) == 'x') {
    value = wholeNumber(word.substr(2), 16);
  } else {
    value = wholeNumber(word, 10);
    constexpr std::uint32_t kLowest = std::uint32_t{1} << 31U;
    if (isNegative && value > kLowest) value.reset();
  }
  if (!value && !isNegative) {
    const auto code = readFourCharacters(word, charset);
    if (code && code->length == word.size()) value = code->code;
  }
  if (value && isNegative) value = ~*value + 1;
  return value;
}

// ---- Arguments

const Row* rowOf(std::string_view text) {
  for (const Row& row : kCommands) {
    if (equalsIgnoringCase(row.word, text)) return &row;
  }
  return nullptr;
}

// True if an argument may follow the command word without a blank, as in "slnc500".
bool mayFollowDirectly(const Row& row, std::string_view rest, Charset charset) {
  switch (row.argument) {
    case Argument::Number:
    case Argument::Milliseconds:
      return isDigit(rest[0]) || rest[0] == '.';
    case Argument::SyncValue:
      return isDigit(rest[0]) || rest[0] == '$' || lengthOfQuote(rest, charset) > 0;
    case Argument::Mode:
      return std::ranges::any_of(row.modes, [&](std::string_view mode) {
        return !mode.empty() && equalsIgnoringCase(mode, firstWord(rest));
      });
    case Argument::Rest:
      return !isLetter(rest[0]);
    default:
      return row.kind == Kind::Comment || isDigit(rest[0]);
  }
}

// Reads the argument of the command into `command`. Returns false if it is missing or invalid.
// `command.isExact` says whether the command word is exact, and is updated.
bool readArgument(const Row& row, std::string_view text, Charset charset,
                  EmbeddedCommand& command) {
  switch (row.argument) {
    case Argument::None:
      return true;
    case Argument::Rest:
      command.argument = text;
      return true;
    case Argument::Sign:
      if (text.empty() || !isSign(text[0])) return false;
      command.argument = text[0];
      return true;
    case Argument::Mode: {
      const std::string_view word = firstWord(text);
      for (const std::string_view mode : row.modes) {
        if (mode.empty() || !equalsIgnoringCase(mode, word)) continue;
        command.argument = mode;
        command.isExact = command.isExact && mode == word;
        return true;
      }
      return false;
    }
    case Argument::SyncValue: {
      const auto value = readSyncValue(text, charset);
      command.syncValue = value.value_or(0);
      command.isExact = false;
      return value.has_value();
    }
    case Argument::Number:
    case Argument::Milliseconds: {
      const bool isTime = row.argument == Argument::Milliseconds;
      const bool isSigned = !text.empty() && isSign(text[0]);
      if (isTime && isSigned && text[0] == '-') return false;
      const auto number = readNumber(isSigned ? withoutBlanks(text.substr(1)) : text);
      if (!number) return false;
      if (isSigned && !isTime) command.argument = text[0];
      command.argument += number->text;
      command.isExact = command.isExact && number->isExact && !(isSigned && isTime);
      return true;
    }
  }
  return false;
}

}  // namespace

std::string EmbeddedCommand::exactText() const {
  std::string text = "[[";
  text += word;
  if (!argument.empty()) text += ' ';
  return text + argument + "]]";
}

EmbeddedCommand readCommand(std::string_view text, Charset charset) {
  EmbeddedCommand command;
  const std::string_view start =
      withoutLeading(text, [](char c) { return isBlank(c) || isPunctuation(c); });
  if (start.empty()) return command;
  command.kind = Kind::Unknown;
  const Row* const row = rowOf(start.substr(0, kWordLength));
  if (row == nullptr) return command;
  const std::string_view rest = start.substr(kWordLength);
  const bool isSeparate =
      rest.empty() || isBlank(rest[0]) || isSign(rest[0]) || isPunctuation(rest[0]);
  if (!isSeparate && !mayFollowDirectly(*row, rest, charset)) return command;

  command.word = row->word;
  command.isExact = isSeparate && start.starts_with(row->word);
  const bool isRead = readArgument(*row, withoutBlanks(rest), charset, command);
  command.kind = isRead ? row->kind : Kind::BadArgument;
  return command;
}

std::size_t lengthOfFirstCommand(std::string_view body, Charset charset) {
  std::size_t from = 0;
  // Skip a quoted sync value, whose characters may be any.
  const std::string_view start = withoutBlanks(body);
  if (equalsIgnoringCase(start.substr(0, kWordLength), "sync")) {
    const std::string_view argument = withoutBlanks(start.substr(kWordLength));
    if (const auto quoted = readQuotedCode(argument, charset)) {
      from = static_cast<std::size_t>(argument.data() - body.data()) + quoted->length;
    }
  }
  return std::min(body.find(';', from), body.size());
}

}  // namespace platform
