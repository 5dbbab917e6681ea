// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/texts/TextAdapter.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "SpeechSynthesis/texts/CarriedState.h"
#include "SpeechSynthesis/texts/CommandFinder.h"
#include "SpeechSynthesis/texts/EmbeddedCommand.h"
#include "SpeechSynthesis/texts/PhonemeText.h"

namespace platform {
namespace {

using Kind = EmbeddedCommand::Kind;
using Cause = TextProblem::Cause;
using Position = base::OriginText::Position;

// White space that separates words.
bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// All bytes above ASCII count as letters.
bool isInWord(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= 'a' && byte <= 'z') || byte >= 0x80;
}

std::string numberText(double value) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                 std::chars_format::general, 6);
  return std::string(digits.data(), end.ptr);
}

// ---- The adapter

class Adapter {
 public:
  Adapter(std::string_view given, const TextSettings& settings)
      : m_given(given), m_settings(settings), m_finder(given, settings.charset) {
    m_finder.setDelimiters(settings.openDelimiter, settings.closeDelimiter);
    if (settings.startsInPhonemes) {
      m_input = Input::Phonemes;
      m_isRegionOpen = true;
    }
  }

  AdaptedText run();

 private:
  enum class Input { Text, Phonemes, Tune };

  void addText(std::size_t start, std::size_t end);
  void addWords(std::size_t start, std::size_t end);
  void addPlain(std::size_t start, std::size_t end);
  void addPhonemes(std::size_t start, std::size_t end);
  void addTune(std::size_t start, std::size_t end);

  void addCommands(const FoundCommand& found);
  bool keepAsWritten(const FoundCommand& found);
  void addCommand(const EmbeddedCommand& command, std::size_t at, const FoundCommand& found);
  void addValid(const EmbeddedCommand& command, std::size_t at, const FoundCommand& found);
  void addSetting(const EmbeddedCommand& command, std::size_t at);
  void addSync(const EmbeddedCommand& command, std::size_t at);
  void addEmphasis(const EmbeddedCommand& command, std::size_t at, const FoundCommand& found);
  void changeInput(const EmbeddedCommand& command, std::size_t at);
  void changeContext(const EmbeddedCommand& command);
  void changeDelimiters(const EmbeddedCommand& command, std::size_t at);
  void reset(const EmbeddedCommand& command, std::size_t at);

  void openRegion(std::size_t at);
  void closeRegion(std::size_t at);
  void write(std::string_view command, std::size_t at);
  void endEmphasizedWord();
  void padEmphasisAtEnd();
  void report(std::size_t position, Cause cause) { m_result.problems.push_back({position, cause}); }
  bool isSkipping() const { return m_skipsText || m_skipsWord; }
  std::string stateAtEnd() const;

  const std::string_view m_given;
  const TextSettings& m_settings;
  CommandFinder m_finder;
  AdaptedText m_result;

  // The input mode of the text, and whether the result has the command for it: it is written just
  // before the first phoneme or tune data, and "[[inpt TEXT]]" after the last.
  Input m_input = Input::Text;
  bool m_isRegionOpen = false;
  std::size_t m_inputPosition = 0;  // of the last command for an input mode
  std::size_t m_lastPosition = 0;   // of the last command or text written

  // The two kinds of skipped context, which nest.
  bool m_skipsText = false;
  bool m_skipsWord = false;

  // Emphasis of the next word: none, still to be written, or written before the word.
  enum class Emphasis { None, Pending, Written };
  Emphasis m_emphasis = Emphasis::None;
  bool m_hasEmphasis = false;
  std::size_t m_textSinceCommand = 0;  // bytes of text after the last command in the result

  // Settings for which a relative command refers to a value that a reset has removed.
  std::vector<Kind> m_unset;
  CarriedState m_carried;
  std::string m_delimiters;  // argument of the last valid "dlim"; empty if there was none
  std::vector<std::size_t> m_unknownPhonemes;
  // Upper bounds for the bytes of phones: of all phonemes so far, and of all closed regions.
  std::size_t m_phones = 0;
  std::size_t m_phonesOfRegions = 0;
};

AdaptedText Adapter::run() {
  m_result.text.reserve(m_given.size());
  std::size_t at = 0;
  for (;;) {
    const bool readsText = m_input == Input::Text;
    const FoundCommand found = m_finder.next(at, !readsText);
    addText(at, found.start);
    if (found.start == m_given.size()) break;
    if (!found.isClosed) report(found.start, Cause::NotClosed);
    if (found.isText) {
      addText(found.start, found.end);
    } else {
      addCommands(found);
    }
    at = found.end;
  }
  m_result.stateAtEnd = stateAtEnd();
  closeRegion(m_given.size());
  padEmphasisAtEnd();
  m_result.text.finish(static_cast<Position>(m_given.size()));
  m_result.isChanged = m_result.text.text() != m_given;
  if (!m_result.isChanged) m_result.text.clear();
  return std::move(m_result);
}

// The delimiters come last, so that all commands are written between the initial ones.
std::string Adapter::stateAtEnd() const {
  CarriedState state = m_carried;
  const bool startsInText = !m_settings.startsInPhonemes || state.isReset();
  if (m_input == Input::Phonemes && startsInText) state.add("inpt PHON");
  if (m_input == Input::Tune) state.add("inpt TUNE");
  if (m_input == Input::Text && !startsInText) state.add("inpt TEXT");
  if (m_skipsText) state.add("ctxt TSKP");
  if (m_skipsWord) state.add("ctxt WSKP");
  // Emphasis that was written had no word after it either.
  if (m_emphasis != Emphasis::None) state.add("emph +");
  // The blank keeps the last delimiter apart from the initial one. One that contains an initial one
  // cannot be written.
  const bool fits = m_delimiters.find(m_settings.openDelimiter) == std::string::npos &&
                    m_delimiters.find(m_settings.closeDelimiter) == std::string::npos;
  if (!m_delimiters.empty() && fits) state.add("dlim" + m_delimiters + ' ');
  return state.text(m_settings.openDelimiter, m_settings.closeDelimiter);
}

// ---- Text

void Adapter::addText(std::size_t start, std::size_t end) {
  if (start == end || isSkipping()) return;
  switch (m_input) {
    case Input::Text:
      return m_emphasis == Emphasis::None ? addPlain(start, end) : addWords(start, end);
    case Input::Phonemes:
      return addPhonemes(start, end);
    case Input::Tune:
      return addTune(start, end);
  }
}

// Text whose first word is emphasized. The emphasis of a synthesizer lasts to the next command, so
// a comment after the word ends it.
void Adapter::addWords(std::size_t start, std::size_t end) {
  std::size_t word = start;
  while (word < end && !isInWord(m_given[word])) ++word;
  if (word == end) return addPlain(start, end);
  std::size_t wordEnd = word;
  while (wordEnd < end && !isBlank(m_given[wordEnd])) ++wordEnd;
  addPlain(start, word);
  if (m_emphasis == Emphasis::Pending) write("[[emph +]]", word);
  addPlain(word, wordEnd);
  endEmphasizedWord();
  addPlain(wordEnd, end);
}

// A blank keeps two "[" apart that a synthesizer would take for a command.
void Adapter::addPlain(std::size_t start, std::size_t end) {
  base::OriginText& out = m_result.text;
  while (start < end) {
    if (m_given[start] == '[' && m_textSinceCommand > 0 && out.text().back() == '[') {
      out.insert(" ");
    }
    // Up to the second of two brackets.
    const std::size_t pair = m_given.substr(0, end).find("[[", start);
    const std::size_t stop = pair == std::string_view::npos ? end : pair + 1;
    out.appendCopy(m_given.substr(start, stop - start), static_cast<Position>(start));
    m_textSinceCommand += stop - start;
    start = stop;
  }
  m_lastPosition = end;
}

void Adapter::addPhonemes(std::size_t start, std::size_t end) {
  if (!m_isRegionOpen && !hasPhonemes(m_given.substr(start, end - start))) {
    return addPlain(start, end);
  }
  // A symbol becomes at most this many bytes. The synthesizer repeats the phones of earlier regions
  // in each region, so the sum grows with the square of their number.
  constexpr std::size_t kLongestPhone = 4;
  constexpr std::size_t kMostPhones = std::size_t{16} << 20U;
  const std::size_t phones = m_phones + kLongestPhone * (end - start);
  if (m_phonesOfRegions + phones > kMostPhones) {
    return report(start, Cause::TooManyPhonemes);
  }
  m_phones = phones;
  openRegion(start);
  m_unknownPhonemes.clear();
  adaptPhonemes(m_given, start, end, m_result.text, m_unknownPhonemes);
  for (const std::size_t position : m_unknownPhonemes) report(position, Cause::UnknownPhoneme);
  m_lastPosition = end;
}

void Adapter::addTune(std::size_t start, std::size_t end) {
  if (m_isRegionOpen || hasPhonemes(m_given.substr(start, end - start))) openRegion(start);
  addPlain(start, end);
}

// ---- Commands

void Adapter::addCommands(const FoundCommand& found) {
  if (keepAsWritten(found)) return;
  std::string_view rest = m_given.substr(found.bodyStart, found.bodyEnd - found.bodyStart);
  bool isFirst = true;
  bool inComment = false;
  for (;;) {
    const std::size_t length = lengthOfFirstCommand(rest, m_settings.charset);
    const std::string_view text = rest.substr(0, length);
    const std::size_t at = isFirst ? found.start
                                   : static_cast<std::size_t>(text.data() - m_given.data()) +
                                         std::min(text.find_first_not_of(" \t\r\n"), length);
    const EmbeddedCommand command = readCommand(text, m_settings.charset);
    // A ";" may be part of a comment; a valid command after it counts all the same.
    if (command.isValid() || !inComment) {
      const bool isOnlyOne = isFirst && length == rest.size();
      if (command.kind != Kind::Empty || isOnlyOne) addCommand(command, at, found);
    }
    inComment = inComment || command.kind == Kind::Comment;
    isFirst = false;
    if (length == rest.size()) return;
    rest.remove_prefix(length + 1);
  }
}

// True if every command of the text between two brackets is exact and needs nothing else. Passes
// the commands to `carried` then.
bool isUsable(std::string_view body, Charset charset, CarriedState& carried) {
  // An escape that a synthesizer makes of these contains a ";", which ends a command.
  if (body.find_first_of("[&<>") != std::string_view::npos) return false;
  // The logo, which a synthesizer spells out.
  const std::string_view logo = charset == Charset::Utf8 ? "\xEF\xA3\xBF" : "\xF0";
  if (body.find(logo) != std::string_view::npos) return false;
  CarriedState changed = carried;
  for (;;) {
    const std::size_t length = lengthOfFirstCommand(body, charset);
    const EmbeddedCommand command = readCommand(body.substr(0, length), charset);
    switch (command.kind) {
      case Kind::Empty:
      case Kind::Unknown:
      case Kind::BadArgument:
      case Kind::Sync:
      case Kind::Input:
      case Kind::Context:
      case Kind::Delimiters:
      case Kind::Reset:
      case Kind::Emphasis:
        return false;
      default:
        break;
    }
    if (!command.isExact) return false;
    changed.apply(command);
    if (length == body.size()) break;
    body.remove_prefix(length + 1);
  }
  carried = std::move(changed);
  return true;
}

// Copies commands that a synthesizer understands as they are, so that ordinary texts are unchanged.
bool Adapter::keepAsWritten(const FoundCommand& found) {
  const std::string_view written = m_given.substr(found.start, found.end - found.start);
  if (m_input != Input::Text || isSkipping() || !m_unset.empty() || !found.isClosed) return false;
  if (!written.starts_with("[[") || !written.ends_with("]]")) return false;
  const std::string_view body = m_given.substr(found.bodyStart, found.bodyEnd - found.bodyStart);
  if (!isUsable(body, m_settings.charset, m_carried)) return false;
  write(written, found.start);
  return true;
}

void Adapter::addCommand(const EmbeddedCommand& command, std::size_t at,
                         const FoundCommand& found) {
  if (command.isValid()) return addValid(command, at, found);
  const bool isKnown = command.kind == Kind::BadArgument;
  report(at, isKnown ? Cause::BadArgument : Cause::UnknownCommand);
}

void Adapter::addValid(const EmbeddedCommand& command, std::size_t at, const FoundCommand& found) {
  // Between two pieces of tune data a synthesizer accepts no command.
  const bool hasEffect = command.kind != Kind::Comment && command.kind != Kind::Version &&
                         command.kind != Kind::Extension;
  if (m_input == Input::Tune && hasEffect) closeRegion(at);
  m_carried.apply(command);
  switch (command.kind) {
    case Kind::Comment:
    case Kind::Version:
    case Kind::Extension:
      return;
    case Kind::Sync:
      return addSync(command, at);
    case Kind::Emphasis:
      return addEmphasis(command, at, found);
    case Kind::Input:
      return changeInput(command, at);
    case Kind::Context:
      return changeContext(command);
    case Kind::Delimiters:
      return changeDelimiters(command, at);
    case Kind::Reset:
      return reset(command, at);
    default:
      return addSetting(command, at);
  }
}

// After a reset a synthesizer counts relative values from 0 instead of the initial value.
void Adapter::addSetting(const EmbeddedCommand& command, std::size_t at) {
  if (std::erase(m_unset, command.kind) > 0 && command.isRelative()) {
    constexpr double kInitialRate = 180;
    constexpr double kInitialVolume = 1;
    double initial = kInitialRate;
    if (command.kind == Kind::Volume) initial = kInitialVolume;
    if (command.kind == Kind::PitchBase) initial = m_settings.pitchBase;
    if (command.kind == Kind::PitchRange) initial = m_settings.pitchRange;
    EmbeddedCommand absolute = command;
    absolute.argument = numberText(initial);
    write(absolute.exactText(), at);
  }
  write(command.exactText(), at);
}

void Adapter::addSync(const EmbeddedCommand& command, std::size_t at) {
  write("[[sync " + std::to_string(syncNumber(m_result.syncValues.size())) + "]]", at);
  m_result.syncValues.push_back(command.syncValue);
}

// Emphasis of a word that follows directly is written where it stands. If a command comes before
// the word, it would end the emphasis; then the word itself gets it.
void Adapter::addEmphasis(const EmbeddedCommand& command, std::size_t at,
                          const FoundCommand& found) {
  m_emphasis = Emphasis::None;
  if (command.argument == "-") return write(command.exactText(), at);
  if (m_input == Input::Phonemes) return;  // phonemes have stress of their own
  std::size_t next = found.end;
  while (next < m_given.size() && isBlank(m_given[next])) ++next;
  const bool wordFollows =
      next < m_given.size() && isInWord(m_given[next]) &&
      m_given.substr(found.bodyStart, found.bodyEnd - found.bodyStart).find(';') ==
          std::string_view::npos &&
      !isSkipping() && m_input == Input::Text && !m_finder.opensAt(next);
  m_emphasis = wordFollows ? Emphasis::Written : Emphasis::Pending;
  if (wordFollows) write(command.exactText(), at);
}

void Adapter::endEmphasizedWord() {
  m_result.text.insert("[[cmnt]]");
  m_textSinceCommand = 0;
  m_emphasis = Emphasis::None;
  m_hasEmphasis = true;
}

// A synthesizer ignores emphasis after which no command with two or more characters of text after
// it comes.
void Adapter::padEmphasisAtEnd() {
  constexpr std::size_t kLeastText = 2;
  if (m_emphasis == Emphasis::Written) m_result.text.insert("[[cmnt]]");
  if (!m_hasEmphasis && m_emphasis != Emphasis::Written) return;
  while (m_textSinceCommand < kLeastText) {
    m_result.text.insert(" ");
    ++m_textSinceCommand;
  }
}

void Adapter::changeInput(const EmbeddedCommand& command, std::size_t at) {
  Input input = Input::Text;
  if (command.argument == "PHON") input = Input::Phonemes;
  if (command.argument == "TUNE") input = Input::Tune;
  if (input == m_input) {
    if (input == Input::Text) write(command.exactText(), at);
    return;
  }
  closeRegion(at);
  m_input = input;
  m_inputPosition = at;
  m_emphasis = Emphasis::None;
}

void Adapter::changeContext(const EmbeddedCommand& command) {
  const std::string& context = command.argument;
  if (context == "TSKP") m_skipsText = true;
  if (context == "WSKP") m_skipsWord = true;
  if (context == "TEXT" || context == "NORM") m_skipsText = false;
  if (context == "WORD" || context == "NORM") m_skipsWord = false;
}

// "dlim O C": the rest of the command, in two words. Without words the initial delimiters hold.
void Adapter::changeDelimiters(const EmbeddedCommand& command, std::size_t at) {
  const std::string_view text = command.argument;
  constexpr std::string_view kBlanks = " \t\r\n";
  constexpr std::size_t kLongest = 2;
  const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
  const std::size_t end = std::min(text.find_first_of(kBlanks, start), text.size());
  const std::size_t second = std::min(text.find_first_not_of(kBlanks, end), text.size());
  const std::size_t stop = std::min(text.find_first_of(kBlanks, second), text.size());
  const std::string_view open = text.substr(start, end - start);
  const std::string_view close = text.substr(second, stop - second);
  if (open.empty()) {
    m_delimiters = " ";
    return m_finder.setDelimiters("[[", "]]");
  }
  const auto charactersOf = [this](std::string_view delimiter) {
    return m_settings.charset == Charset::Utf8 ? base::countCharacters(delimiter)
                                               : delimiter.size();
  };
  if (close.empty() || charactersOf(open) > kLongest || charactersOf(close) > kLongest) {
    return report(at, Cause::BadArgument);
  }
  m_delimiters = ' ' + std::string(open) + ' ' + std::string(close);
  m_finder.setDelimiters(open, close);
}

void Adapter::reset(const EmbeddedCommand& command, std::size_t at) {
  const bool isWritten = m_given.substr(at).starts_with("[[rset 0]]");
  m_unset = {Kind::Rate, Kind::Volume, Kind::PitchBase, Kind::PitchRange};
  m_skipsText = false;
  m_skipsWord = false;
  m_emphasis = Emphasis::None;
  m_input = Input::Text;
  if (m_isRegionOpen) m_phonesOfRegions += m_phones;
  m_isRegionOpen = false;  // the reset closes it
  write(isWritten ? "[[rset 0]]" : command.exactText(), at);
}

// ---- Writing

void Adapter::openRegion(std::size_t at) {
  if (m_isRegionOpen) return;
  const bool isFirst = m_lastPosition <= m_inputPosition;
  write(m_input == Input::Tune ? "[[inpt TUNE]]" : "[[inpt PHON]]", isFirst ? m_inputPosition : at);
  m_isRegionOpen = true;
}

void Adapter::closeRegion(std::size_t at) {
  if (!m_isRegionOpen) return;
  m_isRegionOpen = false;
  if (m_input == Input::Phonemes) m_phonesOfRegions += m_phones;
  // The synthesizer ends the region with the text.
  if (at < m_given.size()) write("[[inpt TEXT]]", at);
}

// Bytes that are the same at that position in the given text count as copied from it.
void Adapter::write(std::string_view command, std::size_t at) {
  const auto origin = static_cast<Position>(at);
  if (m_given.substr(at).starts_with(command)) {
    m_result.text.appendCopy(command, origin);
  } else {
    m_result.text.append(command, origin);
  }
  m_textSinceCommand = 0;
  m_lastPosition = at;
}

}  // namespace

const char* describe(TextProblem::Cause cause) {
  switch (cause) {
    case Cause::UnknownCommand:
      return "unknown embedded command";
    case Cause::BadArgument:
      return "missing or invalid argument of an embedded command";
    case Cause::NotClosed:
      return "embedded command that is not closed";
    case Cause::UnknownPhoneme:
      return "unknown phoneme symbol";
    case Cause::TooManyPhonemes:
      return "too many phonemes in one text";
  }
  return "";
}

// Most texts have no commands and are not copied.
AdaptedText adaptText(std::string_view given, const TextSettings& settings) {
  const bool hasCommands = !settings.openDelimiter.empty() &&
                           given.find(settings.openDelimiter) != std::string_view::npos;
  const bool hasBrackets = given.find("[[") != std::string_view::npos;
  if (!hasCommands && !hasBrackets && !settings.startsInPhonemes) return {};
  return Adapter(given, settings).run();
}

// A byte is copied if it has the next position and is the same there. All bytes of a written
// command share one origin, except in a copy.
std::vector<TextReplacement> replacementsOf(std::string_view given, const AdaptedText& adapted) {
  std::vector<TextReplacement> replacements;
  if (!adapted.isChanged) return replacements;
  const base::OriginText& text = adapted.text;
  std::size_t from = 0;   // in the given text: the end of the last copied byte
  std::size_t start = 0;  // in the adapted text: the same
  const auto replaceUpTo = [&](std::size_t position, std::size_t at) {
    if (position > from || at > start) {
      replacements.push_back(
          {from, position - from, std::string_view(text.text()).substr(start, at - start)});
    }
  };
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t origin = text.originOf(at);
    const bool isLastOfOrigin = at + 1 == text.size() || text.originOf(at + 1) != origin;
    if (origin < from || origin >= given.size() || text.text()[at] != given[origin] ||
        !isLastOfOrigin) {
      continue;
    }
    replaceUpTo(origin, at);
    from = origin + 1;
    start = at + 1;
  }
  replaceUpTo(given.size(), text.size());
  return replacements;
}

}  // namespace platform
