// SPDX-License-Identifier: Apache-2.0
//
// Pascal strings and C strings: both directions, in place and copied, at the limits of the length.
#include <array>
#include <cstring>
#include <string>

#include <TextUtils.h>
#include <gtest/gtest.h>

namespace {

using Buffer = std::array<char, 300>;

// A buffer with `text` and a NUL; "#" after them.
Buffer bufferWith(const std::string& text) {
  Buffer buffer;
  buffer.fill('#');
  std::memcpy(buffer.data(), text.c_str(), text.size() + 1);
  return buffer;
}

std::string pascal255() {
  return "\xFF" + std::string(255, 'x');
}

StringPtr asPascal(Buffer& buffer) {
  return reinterpret_cast<StringPtr>(buffer.data());
}

TEST(PascalStrings, AreCopiedToCStrings) {
  const unsigned char text[] = {3, 'o', 'n', 'e', '!'};
  Buffer copy = bufferWith("");
  CopyPascalStringToC(text, copy.data());
  EXPECT_STREQ(copy.data(), "one");
  EXPECT_EQ(copy[4], '#');
  p2cstrcpy(copy.data(), reinterpret_cast<const unsigned char*>(pascal255().c_str()));
  EXPECT_EQ(copy.data(), std::string(255, 'x'));
  EXPECT_EQ(copy[256], '#');
}

TEST(PascalStrings, AreMadeFromCStringsOfUpTo255Characters) {
  Buffer copy = bufferWith("");
  CopyCStringToPascal("one", asPascal(copy));
  EXPECT_EQ(std::string(copy.data(), 5), "\3one#");
  c2pstrcpy(asPascal(copy), std::string(270, 'x').c_str());
  EXPECT_EQ(std::string(copy.data(), 257), pascal255() + "#");
  CopyCStringToPascal("", asPascal(copy));
  EXPECT_EQ(copy[0], 0);
}

TEST(PascalStrings, AreConvertedInPlace) {
  for (const bool isUpper : {false, true}) {
    Buffer text = bufferWith("one");
    StringPtr const made = isUpper ? C2PStr(text.data()) : c2pstr(text.data());
    EXPECT_EQ(made, asPascal(text));
    EXPECT_EQ(std::string(text.data(), 5), "\3one#");
    char* const back = isUpper ? P2CStr(made) : p2cstr(made);
    EXPECT_EQ(back, text.data());
    EXPECT_STREQ(back, "one");
  }
  Buffer longest = bufferWith(std::string(255, 'x'));
  EXPECT_STREQ(p2cstr(c2pstr(longest.data())), std::string(255, 'x').c_str());
  EXPECT_EQ(longest[256], '#');
}

TEST(PascalStrings, TolerateNull) {
  Buffer text = bufferWith("one");
  CopyPascalStringToC(nullptr, text.data());
  CopyCStringToPascal(nullptr, asPascal(text));
  CopyPascalStringToC(asPascal(text), nullptr);
  CopyCStringToPascal(text.data(), nullptr);
  EXPECT_STREQ(text.data(), "one");
  EXPECT_EQ(c2pstr(nullptr), nullptr);
  EXPECT_EQ(p2cstr(nullptr), nullptr);
}

}  // namespace
