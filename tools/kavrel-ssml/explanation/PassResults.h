// SPDX-License-Identifier: Apache-2.0
//
// PassResults: the markup that each pass of the converter inserts for each command.
//
// Each pass runs on a list of its own, so the passes do not affect each other's results.
//
// Threads: constant after construction. The list must outlive the object.
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

  // Returns the markup that the command at `index` opens; empty if there is none or the pass fails.
  const std::string& markupOf(std::size_t index) const { return m_markup[index]; }
  // Returns the end of the emphasis that the command opens, as a position in the base text.
  std::optional<std::size_t> emphasisEndOf(std::size_t index) const { return m_emphasisEnd[index]; }

 private:
  using Pass = void (AppleMarkupConverter::*)(TokenList&);

  static Pass passOf(CommandList::Type type);
  void runPass(AppleMarkupConverter& converter, Pass pass);
  std::size_t commandEndingAt(std::size_t end) const;

  const CommandList& m_list;
  std::vector<std::string> m_markup;
  std::vector<std::optional<std::size_t>> m_emphasisEnd;
};

}  // namespace ssml
