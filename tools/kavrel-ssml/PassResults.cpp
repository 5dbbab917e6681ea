// SPDX-License-Identifier: Apache-2.0
#include "PassResults.h"

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

// The command that starts at `start` in the base text.
std::size_t PassResults::commandAt(std::size_t start) const {
  const auto& commands = m_list.commands();
  const auto found =
      std::lower_bound(commands.begin(), commands.end(), start,
                       [](const auto& command, std::size_t at) { return command.start < at; });
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
  std::size_t passed = none;      // the last command passed
  std::size_t emphasised = none;  // the last one that opened something
  for (int i = 0; i < tokens.size(); ++i) {
    const auto start = static_cast<std::size_t>(tokens.startAt(i));
    if (tokens.coveredAt(i) > 0) {
      passed = commandAt(start);
      continue;
    }
    const std::string& markup = tokens.markupAt(i);
    if (markup.starts_with("</")) {
      if (emphasised != none) m_emphasisEnd[emphasised] = start;
    } else if (passed != none && commands[passed].end == start &&
               passOf(commands[passed].type) == pass) {
      m_markup[passed] = markup;
      emphasised = passed;
    }
  }
}

}  // namespace ssml
