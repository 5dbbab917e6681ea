// SPDX-License-Identifier: Apache-2.0
//
// Gestalt: the value of the one known selector, in variables of both widths.
#include <Gestalt.h>
#include <gtest/gtest.h>

namespace {

TEST(Gestalt, SaysThatSpeechIsPresent) {
  SInt32 attributes = 0;
  ASSERT_EQ(Gestalt(gestaltSpeechAttr, &attributes), noErr);
  EXPECT_NE(attributes & (1 << gestaltSpeechMgrPresent), 0);
  EXPECT_EQ(attributes & (1 << gestaltSpeechHasPPCGlue), 0);
}

TEST(Gestalt, FillsEveryByteOfALong) {
  long attributes = -1;
  ASSERT_EQ(Gestalt(gestaltSpeechAttr, &attributes), noErr);
  EXPECT_EQ(attributes, 1L << gestaltSpeechMgrPresent);
}

TEST(Gestalt, LeavesTheVariableUnchangedOnFailure) {
  constexpr OSType kUnknown = 0x73797376;
  SInt32 narrow = 7;
  long wide = 7;
  EXPECT_EQ(Gestalt(kUnknown, &narrow), gestaltUndefSelectorErr);
  EXPECT_EQ(Gestalt(kUnknown, &wide), gestaltUndefSelectorErr);
  EXPECT_EQ(GestaltOfSize(gestaltSpeechAttr, &narrow, 2), paramErr);
  EXPECT_EQ(narrow, 7);
  EXPECT_EQ(wide, 7);
  EXPECT_EQ(Gestalt(gestaltSpeechAttr, static_cast<SInt32*>(nullptr)), paramErr);
  EXPECT_EQ(Gestalt(gestaltSpeechAttr, static_cast<long*>(nullptr)), paramErr);
}

}  // namespace
