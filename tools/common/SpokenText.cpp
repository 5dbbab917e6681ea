// SPDX-License-Identifier: Apache-2.0
#include "SpokenText.h"

#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "Failure.h"
#include "base/text/PlainForms.h"
#include "base/text/Utf8.h"

namespace tool {
namespace {

using Position = base::OriginText::Position;

constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max();

void checkLength(std::size_t bytes) {
  if (bytes > kLongestText) throw Failure("the text is longer than 2 GiB");
}

// What a character is for a synthesizer that takes only Mac OS Roman.
enum class Role { Text, Bracket, Brackets, Nothing };

Role roleOf(std::string_view character) {
  if (character.size() == 1) return character.front() == '[' ? Role::Bracket : Role::Text;
  std::string form;
  base::appendPlainForm(form, base::firstCharacter(character).code);
  if (form.empty()) return Role::Nothing;
  if (form.find("[[") != std::string::npos) return Role::Brackets;
  return form.find('[') == std::string::npos ? Role::Text : Role::Bracket;
}

// Copies the text so that it has no "[[", also not after a conversion to Mac OS Roman.
base::OriginText withoutCommands(const std::string& given) {
  base::OriginText spoken;
  spoken.reserve(given.size());
  bool isAfterBracket = false;
  for (std::size_t at = 0; at < given.size();) {
    const std::string_view rest = std::string_view(given).substr(at);
    const std::string_view character = rest.substr(0, base::firstCharacterLength(rest));
    const Role role = roleOf(character);
    const bool isReplaced = role == Role::Brackets || (role == Role::Bracket && isAfterBracket);
    if (isReplaced) {
      spoken.append("(", static_cast<Position>(at));
    } else {
      spoken.appendCopy(character, static_cast<Position>(at));
    }
    if (role != Role::Nothing) isAfterBracket = role == Role::Bracket && !isReplaced;
    at += character.size();
  }
  // A bracket at the end would form "[[" with the start of the command that follows every text.
  if (isAfterBracket) spoken.append(" ", spoken.originOf(spoken.size() - 1));
  spoken.finish(static_cast<Position>(given.size()));
  return spoken;
}

}  // namespace

SpokenText::SpokenText(std::string given, Brackets brackets) : m_given(std::move(given)) {
  checkLength(m_given.size());
  if (brackets == Brackets::Text) {
    m_spoken = withoutCommands(m_given);
    checkLength(m_spoken.size());
  } else {
    m_spoken.appendCopy(m_given, 0);
    m_spoken.finish(static_cast<Position>(m_given.size()));
  }
}

}  // namespace tool
