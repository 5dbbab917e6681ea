// SPDX-License-Identifier: Apache-2.0
#include "explanation/PassResults.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "AppleSynthesisError.h"

namespace ssml {

using Token = AppleMarkupToken;

PassResults::PassResults(const CommandList& list, AppleMarkupConverter converter)
    : m_list(list), m_markup(list.commands().size()), m_emphasisEnd(list.commands().size()) {
  std::array<bool, Token::UNKNOWN + 1> asked{};
  for (const CommandList::Command& command : list.commands()) {
    const bool done = std::exchange(asked.at(static_cast<std::size_t>(command.type)), true);
    const Pass pass = passOf(command.type);
    if (!done && pass != nullptr) ask(converter, pass);
  }
}

// The pass that turns commands of that type into markup.
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

// The command that ends at `end` in the base text; the number of commands when none does.
std::size_t PassResults::commandEndingAt(std::size_t end) const {
  const auto& commands = m_list.commands();
  const auto found =
      std::lower_bound(commands.begin(), commands.end(), end,
                       [](const auto& command, std::size_t at) { return command.end < at; });
  if (found == commands.end() || found->end != end) return commands.size();
  return static_cast<std::size_t>(found - commands.begin());
}

void PassResults::ask(AppleMarkupConverter& converter, Pass pass) {
  TokenList tokens = m_list.tokens();
  try {
    (converter.*pass)(tokens);
  } catch (const AppleSynthesisError&) {
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
