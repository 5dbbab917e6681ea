// SPDX-License-Identifier: Apache-2.0
//
// Strings from UTF-16, Pascal strings and texts that they own; comparison; contents without a copy;
// byte order; what CFShow writes about collections.
#include <CoreFoundation/CoreFoundation.h>

#include <bit>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "CoreFoundation/CFObject.h"

namespace {

using platform::Owned;

using Bytes = std::vector<UInt8>;

Owned<CFStringRef> text(const char* utf8) {
  return Owned(CFStringCreateWithCString(nullptr, utf8, kCFStringEncodingUTF8));
}

Owned<CFStringRef> fromBytes(const Bytes& bytes, CFStringEncoding encoding, bool isExternal) {
  return Owned(CFStringCreateWithBytes(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size()),
                                       encoding, isExternal));
}

std::string utf8Of(const Owned<CFStringRef>& string) {
  char buffer[100] = "";
  if (!CFStringGetCString(string.get(), buffer, sizeof buffer, kCFStringEncodingUTF8)) {
    return "(none)";
  }
  return buffer;
}

Bytes bytesOf(CFStringRef string, CFStringEncoding encoding, UInt8 lossByte = 0) {
  Bytes buffer(100);
  CFIndex used = 0;
  CFStringGetBytes(string, {0, CFStringGetLength(string)}, encoding, lossByte, false, buffer.data(),
                   static_cast<CFIndex>(buffer.size()), &used);
  buffer.resize(static_cast<std::size_t>(used));
  return buffer;
}

constexpr CFStringEncoding kForeignOrder = std::endian::native == std::endian::little
                                               ? CFStringEncoding{kCFStringEncodingUTF16BE}
                                               : CFStringEncoding{kCFStringEncodingUTF16LE};
constexpr CFStringEncoding kMachineOrder = std::endian::native == std::endian::little
                                               ? CFStringEncoding{kCFStringEncodingUTF16LE}
                                               : CFStringEncoding{kCFStringEncodingUTF16BE};

// "é", a letter of another script, a character above U+FFFF.
constexpr const char* kMixed = "\xC3\xA9\xD0\xAF\xF0\x9F\x98\x80";
const Bytes kMixedBE = {0x00, 0xE9, 0x04, 0x2F, 0xD8, 0x3D, 0xDE, 0x00};
const Bytes kMixedLE = {0xE9, 0x00, 0x2F, 0x04, 0x3D, 0xD8, 0x00, 0xDE};

// ---- UTF-16

TEST(Utf16Strings, AreCreatedAndReadInBothByteOrders) {
  EXPECT_EQ(utf8Of(fromBytes(kMixedBE, kCFStringEncodingUTF16BE, false)), kMixed);
  EXPECT_EQ(utf8Of(fromBytes(kMixedLE, kCFStringEncodingUTF16LE, false)), kMixed);
  const auto string = text(kMixed);
  EXPECT_EQ(bytesOf(string.get(), kCFStringEncodingUTF16BE), kMixedBE);
  EXPECT_EQ(bytesOf(string.get(), kCFStringEncodingUTF16LE), kMixedLE);
  EXPECT_EQ(bytesOf(string.get(), kCFStringEncodingUnicode), bytesOf(string.get(), kMachineOrder));
  EXPECT_EQ(utf8Of(fromBytes(bytesOf(string.get(), kCFStringEncodingUTF16),
                             kCFStringEncodingUnicode, false)),
            kMixed);
}

TEST(Utf16Strings, FollowTheByteOrderMarkOfAnExternalRepresentation) {
  for (const bool isBigEndian : {true, false}) {
    const Bytes& order = isBigEndian ? kMixedBE : kMixedLE;
    Bytes marked = isBigEndian ? Bytes{0xFE, 0xFF} : Bytes{0xFF, 0xFE};
    marked.insert(marked.end(), order.begin(), order.end());
    EXPECT_EQ(utf8Of(fromBytes(marked, kCFStringEncodingUTF16, true)), kMixed);
    const CFStringEncoding encoding = isBigEndian ? CFStringEncoding{kCFStringEncodingUTF16BE}
                                                  : CFStringEncoding{kCFStringEncodingUTF16LE};
    EXPECT_EQ(utf8Of(fromBytes(marked, encoding, true)), kMixed);
    // Else it is a character.
    EXPECT_EQ(CFStringGetLength(fromBytes(marked, encoding, false).get()), 5);
  }
  // In an encoding with an order, the mark of the other order is a character.
  EXPECT_EQ(CFStringGetLength(fromBytes({0xFF, 0xFE}, kCFStringEncodingUTF16BE, true).get()), 1);
  EXPECT_EQ(CFStringGetLength(fromBytes({}, kCFStringEncodingUTF16, true).get()), 0);
}

TEST(Utf16Strings, AreNotCreatedFromMalformedBytes) {
  EXPECT_EQ(fromBytes({0x00}, kCFStringEncodingUTF16BE, false).get(), nullptr);
  EXPECT_EQ(fromBytes({0xD8, 0x3D}, kCFStringEncodingUTF16BE, false).get(), nullptr);
  EXPECT_EQ(fromBytes({0xDE, 0x00, 0x00, 0x41}, kCFStringEncodingUTF16BE, false).get(), nullptr);
  EXPECT_EQ(fromBytes({0xD8, 0x3D, 0x00, 0x41}, kCFStringEncodingUTF16BE, false).get(), nullptr);
}

TEST(Utf16Strings, HaveNoCString) {
  const auto string = text("a");
  char buffer[10] = "x";
  EXPECT_FALSE(CFStringGetCString(string.get(), buffer, sizeof buffer, kCFStringEncodingUTF16));
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(CFStringCreateWithCString(nullptr, "ab", kCFStringEncodingUTF16), nullptr);
}

TEST(Utf16Strings, TakeALossByteAsAUnit) {
  const auto url = Owned(CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/\xFFz"), 3, false));
  const auto path = Owned(CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle));
  EXPECT_EQ(bytesOf(path.get(), kCFStringEncodingUTF16BE, '?'), (Bytes{0, '/', 0, '?', 0, 'z'}));
}

// ---- Other sources

TEST(PascalStringSources, GiveTheirCharacters) {
  const UInt8 counted[] = {4, 'c', 'a', 'f', 0x8E, '!'};
  EXPECT_EQ(
      utf8Of(Owned(CFStringCreateWithPascalString(nullptr, counted, kCFStringEncodingMacRoman))),
      "caf\xC3\xA9");
  const UInt8 empty[] = {0};
  EXPECT_EQ(
      utf8Of(Owned(CFStringCreateWithPascalString(nullptr, empty, kCFStringEncodingMacRoman))), "");
  EXPECT_EQ(CFStringCreateWithPascalString(nullptr, counted, kCFStringEncodingASCII), nullptr);
  EXPECT_EQ(CFStringCreateWithPascalString(nullptr, nullptr, kCFStringEncodingASCII), nullptr);
}

TEST(AdoptedTexts, BelongToTheString) {
  // The leak checker sees whether the text is freed, and the address checker whether too early.
  char* const adopted = strdup("owned");
  {
    const auto string = Owned(CFStringCreateWithCStringNoCopy(
        nullptr, adopted, kCFStringEncodingUTF8, kCFAllocatorDefault));
    EXPECT_EQ(utf8Of(string), "owned");
    EXPECT_STREQ(adopted, "owned");
  }
  const auto other = Owned(CFStringCreateWithCStringNoCopy(
      nullptr, strdup("owned"), kCFStringEncodingUTF8, kCFAllocatorSystemDefault));
  EXPECT_EQ(utf8Of(other), "owned");
}

TEST(AdoptedTexts, BelongToTheCallerWithTheNullAllocator) {
  const char borrowed[] = "borrowed";
  EXPECT_EQ(utf8Of(Owned(CFStringCreateWithCStringNoCopy(nullptr, borrowed, kCFStringEncodingUTF8,
                                                         kCFAllocatorNull))),
            "borrowed");
  EXPECT_EQ(CFStringCreateWithCStringNoCopy(nullptr, "\xFF", kCFStringEncodingUTF8, nullptr),
            nullptr);
}

TEST(Allocators, AreObjects) {
  EXPECT_NE(kCFAllocatorNull, kCFAllocatorSystemDefault);
  EXPECT_EQ(CFRetain(kCFAllocatorNull), kCFAllocatorNull);
  CFRelease(kCFAllocatorNull);
  CFRelease(kCFAllocatorNull);
  testing::internal::CaptureStderr();
  CFShow(kCFAllocatorNull);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "CFAllocator\n");
}

// ---- Contents

TEST(StringContents, AreReturnedForEveryEncodingThatContainsAscii) {
  constexpr CFStringEncoding kEncodings[] = {
      kCFStringEncodingMacRoman,      kCFStringEncodingWindowsLatin1, kCFStringEncodingISOLatin1,
      kCFStringEncodingNextStepLatin, kCFStringEncodingNonLossyASCII, kCFStringEncodingASCII,
      kCFStringEncodingUTF8};
  const auto ascii = text("plain");
  const auto accented = text("caf\xC3\xA9");
  for (const CFStringEncoding encoding : kEncodings) {
    ASSERT_NE(CFStringGetCStringPtr(ascii.get(), encoding), nullptr) << encoding;
    EXPECT_STREQ(CFStringGetCStringPtr(ascii.get(), encoding), "plain");
    EXPECT_STREQ(CFStringGetCStringPtr(CFSTR("literal"), encoding), "literal");
    EXPECT_EQ(CFStringGetCStringPtr(accented.get(), encoding) != nullptr,
              encoding == kCFStringEncodingUTF8)
        << encoding;
  }
  EXPECT_EQ(CFStringGetCStringPtr(ascii.get(), kCFStringEncodingUTF16), nullptr);
  EXPECT_EQ(CFStringGetCStringPtr(ascii.get(), kCFStringEncodingUTF16LE), nullptr);
  EXPECT_EQ(CFStringGetCStringPtr(ascii.get(), kCFStringEncodingInvalidId), nullptr);
}

TEST(StringContents, FitInTheMaximumSize) {
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingMacRoman), 10);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF8), 30);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF16BE), 20);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(0, kCFStringEncodingUTF8), 0);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingInvalidId), kCFNotFound);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(-1, kCFStringEncodingUTF8), kCFNotFound);
  constexpr CFIndex kLargest = std::numeric_limits<CFIndex>::max();
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(kLargest, kCFStringEncodingASCII), kLargest);
  EXPECT_EQ(CFStringGetMaximumSizeForEncoding(kLargest, kCFStringEncodingUTF8), kCFNotFound);
  for (const CFStringEncoding encoding :
       {CFStringEncoding{kCFStringEncodingUTF8}, kMachineOrder, kForeignOrder}) {
    const auto mixed = text(kMixed);
    EXPECT_LE(static_cast<CFIndex>(bytesOf(mixed.get(), encoding).size()),
              CFStringGetMaximumSizeForEncoding(CFStringGetLength(mixed.get()), encoding));
  }
}

TEST(StringComparison, OrdersByCharacter) {
  const auto latin1 =
      Owned(CFStringCreateWithCString(nullptr, "caf\xE9", kCFStringEncodingISOLatin1));
  const struct {
    const char* a;
    const char* b;
    CFStringCompareFlags flags;
    CFComparisonResult result;
  } table[] = {
      {"one", "one", 0, kCFCompareEqualTo},
      {"one", "One", 0, kCFCompareGreaterThan},
      {"one", "oNE", kCFCompareCaseInsensitive, kCFCompareEqualTo},
      {"\xC3\x96l", "\xC3\xB6L", kCFCompareCaseInsensitive, kCFCompareEqualTo},
      {"on", "one", 0, kCFCompareLessThan},
      {"one", "on", 0, kCFCompareGreaterThan},
      {"", "a", 0, kCFCompareLessThan},
      {"z", "\xC3\xA9", 0, kCFCompareLessThan},
      {"B", "a", kCFCompareCaseInsensitive | kCFCompareNumerically, kCFCompareGreaterThan}};
  for (const auto& row : table) {
    EXPECT_EQ(CFStringCompare(text(row.a).get(), text(row.b).get(), row.flags), row.result)
        << row.a << " and " << row.b;
    EXPECT_EQ(CFStringCompare(text(row.b).get(), text(row.a).get(), row.flags), -row.result)
        << row.b << " and " << row.a;
  }
  EXPECT_EQ(CFStringCompare(latin1.get(), text("caf\xC3\xA9").get(), 0), kCFCompareEqualTo);
  EXPECT_EQ(CFStringCompare(nullptr, nullptr, 0), kCFCompareEqualTo);
  EXPECT_EQ(CFStringCompare(nullptr, latin1.get(), 0), kCFCompareLessThan);
  EXPECT_EQ(CFStringCompare(latin1.get(), nullptr, 0), kCFCompareGreaterThan);
}

// ---- Literals outside of functions

// NOLINTNEXTLINE(cert-err58-cpp): what clients write
static CFStringRef const g_literal = CFSTR("outside of functions");

TEST(Literals, InitialiseVariablesOutsideOfFunctions) {
  EXPECT_STREQ(CFStringGetCStringPtr(g_literal, kCFStringEncodingUTF8), "outside of functions");
  EXPECT_EQ(g_literal, CFSTR("outside of functions"));
}

// ---- CFShow

std::string shown(CFTypeRef object) {
  testing::internal::CaptureStderr();
  CFShow(object);
  return testing::internal::GetCapturedStderr();
}

TEST(ShownCollections, ContainTheirValues) {
  const SInt32 five = 5;
  const auto number = Owned(CFNumberCreate(nullptr, kCFNumberSInt32Type, &five));
  const auto array = Owned(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
  EXPECT_EQ(shown(array.get()), "()\n");
  CFArrayAppendValue(array.get(), number.get());
  CFArrayAppendValue(array.get(), CFSTR("two\nlines"));
  EXPECT_EQ(shown(array.get()), "(5, two lines)\n");
  const auto dictionary = Owned(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  EXPECT_EQ(shown(dictionary.get()), "{}\n");
  CFDictionarySetValue(dictionary.get(), CFSTR("count"), number.get());
  CFDictionarySetValue(dictionary.get(), CFSTR("list"), array.get());
  EXPECT_EQ(shown(dictionary.get()), "{count = 5, list = (5, two lines)}\n");
}

TEST(ShownCollections, ContainAddressesOfPlainPointers) {
  const auto array = Owned(CFArrayCreateMutable(nullptr, 0, nullptr));
  int value = 0;
  CFArrayAppendValue(array.get(), nullptr);
  CFArrayAppendValue(array.get(), &value);
  char address[40];
  std::snprintf(address, sizeof address, "%p", static_cast<void*>(&value));
  EXPECT_EQ(shown(array.get()), "((null), " + std::string(address) + ")\n");
}

TEST(ShownCollections, MayContainThemselves) {
  const auto outer = Owned(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
  CFArrayAppendValue(outer.get(), outer.get());
  // Eight levels, and the brackets of the ninth.
  EXPECT_EQ(shown(outer.get()), "(((((((((...)))))))))\n");
  // Breaks the cycle, so that the array is destroyed.
  outer.get()->values.clear();
  CFRelease(outer.get());

  const auto dictionary = Owned(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  CFDictionarySetValue(dictionary.get(), CFSTR("me"), dictionary.get());
  std::string expected = "{...}";
  for (int level = 0; level < 8; ++level) expected = "{me = " + expected + "}";
  EXPECT_EQ(shown(dictionary.get()), expected + "\n");
  CFDictionaryRemoveValue(dictionary.get(), CFSTR("me"));
}

// ---- Byte order

TEST(ByteOrder, IsThatOfTheMachine) {
  EXPECT_EQ(CFByteOrderGetCurrent(), std::endian::native == std::endian::big
                                         ? CFByteOrderBigEndian
                                         : CFByteOrderLittleEndian);
}

TEST(ByteOrder, IsReversed) {
  EXPECT_EQ(CFSwapInt16(0x0102), 0x0201);
  EXPECT_EQ(CFSwapInt32(0x01020304), 0x04030201U);
  EXPECT_EQ(CFSwapInt64(0x0102030405060708), 0x0807060504030201U);
}

template <typename Integer>
void expectBytes(Integer number, std::string_view bytes) {
  EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(&number), sizeof number), bytes);
}

TEST(ByteOrder, OfOtherMachinesIsConverted) {
  using namespace std::string_view_literals;
  expectBytes(CFSwapInt16HostToBig(0x0102), "\1\2"sv);
  expectBytes(CFSwapInt32HostToBig(0x01020304), "\1\2\3\4"sv);
  expectBytes(CFSwapInt64HostToBig(0x0102030405060708), "\1\2\3\4\5\6\7\10"sv);
  expectBytes(CFSwapInt16HostToLittle(0x0102), "\2\1"sv);
  expectBytes(CFSwapInt32HostToLittle(0x01020304), "\4\3\2\1"sv);
  expectBytes(CFSwapInt64HostToLittle(0x0102030405060708), "\10\7\6\5\4\3\2\1"sv);
  EXPECT_EQ(CFSwapInt16BigToHost(CFSwapInt16HostToBig(0x0102)), 0x0102);
  EXPECT_EQ(CFSwapInt32BigToHost(CFSwapInt32HostToBig(0x01020304)), 0x01020304U);
  EXPECT_EQ(CFSwapInt64BigToHost(CFSwapInt64HostToBig(0x0102030405060708)), 0x0102030405060708U);
  EXPECT_EQ(CFSwapInt16LittleToHost(CFSwapInt16HostToLittle(0x0102)), 0x0102);
  EXPECT_EQ(CFSwapInt32LittleToHost(CFSwapInt32HostToLittle(0x01020304)), 0x01020304U);
  EXPECT_EQ(CFSwapInt64LittleToHost(CFSwapInt64HostToLittle(0x0102030405060708)),
            0x0102030405060708U);
}

}  // namespace
