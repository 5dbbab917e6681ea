// SPDX-License-Identifier: Apache-2.0
//
// Texts that are hard to convert: each makes some straightforward way of preparing, reading or
// converting text slow, large or endless.
//
// Every function is pure.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace workloads {

struct HardText {
  enum class Ending { Converts, BadPhoneSequence, IndexOutOfRange, OutOfRange };

  std::string name;                        // one CamelCase word
  std::string (*make)(std::size_t bytes);  // about that many bytes
  // How the conversion of the text as it stands ends, at any size of 1 KB and more; and that of the
  // prepared text with the commands for a channel's settings in front.
  Ending converted = Ending::Converts;
  Ending spoken = Ending::Converts;
  // Phones are carried over from region to region, so that the output grows with the square or the
  // cube of the text up to a limit; nothing is promised about time and memory below that limit.
  bool carriesPhones = false;
};

const std::vector<HardText>& hardTexts();

std::ostream& operator<<(std::ostream& out, const HardText& text);

}  // namespace workloads
