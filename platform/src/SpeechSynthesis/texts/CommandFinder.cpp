// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/texts/CommandFinder.h"

#include <algorithm>

#include "SpeechSynthesis/texts/EmbeddedCommand.h"

namespace platform {
namespace {

constexpr std::string_view kDefaultOpen = "[[";
constexpr std::string_view kLineEnds = "\r\n";
constexpr std::size_t kNowhere = std::string_view::npos;

}  // namespace

void CommandFinder::setDelimiters(std::string_view open, std::string_view close) {
  // Setting the same ones again keeps what is known.
  if (m_open == open && m_close == close) return;
  m_open = open;
  m_close = close;
  m_knownOpen = 0;
  m_knownClose = 0;
}

// As find(), for the end of a line.
std::size_t CommandFinder::lineEndFrom(std::size_t from) {
  if (m_knownLineEnd < from)
    m_knownLineEnd = std::min(m_text.find_first_of(kLineEnds, from), m_text.size());
  return m_knownLineEnd;
}

bool CommandFinder::opensAt(std::size_t position) const {
  return !m_open.empty() && !m_close.empty() && m_text.substr(position).starts_with(m_open);
}

// A result that is not before `from` is still the first one.
std::size_t CommandFinder::find(std::string_view what, std::size_t from, std::size_t& known) const {
  if (known == 0 || known < from) known = std::min(m_text.find(what, from), m_text.size());
  return known;
}

FoundCommand CommandFinder::next(std::size_t from, bool findsBrokenInput) {
  FoundCommand found;
  found.start = found.bodyStart = found.bodyEnd = found.end = m_text.size();
  if (m_open.empty() || m_close.empty()) return found;
  const std::size_t start = find(m_open, from, m_knownOpen);
  if (findsBrokenInput && m_open == kDefaultOpen && findBrokenInput(from, start, found)) {
    return found;
  }
  return start == m_text.size() ? found : at(start);
}

// A command is closed if no other command opens before its closing delimiter. A comment may hold
// opening delimiters on its line, and "dlim" has one as its argument.
FoundCommand CommandFinder::at(std::size_t start) {
  std::size_t bodyStart = start + m_open.size();
  // More brackets than needed belong to the delimiter.
  while (m_open == kDefaultOpen && bodyStart < m_text.size() && m_text[bodyStart] == '[') {
    ++bodyStart;
  }
  std::size_t opening = m_text.size();
  if (m_open != m_close) {
    m_knownOpen = 0;
    opening = find(m_open, bodyStart, m_knownOpen);
  }
  const std::size_t close = find(m_close, bodyStart, m_knownClose);
  bool isClosed = close < m_text.size() && close <= opening;
  if (!isClosed && close < m_text.size()) {
    const std::string_view untilOpening = m_text.substr(bodyStart, opening - bodyStart);
    const EmbeddedCommand::Kind kind = readCommand(untilOpening, m_charset).kind;
    isClosed =
        (kind == EmbeddedCommand::Kind::Comment || kind == EmbeddedCommand::Kind::Delimiters) &&
        close < lineEndFrom(bodyStart);
  }
  if (!isClosed) return unclosedAt(start, bodyStart, opening);
  FoundCommand found{start, bodyStart, close, close + m_close.size()};
  // "[[dlim [[ ]]]]": the new closing delimiter looks like the end.
  if (m_text.substr(found.end).starts_with(m_close) &&
      readCommand(m_text.substr(bodyStart, close - bodyStart), m_charset).kind ==
          EmbeddedCommand::Kind::Delimiters) {
    found.bodyEnd = found.end;
    found.end += m_close.size();
  }
  return found;
}

// Before `limit` no other command opens. The command ends at a single closing bracket, else with
// its line.
FoundCommand CommandFinder::unclosedAt(std::size_t start, std::size_t bodyStart,
                                       std::size_t limit) const {
  const std::string_view rest = m_text.substr(bodyStart, limit - bodyStart);
  const std::size_t length = std::min(rest.find_first_of("]\r\n"), rest.size());
  const std::string_view body = rest.substr(0, length);
  if (!readCommand(body.substr(0, lengthOfFirstCommand(body, m_charset)), m_charset).isValid()) {
    // The first character of the delimiter is text; those after it may open a command.
    return {start, start, start, start + m_open.size(), false, true};
  }
  const std::size_t bodyEnd = bodyStart + length;
  const bool hasBracket = length < rest.size() && rest[length] == ']';
  return {start, bodyStart, bodyEnd, bodyEnd + (hasBracket ? 1 : 0), false, false};
}

// "[inpt TEXT]]" or "[inpt TEXT]".
bool CommandFinder::findBrokenInput(std::size_t from, std::size_t limit,
                                    FoundCommand& found) const {
  for (std::size_t at = from; at < limit; ++at) {
    at = m_text.substr(0, limit).find('[', at);
    if (at == kNowhere) return false;
    const std::string_view rest = m_text.substr(at + 1, limit - at - 1);
    const std::size_t length = rest.find_first_of("[]\r\n");
    if (length == kNowhere || rest[length] != ']') continue;
    if (readCommand(rest.substr(0, length), m_charset).kind != EmbeddedCommand::Kind::Input)
      continue;
    std::size_t end = at + 1 + length;
    found = {at, at + 1, end, end + 1, false, false};
    if (m_text.substr(end + 1).starts_with(']')) ++found.end;
    return true;
  }
  return false;
}

}  // namespace platform
