// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "base/text/CaseFolding.h"

namespace {

TEST(CaseFolding, MakesBothCasesOneCharacter) {
  EXPECT_EQ(base::foldCase(U'A'), U'a');
  EXPECT_EQ(base::foldCase(U'a'), U'a');
  EXPECT_EQ(base::foldCase(U'\u00D6'), U'\u00F6');
  EXPECT_EQ(base::foldCase(U'\u03A3'), base::foldCase(U'\u03C2'));  // capital and final sigma
  EXPECT_EQ(base::foldCase(U'\U00010400'), U'\U00010428');
}

TEST(CaseFolding, LeavesOtherCharactersUnchanged) {
  for (const char32_t character : {U'0', U'[', U'@', U'\u00DF', U'\u00D7', U'\u4E2D', U'\U0010FFFF',
                                   char32_t{0}, char32_t{0xD800}}) {
    EXPECT_EQ(base::foldCase(character), character);
  }
}

}  // namespace
