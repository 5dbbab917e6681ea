// SPDX-License-Identifier: Apache-2.0
//
// Handles: sizes, contents and errors of relocatable blocks.
#include <cstring>

#include <MacMemory.h>
#include <gtest/gtest.h>

namespace {

TEST(Handles, KeepTheirBytesWhenTheirSizeChanges) {
  Handle const handle = NewHandle(3);
  ASSERT_NE(handle, nullptr);
  std::memcpy(*handle, "abc", 3);
  SetHandleSize(handle, 100'000);
  EXPECT_EQ(MemError(), noErr);
  EXPECT_EQ(GetHandleSize(handle), 100'000);
  EXPECT_EQ(std::memcmp(*handle, "abc", 3), 0);
  SetHandleSize(handle, 0);
  EXPECT_EQ(GetHandleSize(handle), 0);
  EXPECT_NE(*handle, nullptr);
  HLock(handle);
  HUnlock(handle);
  DisposeHandle(handle);
}

TEST(Handles, AreZeroedOnRequest) {
  Handle const handle = NewHandleClear(50);
  for (int i = 0; i < 50; ++i) EXPECT_EQ((*handle)[i], 0);
  DisposeHandle(handle);
}

TEST(Handles, ReportErrors) {
  EXPECT_EQ(NewHandle(-1), nullptr);
  EXPECT_EQ(MemError(), paramErr);
  EXPECT_EQ(GetHandleSize(nullptr), 0);
  EXPECT_EQ(MemError(), nilHandleErr);
  SetHandleSize(nullptr, 5);
  EXPECT_EQ(MemError(), nilHandleErr);
  Handle const handle = NewHandle(4);
  SetHandleSize(handle, -1);
  EXPECT_EQ(MemError(), paramErr);
  EXPECT_EQ(GetHandleSize(handle), 4);
  DisposeHandle(handle);
  DisposeHandle(nullptr);
  EXPECT_EQ(MemError(), noErr);
}

}  // namespace
