// SPDX-License-Identifier: Apache-2.0
#include "base/text/MacRoman.h"

#include <algorithm>

namespace base {
namespace {

struct Assignment {
  char16_t character;
  std::uint8_t byte;
};

// The upper half, sorted by character for the binary search.
constexpr auto kByCharacter = [] {
  std::array<Assignment, kMacRomanUpperHalf.size()> sorted{};
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    sorted[i] = {kMacRomanUpperHalf[i], static_cast<std::uint8_t>(0x80 + i)};
  }
  std::sort(sorted.begin(), sorted.end(),
            [](Assignment a, Assignment b) { return a.character < b.character; });
  return sorted;
}();

}  // namespace

std::optional<std::uint8_t> toMacRoman(char32_t character) {
  if (character < 0x80) return static_cast<std::uint8_t>(character);
  const auto* const found = std::lower_bound(
      kByCharacter.begin(), kByCharacter.end(), character,
      [](Assignment assignment, char32_t wanted) { return assignment.character < wanted; });
  if (found == kByCharacter.end() || found->character != character) return std::nullopt;
  return found->byte;
}

}  // namespace base
