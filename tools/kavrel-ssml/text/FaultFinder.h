// SPDX-License-Identifier: Apache-2.0
//
// FaultFinder: what in a text the converter cannot convert.
//
// The converter only says what kind of thing is wrong; the place is found by going through the
// commands again.
#pragma once

#include "explanation/CommandList.h"
#include "text/Conversion.h"

namespace ssml {

class FaultFinder {
 public:
  FaultFinder(const CallerText& text, const ConversionOptions& options);

  // The first phone symbol that there is none of, for a text refused for its phonemes.
  Fault badPhone() const;

  // The first command with which the text is refused, for another reason.
  Fault refused(const std::string& kind) const;

 private:
  Fault badSymbol(const CommandList::Command& input, std::size_t at) const;
  std::string inputName(const CommandList::Command& input) const;
  bool isRefusedUpTo(std::size_t end) const;

  const CallerText& m_text;
  const ConversionOptions& m_options;
  CommandList m_list;
};

}  // namespace ssml
