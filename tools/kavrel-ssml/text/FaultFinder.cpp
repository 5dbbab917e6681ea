// SPDX-License-Identifier: Apache-2.0
#include "text/FaultFinder.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "AppleSynthesisError.h"
#include "SpeechMgrUtils.h"

namespace ssml {
namespace {

// Where in text[start, end) no phone symbol begins. Symbols are read as the converter reads them:
// the shortest one first, and one may reach beyond `end`.
std::optional<std::size_t> badSymbolIn(std::string_view text, std::size_t start, std::size_t end) {
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

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

}  // namespace

FaultFinder::FaultFinder(const CallerText& text, const ConversionOptions& options)
    : m_text(text), m_options(options), m_list(text, options) {}

Fault FaultFinder::badPhone() const {
  const CommandList::Command* input = nullptr;  // where phoneme input began, while it is on
  const CommandList::Command* first = nullptr;  // where it began for the first time
  const CommandList::Command* last = nullptr;   // the last known command
  for (const CommandList::Command& command : m_list.commands()) {
    if (command.type == AppleMarkupToken::UNKNOWN) continue;
    if (input != nullptr) {
      if (const auto at = badSymbolIn(m_list.base(), last->end, command.start)) {
        return badSymbol(*input, *at);
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
            inputName(*input) + " never ends, since a \"[[\" behind it is never closed"};
  }
  return {kind, first == nullptr ? 0 : m_list.callerStart(first->start),
          "the phonemes of all phoneme input together are too long"};
}

Fault FaultFinder::badSymbol(const CommandList::Command& input, std::size_t at) const {
  Fault fault{"BAD_PHONE_SEQUENCE", m_list.callerStart(at), ""};
  for (const CommandList::Command& command : m_list.commands()) {
    if (command.start > at || command.end <= at) continue;
    fault.message = quoted(m_list.shown(command.start, command.end)) +
                    " is no known command, and its \"[\" no phone symbol";
  }
  if (fault.message.empty()) {
    fault.message = quoted(m_list.shown(at, at + 1)) + " begins no phone symbol";
  }
  fault.message += ", in " + inputName(input);
  return fault;
}

std::string FaultFinder::inputName(const CommandList::Command& input) const {
  if (!m_list.isCallers(input)) return "the phoneme input that --phonemes begins";
  return "the phoneme input that " + quoted(m_list.shown(input.start, input.end)) + " at byte " +
         std::to_string(m_list.callerStart(input.start)) + " begins";
}

Fault FaultFinder::refused(const std::string& kind) const {
  std::vector<CommandList::Command> commands = m_list.commands();
  std::erase_if(commands, [&](const auto& command) { return !m_list.isCallers(command); });
  if (commands.empty()) return {kind, 0, "the text cannot be converted"};
  if (!m_list.isClosed(commands.back())) {
    const std::size_t start = m_list.callerStart(commands.back().start);
    return {kind, start,
            "the command " + quoted(m_text.shown(start, m_text.size())) + " is never closed"};
  }
  const auto culprit =
      std::partition_point(commands.begin(), commands.end() - 1,
                           [&](const auto& command) { return !isRefusedUpTo(command.end); });
  Fault fault{kind, m_list.callerStart(culprit->start),
              "the command " + quoted(m_list.shown(culprit->start, culprit->end)) +
                  " cannot be converted where it stands"};
  // Emphasis whose word has no text behind it is what leads here.
  const auto emphasis = std::find_if(
      std::make_reverse_iterator(culprit), commands.rend(),
      [](const auto& command) { return command.type == AppleMarkupToken::EMPHASIS_POSITIVE_TAG; });
  if (emphasis != commands.rend()) {
    fault.message += ", at the end of the text behind " +
                     quoted(m_list.shown(emphasis->start, emphasis->end)) + " at byte " +
                     std::to_string(m_list.callerStart(emphasis->start));
  }
  return fault;
}

bool FaultFinder::isRefusedUpTo(std::size_t end) const {
  const std::string text = m_list.textUpTo(end);
  try {
    if (m_options.settings) {
      AppleMarkupConverter(text, m_options.output, *m_options.settings).convert();
    } else {
      AppleMarkupConverter(text, m_options.output).convert();
    }
    return false;
  } catch (const AppleSynthesisError&) {
    return true;
  } catch (const std::out_of_range&) {
    return true;
  }
}

}  // namespace ssml
