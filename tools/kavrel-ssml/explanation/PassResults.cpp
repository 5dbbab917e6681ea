// SPDX-License-Identifier: Apache-2.0
#include "explanation/PassResults.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "AppleSynthesisError.h"

namespace ssml {

using Token = AppleMarkupToken;

// Runs the passes that the text needs, each once.
PassResults::PassResults(const CommandList& list, AppleMarkupConverter converter)
    : m_list(list), m_markup(list.commands().size()), m_emphasisEnd(list.commands().size()) {
  std::array<bool, Token::UNKNOWN + 1> ran{};
  for (const CommandList::Command& command : list.commands()) {
    // One run of a pass converts all commands of its type.
    const bool done = std::exchange(ran.at(static_cast<std::size_t>(command.type)), true);
    const Pass pass = passOf(command.type);
    if (!done && pass != nullptr) runPass(converter, pass);
  }
}

// Returns the pass that converts commands of that type; null if there is none.
PassResults::Pass PassResults::passOf(CommandList::Type type) {
  switch (type) {
    case Token::EMPHASIS_POSITIVE_TAG:
      return &AppleMarkupConverter::convertEmphasisTags;
    case Token::CHAR_SPELLOUT_TAG:
      return &AppleMarkupConverter::convertCharTags;
    case Token::NUMBER_SPELLOUT_TAG:
      return &AppleMarkupConverter::convertNmbrTags;
    case Token::SILENCE_TAG:
      return &AppleMarkupConverter::convertSilenceTags;
    case Token::SYNC_TAG:
      return &AppleMarkupConverter::convertSyncTags;
    case Token::VOLUME_TAG:
      return &AppleMarkupConverter::convertVolumeTags;
    case Token::RATE_TAG:
      return &AppleMarkupConverter::convertRateTags;
    case Token::PITCH_TAG:
      return &AppleMarkupConverter::convertPitchBaseTags;
    case Token::PITCH_RANGE_TAG:
      return &AppleMarkupConverter::convertPitchRangeTags;
    case Token::PHONEME_TAG:
      return &AppleMarkupConverter::convertPhoneTags;
    default:
      return nullptr;
  }
}

// Returns the command that ends at `end` in the base text, else the number of commands. Binary
// search.
std::size_t PassResults::commandEndingAt(std::size_t end) const {
  const auto& commands = m_list.commands();
  const auto found =
      std::lower_bound(commands.begin(), commands.end(), end,
                       [](const auto& command, std::size_t at) { return command.end < at; });
  if (found == commands.end() || found->end != end) return commands.size();
  return static_cast<std::size_t>(found - commands.begin());
}

// Runs one pass and finds the tokens that it inserted: those that cover no text. A start tag
// follows its command directly; an end tag can only be that of emphasis.
void PassResults::runPass(AppleMarkupConverter& converter, Pass pass) {
  TokenList tokens = m_list.tokens();
  try {
    (converter.*pass)(tokens);
  } catch (const AppleSynthesisError&) {
    // Silence is right: the conversion itself fails as well and reports the error.
    return;
  } catch (const std::out_of_range&) {
    return;
  }
  const auto& commands = m_list.commands();
  const std::size_t none = commands.size();
  std::size_t opened = none;  // the last command that opened something
  for (int i = 0; i < tokens.size(); ++i) {
    if (tokens.coveredAt(i) > 0) continue;
    const auto start = static_cast<std::size_t>(tokens.startAt(i));
    const std::string& markup = tokens.markupAt(i);
    if (markup.starts_with("</")) {
      if (opened != none) m_emphasisEnd[opened] = start;
      continue;
    }
    const std::size_t command = commandEndingAt(start);
    if (command == none || passOf(commands[command].type) != pass) continue;
    m_markup[command] = markup;
    opened = command;
  }
}

}  // namespace ssml
