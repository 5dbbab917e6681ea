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

// The commands that end what a command of that type begins, besides a reset.
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

// For each command the next one of each type behind it; 0 when there is none.
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

  std::size_t ofType(std::size_t index, Type type) const { return m_next[index][number(type)]; }

  // The first of any of these types.
  std::size_t ofTypes(std::size_t index, const std::vector<Type>& types) const {
    std::size_t first = 0;
    for (const Type type : types) {
      const std::size_t at = ofType(index, type);
      if (at != 0 && (first == 0 || at < first)) first = at;
    }
    return first;
  }

  std::size_t known(std::size_t index) const {
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

// Says what becomes of the commands of a text, from front to back.
class Explainer {
 public:
  Explainer(const CallerText& text, const ConversionOptions& options)
      : m_plain(options.output == AppleMarkupConverter::PLAINTEXT),
        m_list(text, options),
        m_passes(m_list, converterFor(text, options)),
        m_following(m_list) {}

  const CommandList& list() const { return m_list; }

  std::string next(std::size_t index) {
    const CommandList::Command& command = m_list.commands()[index];
    std::string result = command.type == Token::UNKNOWN
                             ? "dropped: " + whyUnknown(m_list.tokenOf(command))
                             : known(index);
    if (!m_list.isClosed(command)) result += "; never closed, so it takes the rest of the text";
    return result;
  }

 private:
  // Commands inside have no effect.
  struct Region {
    std::size_t begin;
    std::size_t end;  // 0: the end of the text

    bool holds(std::size_t index) const { return index > begin && (end == 0 || index < end); }
  };

  std::string known(std::size_t index);
  std::string effect(std::size_t index);
  std::string opened(std::size_t index);
  std::string emphasis(std::size_t index) const;
  std::string tune(std::size_t index) const;
  std::string skipped(std::size_t index);
  std::string ended(Type begun, const std::string& what);
  std::size_t endOf(std::size_t index) const;
  std::string nameOf(std::size_t index) const;
  std::string upTo(std::size_t index) const;

  bool m_plain;  // commands leave no trace
  CommandList m_list;
  PassResults m_passes;
  FollowingCommands m_following;
  std::optional<Region> m_phonemes;
  std::optional<Region> m_skipped;
  std::array<bool, Token::UNKNOWN + 1> m_on{};  // modes in force
};

std::string Explainer::known(std::size_t index) {
  const bool phonemes = m_list.commands()[index].type == Token::PHONEME_TAG;
  if (m_plain) return "removed";
  if (m_phonemes && m_phonemes->holds(index) && !phonemes) {
    // What it opens stays, as does its own text.
    const std::string& markup = m_passes.markupOf(index);
    return (markup.empty() ? "dropped:" : markup) + " inside the phoneme input of " +
           nameOf(m_phonemes->begin);
  }
  if (m_skipped && m_skipped->holds(index)) {
    return "dropped: inside the skipped text of " + nameOf(m_skipped->begin);
  }
  return effect(index);
}

std::string Explainer::effect(std::size_t index) {
  switch (m_list.commands()[index].type) {
    case Token::EMPHASIS_POSITIVE_TAG:
      return emphasis(index);
    case Token::SILENCE_TAG:
    case Token::SYNC_TAG:
      return m_passes.markupOf(index);
    case Token::TUNE_PHONES_TAG:
      return tune(index);
    case Token::WORD_SKIP_CONTEXT_TAG:
    case Token::TEXT_SKIP_CONTEXT_TAG:
      return skipped(index);
    case Token::CHAR_NORMAL_TAG:
      return ended(Token::CHAR_SPELLOUT_TAG, "spelling");
    case Token::NUMBER_NORMAL_TAG:
      return ended(Token::NUMBER_SPELLOUT_TAG, "digits");
    case Token::TEXT_TAG:
      return ended(Token::PHONEME_TAG, "phonemes");
    case Token::RESET_TAG:
      m_on = {};
      return "ends all that is in force";
    case Token::WORD_CONTEXT_TAG:
    case Token::TEXT_CONTEXT_TAG:
    case Token::NORMAL_CONTEXT_TAG:
      return m_skipped && m_skipped->end == index ? "ends the skipped text" : "dropped: no effect";
    case Token::EMPHASIS_NONE_TAG:
      return "dropped: emphasis ends with its word anyway";
    case Token::COMMENT_TAG:
      return "dropped: a comment";
    case Token::DELIM_TAG:
      return "dropped: the delimiters stay as they are";
    case Token::VERSION_TAG:
    case Token::EXTENSION_TAG:
      return "dropped: no effect";
    default:
      return opened(index);
  }
}

// A mode, a setting, or phoneme input.
std::string Explainer::opened(std::size_t index) {
  const Type type = m_list.commands()[index].type;
  const std::size_t end = endOf(index);
  m_on[number(type)] = true;
  if (type == Token::PHONEME_TAG && !(m_phonemes && m_phonemes->holds(index))) {
    m_phonemes = Region{index, end};
  }
  const std::string& markup = m_passes.markupOf(index);
  return markup.empty() ? "dropped: cannot be converted" : markup + " " + upTo(end);
}

std::string Explainer::emphasis(std::size_t index) const {
  const std::optional<std::size_t> end = m_passes.emphasisEndOf(index);
  const std::string& markup = m_passes.markupOf(index);
  if (markup.empty() || !end) return "dropped: cannot be converted";
  return markup + " up to byte " + std::to_string(m_list.callerEnd(*end));
}

std::string Explainer::tune(std::size_t index) const {
  const std::size_t next = m_following.known(index);
  const Type type = next == 0 ? Token::UNKNOWN : m_list.commands()[next].type;
  if (type == Token::TEXT_TAG || type == Token::PHONEME_TAG || type == Token::RESET_TAG) {
    return "dropped, with its data, " + upTo(next);
  }
  return "dropped: its data stays as text, since " +
         (next == 0 ? "no command follows" : nameOf(next) + " follows");
}

std::string Explainer::skipped(std::size_t index) {
  const std::size_t end = endOf(index);
  m_skipped = Region{index, end};
  return "dropped, with the text behind it, " + upTo(end);
}

std::string Explainer::ended(Type begun, const std::string& what) {
  const bool wasOn = std::exchange(m_on[number(begun)], false);
  return wasOn ? "ends " + what : "dropped: no " + what + " to end";
}

// The command that ends what the one at `index` begins; 0 when none does.
std::size_t Explainer::endOf(std::size_t index) const {
  std::vector<Type> ends = endsOf(m_list.commands()[index].type);
  ends.push_back(Token::RESET_TAG);
  return m_following.ofTypes(index, ends);
}

std::string Explainer::nameOf(std::size_t index) const {
  const CommandList::Command& command = m_list.commands()[index];
  if (!m_list.isCallers(command)) return "the settings";
  return m_list.shown(command.start, command.end) + " at byte " +
         std::to_string(m_list.callerStart(command.start));
}

std::string Explainer::upTo(std::size_t index) const {
  const bool callers = index != 0 && m_list.isCallers(m_list.commands()[index]);
  return "up to " + (callers ? nameOf(index) : "the end of the text");
}

}  // namespace

std::vector<ExplainedCommand> explain(const CallerText& text, const ConversionOptions& options) {
  Explainer explainer(text, options);
  std::vector<ExplainedCommand> result;
  Place place{0, 1, 1};
  for (std::size_t i = 0; i < explainer.list().commands().size(); ++i) {
    const CommandList::Command& command = explainer.list().commands()[i];
    const std::string became = explainer.next(i);
    if (!explainer.list().isCallers(command)) continue;
    const std::size_t start = explainer.list().callerStart(command.start);
    const std::size_t end = std::max(start, explainer.list().callerEnd(command.end));
    place = text.placeBehind(place, start);
    result.push_back(
        {place, end - start, text.shown(start, end), kKinds.at(number(command.type)), became});
  }
  return result;
}

}  // namespace ssml
