// SPDX-License-Identifier: Apache-2.0
//
// CommandList: the commands of a text as the converter finds them, including the commands inserted
// for settings and the reset that the converter appends.
//
// The base text is what the converter works on: settings, the caller's prepared text, the reset.
//
// Threads: constant after construction. The caller's text must outlive the list.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "TokenList.h"
#include "text/Conversion.h"
#include "text/SourceText.h"

namespace ssml {

class CommandList {
 public:
  using Type = AppleMarkupToken::AppleTagType;

  struct Command {
    Type type;
    std::size_t start;  // positions in base()
    std::size_t end;
  };

  CommandList(const SourceText& text, const ConversionOptions& options);

  // In order of position.
  const std::vector<Command>& commands() const { return m_commands; }
  AppleMarkupToken tokenOf(const Command& command) const;

  // Returns a new list, which a pass of the converter can change.
  TokenList tokens() const;
  const std::string& base() const { return m_base; }

  // Returns the caller's prepared text before the byte `end` of base().
  std::string textUpTo(std::size_t end) const { return m_base.substr(m_prefix, end - m_prefix); }

  // Whether a part of the command is in the caller's text.
  bool isCallers(const Command& command) const;
  // Whether the command is closed. One that is not extends over the appended reset.
  bool isClosed(const Command& command) const { return command.end < m_base.size() || m_closed; }

  // Return the position in the caller's text of a byte of base(), and of the end of the bytes
  // before `end`.
  std::size_t callerStart(std::size_t at) const;
  std::size_t callerEnd(std::size_t end) const;
  // Returns the caller's text, in UTF-8, for a range of base().
  std::string callerTextOf(std::size_t start, std::size_t end) const;

 private:
  const SourceText& m_text;
  std::size_t m_prefix = 0;  // length of the commands before the caller's text
  std::string m_base;
  bool m_closed = true;  // false: the last command is not closed and contains the reset
  std::vector<Command> m_commands;
};

}  // namespace ssml
