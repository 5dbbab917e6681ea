// SPDX-License-Identifier: Apache-2.0
#include "text/FaultFinder.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "AppleSynthesisError.h"
#include "SpeechMgrUtils.h"
#include "base/text/Utf8.h"

namespace ssml {
namespace {

// Returns the first position in text[start, end) at which no phone symbol begins. Reads symbols as
// the converter does: the shortest match first, and a symbol may extend beyond `end`.
std::optional<std::size_t> findBadSymbol(std::string_view text, std::size_t start,
                                         std::size_t end) {
  constexpr std::size_t kLongestSymbol = 2;
  for (std::size_t at = start; at < end;) {
    std::size_t length = 1;
    while (length <= kLongestSymbol &&
           !gBrevoldPhones.contains(std::string(text.substr(at, length)))) {
      ++length;
    }
    if (length > kLongestSymbol) return at;
    at += length;
  }
  return std::nullopt;
}

std::string quote(const std::string& text) {
  return '"' + text + '"';
}

}  // namespace

FaultFinder::FaultFinder(const SourceText& text, const ConversionOptions& options)
    : m_text(text), m_options(options), m_list(text, options) {}

// Checks the text between the commands of each phoneme input. If all symbols are known, the input
// has no end or is too long.
Fault FaultFinder::findBadPhone() const {
  const CommandList::Command* input = nullptr;  // start of the current phoneme input, null outside
  const CommandList::Command* first = nullptr;  // start of the first phoneme input
  const CommandList::Command* last = nullptr;   // the last known command
  for (const CommandList::Command& command : m_list.commands()) {
    if (command.type == AppleMarkupToken::UNKNOWN) continue;
    if (input != nullptr) {
      if (const auto at = findBadSymbol(m_list.base(), last->end, command.start)) {
        return describeBadSymbol(*input, *at);
      }
    }
    if (command.type == AppleMarkupToken::TEXT_TAG || command.type == AppleMarkupToken::RESET_TAG) {
      input = nullptr;
    } else if (command.type == AppleMarkupToken::PHONEME_TAG && input == nullptr) {
      input = &command;
      if (first == nullptr) first = &command;
    }
    last = &command;
  }
  const std::string kind = "BAD_PHONE_SEQUENCE";
  if (input != nullptr) {
    return {kind, m_list.callerStart(input->start),
            inputName(*input) + " does not end, because a \"[[\" after it is not closed"};
  }
  return {kind, first == nullptr ? 0 : m_list.callerStart(first->start),
          "the phonemes of all phoneme input are too long in total"};
}

// An unknown command inside phoneme input is a more helpful reason than its first character.
Fault FaultFinder::describeBadSymbol(const CommandList::Command& input, std::size_t at) const {
  Fault fault{"BAD_PHONE_SEQUENCE", m_list.callerStart(at), ""};
  for (const CommandList::Command& command : m_list.commands()) {
    if (command.start > at || command.end <= at) continue;
    // The converter leaves an unknown command in the text, so its "[" is read as a symbol.
    fault.message = "unknown command " + quote(m_list.callerTextOf(command.start, command.end)) +
                    ", read as phone symbols,";
  }
  if (fault.message.empty()) {
    const std::string_view rest = std::string_view(m_list.base()).substr(at);
    const std::size_t length = m_text.isUtf8() ? base::firstCharacterLength(rest) : 1;
    fault.message = "unknown phone symbol " + quote(m_list.callerTextOf(at, at + length));
  }
  fault.message += " in " + inputName(input);
  return fault;
}

std::string FaultFinder::inputName(const CommandList::Command& input) const {
  if (!m_list.isCallers(input)) return "the phoneme input started by --phonemes";
  return "the phoneme input started by " + quote(m_list.callerTextOf(input.start, input.end)) +
         " at byte " + std::to_string(m_list.callerStart(input.start));
}

// Binary search: assumes that a text that is rejected up to a command is rejected up to every later
// one.
Fault FaultFinder::findRefusedCommand(const std::string& kind) const {
  std::vector<CommandList::Command> commands = m_list.commands();
  // Inserted commands are always valid.
  std::erase_if(commands, [&](const auto& command) { return !m_list.isCallers(command); });
  if (commands.empty()) return {kind, 0, "cannot convert the text"};
  if (!m_list.isClosed(commands.back())) {
    const std::size_t start = m_list.callerStart(commands.back().start);
    return {kind, start,
            "the command " + quote(m_text.displayText(start, m_text.size())) + " is not closed"};
  }
  const auto culprit =
      std::partition_point(commands.begin(), commands.end() - 1,
                           [&](const auto& command) { return !isRefusedUpTo(command.end); });
  Fault fault{kind, m_list.callerStart(culprit->start),
              "cannot convert the command " +
                  quote(m_list.callerTextOf(culprit->start, culprit->end)) + " at this position"};
  // The usual cause: emphasis extends over the first word after the next command, and the text ends
  // there.
  const auto emphasis = std::find_if(
      std::make_reverse_iterator(culprit), commands.rend(),
      [](const auto& command) { return command.type == AppleMarkupToken::EMPHASIS_POSITIVE_TAG; });
  if (emphasis != commands.rend()) {
    fault.message += ", because no text follows to end the emphasis of " +
                     quote(m_list.callerTextOf(emphasis->start, emphasis->end)) + " at byte " +
                     std::to_string(m_list.callerStart(emphasis->start));
  }
  return fault;
}

// Converts the caller's text up to the byte `end` of the base text.
bool FaultFinder::isRefusedUpTo(std::size_t end) const {
  const std::string text = m_list.textUpTo(end);
  try {
    converterFor(text, m_text.isUtf8(), m_options).convert();
    return false;
  } catch (const AppleSynthesisError&) {
    return true;
  } catch (const std::out_of_range&) {
    return true;
  }
}

}  // namespace ssml
