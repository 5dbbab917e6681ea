// SPDX-License-Identifier: Apache-2.0
//
// CommandList: the commands of a text as the converter finds them, those that stand for settings
// and the closing reset included.
//
// Threads: constant once made; the caller's text must outlive the list.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "TokenList.h"
#include "text/CallerText.h"
#include "text/Conversion.h"

namespace ssml {

class CommandList {
 public:
  using Type = AppleMarkupToken::AppleTagType;

  struct Command {
    Type type;
    std::size_t start;  // in base()
    std::size_t end;
  };

  CommandList(const CallerText& text, const ConversionOptions& options);

  // In order of position.
  const std::vector<Command>& commands() const { return m_commands; }
  AppleMarkupToken tokenOf(const Command& command) const;

  // A new list for a pass of the converter to work on.
  TokenList tokens() const;
  const std::string& base() const { return m_base; }

  // The caller's prepared text in front of the byte `end` of base().
  std::string textUpTo(std::size_t end) const { return m_base.substr(m_prefix, end - m_prefix); }

  // Whether any of the command stands in the caller's text.
  bool isCallers(const Command& command) const;
  bool isClosed(const Command& command) const { return command.end < m_base.size() || m_closed; }

  // The caller's position of a byte of base(), and where the bytes up to `end` end.
  std::size_t callerStart(std::size_t at) const;
  std::size_t callerEnd(std::size_t end) const;
  // The caller's own writing of what covers those bytes of base().
  std::string shown(std::size_t start, std::size_t end) const;

 private:
  const CallerText& m_text;
  std::size_t m_prefix = 0;  // length of what stands in front of the caller's text
  std::string m_base;
  bool m_closed = true;  // the closing reset is a command of its own
  std::vector<Command> m_commands;
};

}  // namespace ssml
