// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/texts/CarriedState.h"

#include <algorithm>
#include <charconv>

namespace platform {
namespace {

using Kind = EmbeddedCommand::Kind;

// Appends a command to a list of them.
void join(std::string& commands, std::string_view command) {
  if (!commands.empty()) commands += "; ";
  commands += command;
}

// The reader of commands has checked the number, so it cannot fail.
double numberOf(std::string_view argument) {
  const bool isNegative = argument[0] == '-';
  if (isNegative || argument[0] == '+') argument.remove_prefix(1);
  double value = 0;
  std::from_chars(argument.data(), argument.data() + argument.size(), value);
  return isNegative ? -value : value;
}

// A change beyond the limit is as good as one at the limit.
std::string relativeText(double change) {
  constexpr double kLimit = 1e5;
  change = std::clamp(change, -kLimit, kLimit);
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), change,
                                 std::chars_format::fixed, 3);
  std::string text(digits.data(), end.ptr);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return change < 0 ? text : '+' + text;
}

}  // namespace

void CarriedState::apply(const EmbeddedCommand& command) {
  if (command.kind == Kind::Reset) {
    *this = CarriedState();
    m_isReset = true;
    return;
  }
  for (Setting& setting : m_settings) {
    if (setting.kind != command.kind) continue;
    if (command.isRelative()) {
      setting.change += numberOf(command.argument);
    } else {
      setting.absolute = command.argument;
      setting.change = 0;
    }
  }
}

void CarriedState::add(std::string_view command) {
  join(m_added, command);
}

std::string CarriedState::text(std::string_view open, std::string_view close) const {
  std::string commands;
  if (m_isReset) commands = "rset 0";
  for (const Setting& setting : m_settings) {
    const std::string word = std::string(setting.word) + ' ';
    if (!setting.absolute.empty()) join(commands, word + setting.absolute);
    if (setting.change != 0) join(commands, word + relativeText(setting.change));
  }
  if (!m_added.empty()) join(commands, m_added);
  if (commands.empty()) return commands;
  return std::string(open) + commands + std::string(close);
}

}  // namespace platform
