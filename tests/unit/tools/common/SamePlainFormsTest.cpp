// SPDX-License-Identifier: Apache-2.0
//
// Compares two conversions to Mac OS Roman for a synthesizer that does not take UTF-8: that of a
// string of SpeakCFString, and that of the bytes in UTF-8 that kavrel-say gives for the same text.
// Both must give the same bytes for every character up to U+2FFF, and for letters with combining
// accents.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/channel/CallerText.h"
#include "SpokenText.h"
#include "base/text/Utf8.h"

namespace {

// Returns the Manager's text for a string made from `utf8` and a synthesizer that does not take
// UTF-8.
std::string byManager(const std::string& utf8) {
  const platform::Owned string(
      CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(utf8.data()),
                              static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, false));
  platform::CallerText text(string.get());
  text.useMacRoman();
  return text.bytes();
}

std::string byTool(const std::string& utf8) {
  const std::string spoken = tool::SpokenText(utf8).spoken();
  platform::CallerText text(spoken.data(), spoken.size(), platform::Charset::Utf8);
  text.useMacRoman();
  return text.bytes();
}

TEST(PlainForms, AreTheSameForStringsAndForTheTools) {
  for (char32_t code = 1; code <= 0x2FFF; ++code) {
    const std::string text = "a" + base::toUtf8(code) + "z";
    const std::string spoken = byManager(text);
    ASSERT_EQ(spoken, byTool(text)) << std::uint32_t{code};
    // The last character exists, so the whole text was converted.
    ASSERT_TRUE(spoken.size() >= 2 && spoken.back() == 'z') << std::uint32_t{code};
  }
}

TEST(PlainForms, AreTheSameForLettersWithAccents) {
  for (const char32_t letter : std::u32string_view(U"aAeEcCnNoOyYxzi=1 \u00E4\u1EA1\u0430\u65E5")) {
    for (char32_t mark = 0x300; mark <= 0x36F; ++mark) {
      const std::string text = "a" + base::toUtf8(letter) + base::toUtf8(mark) + "z";
      ASSERT_EQ(byManager(text), byTool(text))
          << std::uint32_t{letter} << " with " << std::uint32_t{mark};
    }
  }
  EXPECT_EQ(byManager("cafe\u0301"), "caf\x8E");
  EXPECT_EQ(byTool("cafe\u0301"), "caf\x8E");
}

}  // namespace
