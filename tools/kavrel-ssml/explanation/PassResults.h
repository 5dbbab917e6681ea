// SPDX-License-Identifier: Apache-2.0
//
// PassResults: the markup that the converter's own passes put behind each command.
//
// Every pass is asked on a list of its own, so what the passes do to each other's results does not
// show.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "AppleMarkupConverter.h"
#include "explanation/CommandList.h"

namespace ssml {

class PassResults {
 public:
  PassResults(const CommandList& list, AppleMarkupConverter converter);

  // What the command at `index` opens; empty when nothing, or when the pass fails.
  const std::string& markupOf(std::size_t index) const { return m_markup[index]; }
  // Where the emphasis that it opens ends in the list's base text.
  std::optional<std::size_t> emphasisEndOf(std::size_t index) const { return m_emphasisEnd[index]; }

 private:
  using Pass = void (AppleMarkupConverter::*)(TokenList&);

  static Pass passOf(CommandList::Type type);
  void ask(AppleMarkupConverter& converter, Pass pass);
  std::size_t commandEndingAt(std::size_t end) const;

  const CommandList& m_list;
  std::vector<std::string> m_markup;
  std::vector<std::optional<std::size_t>> m_emphasisEnd;
};

}  // namespace ssml
