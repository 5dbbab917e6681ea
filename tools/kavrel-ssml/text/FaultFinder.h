// SPDX-License-Identifier: Apache-2.0
//
// FaultFinder: locates the fault in a text that the converter rejects.
//
// The converter reports only the type of the error. The position is found by checking the commands
// again: phonemes one by one, other errors by binary search over the number of commands.
//
// Threads: constant after construction. Text and options must outlive the object.
#pragma once

#include "explanation/CommandList.h"
#include "text/Conversion.h"

namespace ssml {

class FaultFinder {
 public:
  FaultFinder(const SourceText& text, const ConversionOptions& options);

  // Returns the first unknown phone symbol, for a text rejected because of its phonemes.
  Fault findBadPhone() const;

  // Returns the first command up to which the text is rejected, for any other error. `kind` is
  // passed on.
  Fault findRefusedCommand(const std::string& kind) const;

 private:
  Fault describeBadSymbol(const CommandList::Command& input, std::size_t at) const;
  std::string inputName(const CommandList::Command& input) const;
  bool isRefusedUpTo(std::size_t end) const;

  const SourceText& m_text;
  const ConversionOptions& m_options;
  CommandList m_list;
};

}  // namespace ssml
