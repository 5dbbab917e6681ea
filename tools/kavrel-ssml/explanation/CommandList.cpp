// SPDX-License-Identifier: Apache-2.0
#include "explanation/CommandList.h"

#include <algorithm>

namespace ssml {
namespace {

// The converter appends this to every text.
const std::string kReset = "[[rset 0]]";

}  // namespace

// Builds the base text as the converter does and finds the commands in it.
CommandList::CommandList(const SourceText& text, const ConversionOptions& options) : m_text(text) {
  if (options.settings) m_base = converterFor(text, options).defaultsInitStr();
  m_prefix = m_base.size();
  m_base += text.prepared() + kReset;
  const TokenList found = tokens();
  for (int i = 0; i < found.size(); ++i) {
    m_commands.push_back({found.typeAt(i), static_cast<std::size_t>(found.startAt(i)),
                          static_cast<std::size_t>(found.endAt(i))});
  }
  m_closed = m_commands.back().start == m_base.size() - kReset.size();
}

// The converter's class parses the command; this program has no parser of its own.
AppleMarkupToken CommandList::tokenOf(const Command& command) const {
  AppleMarkupToken token;
  token.setTokenString(m_base.substr(command.start, command.end - command.start));
  return token;
}

TokenList CommandList::tokens() const {
  TokenList tokens;
  tokens.create(m_base, OffsetMap());
  return tokens;
}

bool CommandList::isCallers(const Command& command) const {
  return command.end > m_prefix && command.start < m_prefix + m_text.prepared().size();
}

// Commands of settings come before the caller's text: position 0.
std::size_t CommandList::callerStart(std::size_t at) const {
  return at < m_prefix ? 0 : m_text.originOf(at - m_prefix);
}

std::size_t CommandList::callerEnd(std::size_t end) const {
  return end < m_prefix ? 0 : m_text.originEndOf(end - m_prefix);
}

std::string CommandList::callerTextOf(std::size_t start, std::size_t end) const {
  const std::size_t from = callerStart(start);
  return m_text.displayText(from, std::max(from, callerEnd(end)));
}

}  // namespace ssml
