// SPDX-License-Identifier: Apache-2.0
//
// Texts that are hard to convert. Each one makes some naive way of preparing, reading or converting
// text slow, memory-hungry or endless.
//
// All functions are free of state and may be called on any thread.
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
  // The result of converting the text unchanged, at any size of 1 KB and more; and of converting
  // the prepared text after the commands for a channel's settings.
  Ending converted = Ending::Converts;
  Ending spoken = Ending::Converts;
  // Phones are carried over from region to region, so the output grows with the square or the cube
  // of the text up to a limit; time and memory below that limit are not bounded by the text's
  // length.
  bool carriesPhones = false;
};

// All texts, in a fixed order.
const std::vector<HardText>& hardTexts();

std::ostream& operator<<(std::ostream& out, const HardText& text);

}  // namespace workloads
