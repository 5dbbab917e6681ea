// SPDX-License-Identifier: Apache-2.0
#include "explanation/Explanation.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "explanation/CommandList.h"
#include "explanation/PassResults.h"
#include "explanation/Spelling.h"

namespace ssml {
namespace {

using Token = AppleMarkupToken;
using Type = CommandList::Type;

// The KIND column, indexed by the type.
constexpr std::array<const char*, Token::UNKNOWN + 1> kKinds = {
    "spelling on",   "spelling off", "comment",      "delimiters",   "emphasis",
    "emphasis off",  "phonemes",     "tune",         "text",         "digits on",
    "digits off",    "pitch",        "pitch range",  "rate",         "reset",
    "silence",       "sync",         "version",      "volume",       "extension",
    "word context",  "skip context", "text context", "skip context", "normal context",
    "not recognised"};

std::size_t number(Type type) {
  return static_cast<std::size_t>(type);
}

// Returns the commands, besides a reset, that end the effect of a command of that type.
std::vector<Type> endsOf(Type type) {
  switch (type) {
    case Token::CHAR_SPELLOUT_TAG:
      return {Token::CHAR_NORMAL_TAG};
    case Token::NUMBER_SPELLOUT_TAG:
      return {Token::NUMBER_NORMAL_TAG};
    case Token::PHONEME_TAG:
      return {Token::TEXT_TAG};
    case Token::WORD_SKIP_CONTEXT_TAG:
    case Token::TEXT_SKIP_CONTEXT_TAG:
      return {
          type == Token::WORD_SKIP_CONTEXT_TAG ? Token::WORD_CONTEXT_TAG : Token::TEXT_CONTEXT_TAG,
          Token::WORD_SKIP_CONTEXT_TAG, Token::TEXT_SKIP_CONTEXT_TAG, Token::NORMAL_CONTEXT_TAG};
    default:
      return {type};
  }
}

// For each command, the index of the next command of each type; 0 if there is none. Built from the
// end in one pass, so that each lookup takes constant time.
class FollowingCommands {
 public:
  explicit FollowingCommands(const CommandList& list) : m_next(list.commands().size()) {
    Row next{};
    for (std::size_t i = m_next.size(); i-- > 0;) {
      m_next[i] = next;
      const Type type = list.commands()[i].type;
      if (type != Token::UNKNOWN) next[number(type)] = static_cast<std::uint32_t>(i);
    }
  }

  std::size_t nextOfType(std::size_t index, Type type) const { return m_next[index][number(type)]; }

  // The first of any of these types.
  std::size_t nextOfTypes(std::size_t index, const std::vector<Type>& types) const {
    std::size_t first = 0;
    for (const Type type : types) {
      const std::size_t at = nextOfType(index, type);
      if (at != 0 && (first == 0 || at < first)) first = at;
    }
    return first;
  }

  std::size_t nextKnown(std::size_t index) const {
    std::size_t first = 0;
    for (const std::size_t at : m_next[index]) {
      if (at != 0 && (first == 0 || at < first)) first = at;
    }
    return first;
  }

 private:
  using Row = std::array<std::uint32_t, Token::UNKNOWN>;
  std::vector<Row> m_next;
};

// Explains the commands of a text. They must be explained in order: the effect of a command depends
// on the modes and regions that earlier ones opened.
class Explainer {
 public:
  Explainer(const SourceText& text, const ConversionOptions& options)
      : m_plain(options.output == AppleMarkupConverter::PLAINTEXT),
        m_list(text, options),
        m_passes(m_list, converterFor(text, options)),
        m_following(m_list) {}

  const CommandList& list() const { return m_list; }

  std::string explainNext(std::size_t index) {
    const CommandList::Command& command = m_list.commands()[index];
    std::string result = command.type == Token::UNKNOWN
                             ? "dropped: " + whyUnknown(m_list.tokenOf(command))
                             : explainKnown(index);
    if (!m_list.isClosed(command)) result += "; not closed, so it extends to the end of the text";
    return result;
  }

 private:
  // A region in which other commands have no effect.
  struct Region {
    std::size_t begin;
    std::size_t end;  // 0: the end of the text

    bool holds(std::size_t index) const { return index > begin && (end == 0 || index < end); }
  };

  std::string explainKnown(std::size_t index);
  std::string explainEffect(std::size_t index);
  std::string explainOpening(std::size_t index);
  std::string explainEmphasis(std::size_t index) const;
  std::string explainTune(std::size_t index) const;
  std::string explainSkip(std::size_t index);
  std::string explainEnd(Type begun, const std::string& what);
  std::size_t endOf(std::size_t index) const;
  std::string nameOf(std::size_t index) const;
  std::string upTo(std::size_t index) const;

  bool m_plain;  // --plain: commands are removed
  CommandList m_list;
  PassResults m_passes;
  FollowingCommands m_following;
  std::optional<Region> m_phonemes;
  std::optional<Region> m_skipped;
  std::array<bool, Token::UNKNOWN + 1> m_on{};  // modes and settings that are in effect
};

// Regions come first: inside them most commands have no effect.
std::string Explainer::explainKnown(std::size_t index) {
  const bool phonemes = m_list.commands()[index].type == Token::PHONEME_TAG;
  if (m_plain) return "removed";
  if (m_phonemes && m_phonemes->holds(index) && !phonemes) {
    // The converter keeps the markup of the command and leaves its text among the phonemes.
    const std::string& markup = m_passes.markupOf(index);
    return (markup.empty() ? "dropped:" : markup) + " inside the phoneme input of " +
           nameOf(m_phonemes->begin);
  }
  if (m_skipped && m_skipped->holds(index)) {
    return "dropped: inside the skipped text of " + nameOf(m_skipped->begin);
  }
  return explainEffect(index);
}

// Explains a command that is outside phoneme input and skipped text. Commands that open something
// are the default.
std::string Explainer::explainEffect(std::size_t index) {
  switch (m_list.commands()[index].type) {
    case Token::EMPHASIS_POSITIVE_TAG:
      return explainEmphasis(index);
    case Token::SILENCE_TAG:
    case Token::SYNC_TAG:
      return m_passes.markupOf(index);
    case Token::TUNE_PHONES_TAG:
      return explainTune(index);
    case Token::WORD_SKIP_CONTEXT_TAG:
    case Token::TEXT_SKIP_CONTEXT_TAG:
      return explainSkip(index);
    case Token::CHAR_NORMAL_TAG:
      return explainEnd(Token::CHAR_SPELLOUT_TAG, "spelling");
    case Token::NUMBER_NORMAL_TAG:
      return explainEnd(Token::NUMBER_SPELLOUT_TAG, "digits");
    case Token::TEXT_TAG:
      return explainEnd(Token::PHONEME_TAG, "phonemes");
    case Token::RESET_TAG:
      m_on = {};
      return "ends all settings and modes";
    case Token::WORD_CONTEXT_TAG:
    case Token::TEXT_CONTEXT_TAG:
    case Token::NORMAL_CONTEXT_TAG:
      return m_skipped && m_skipped->end == index ? "ends the skipped text" : "dropped: no effect";
    case Token::EMPHASIS_NONE_TAG:
      return "dropped: emphasis always ends with its word";
    case Token::COMMENT_TAG:
      return "dropped: a comment";
    case Token::DELIM_TAG:
      return "dropped: the delimiters cannot be changed";
    case Token::VERSION_TAG:
    case Token::EXTENSION_TAG:
      return "dropped: no effect";
    default:
      return explainOpening(index);
  }
}

// Explains a command that opens a mode, a setting or phoneme input.
std::string Explainer::explainOpening(std::size_t index) {
  const Type type = m_list.commands()[index].type;
  const std::size_t end = endOf(index);
  m_on[number(type)] = true;
  if (type == Token::PHONEME_TAG && !(m_phonemes && m_phonemes->holds(index))) {
    m_phonemes = Region{index, end};
  }
  const std::string& markup = m_passes.markupOf(index);
  return markup.empty() ? "dropped: cannot be converted" : markup + " " + upTo(end);
}

// The end of emphasis is a position, not a command.
std::string Explainer::explainEmphasis(std::size_t index) const {
  const std::optional<std::size_t> end = m_passes.emphasisEndOf(index);
  const std::string& markup = m_passes.markupOf(index);
  if (markup.empty() || !end) return "dropped: cannot be converted";
  return markup + " up to byte " + std::to_string(m_list.callerEnd(*end));
}

// Tune data is dropped only if the next known command is one of three.
std::string Explainer::explainTune(std::size_t index) const {
  const std::size_t next = m_following.nextKnown(index);
  const Type type = next == 0 ? Token::UNKNOWN : m_list.commands()[next].type;
  if (type == Token::TEXT_TAG || type == Token::PHONEME_TAG || type == Token::RESET_TAG) {
    return "dropped, with its data, " + upTo(next);
  }
  return "dropped: its data stays as text, because " +
         (next == 0 ? "no command follows" : nameOf(next) + " follows");
}

// Remembers the region, in which later commands are reported as dropped.
std::string Explainer::explainSkip(std::size_t index) {
  const std::size_t end = endOf(index);
  m_skipped = Region{index, end};
  return "dropped, with the text after it, " + upTo(end);
}

std::string Explainer::explainEnd(Type begun, const std::string& what) {
  const bool wasOn = std::exchange(m_on[number(begun)], false);
  return wasOn ? "ends " + what : "dropped: no " + what + " to end";
}

// Returns the command that ends the effect of the one at `index`; 0 if none does.
std::size_t Explainer::endOf(std::size_t index) const {
  std::vector<Type> ends = endsOf(m_list.commands()[index].type);
  ends.push_back(Token::RESET_TAG);
  return m_following.nextOfTypes(index, ends);
}

std::string Explainer::nameOf(std::size_t index) const {
  const CommandList::Command& command = m_list.commands()[index];
  if (!m_list.isCallers(command)) return "the settings";
  return m_list.callerTextOf(command.start, command.end) + " at byte " +
         std::to_string(m_list.callerStart(command.start));
}

// The appended reset and a missing end both mean the end of the text.
std::string Explainer::upTo(std::size_t index) const {
  const bool callers = index != 0 && m_list.isCallers(m_list.commands()[index]);
  return "up to " + (callers ? nameOf(index) : "the end of the text");
}

}  // namespace

// Commands of settings are explained, too, because they affect the caller's commands, but not
// returned.
std::vector<ExplainedCommand> explain(const SourceText& text, const ConversionOptions& options) {
  Explainer explainer(text, options);
  std::vector<ExplainedCommand> result;
  SourceLocation location{0, 1, 1};
  for (std::size_t i = 0; i < explainer.list().commands().size(); ++i) {
    const CommandList::Command& command = explainer.list().commands()[i];
    const std::string became = explainer.explainNext(i);
    if (!explainer.list().isCallers(command)) continue;
    const std::size_t start = explainer.list().callerStart(command.start);
    const std::size_t end = std::max(start, explainer.list().callerEnd(command.end));
    location = text.locationAfter(location, start);
    result.push_back({location, end - start, text.displayText(start, end),
                      kKinds.at(number(command.type)), became});
  }
  return result;
}

}  // namespace ssml
