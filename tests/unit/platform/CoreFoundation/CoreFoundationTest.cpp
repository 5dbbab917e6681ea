// SPDX-License-Identifier: Apache-2.0
//
// The Core Foundation subset: reference counting, strings in all encodings, paths with any bytes.
#include <CoreFoundation/CoreFoundation.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

constexpr const char* kGreeting = "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC";  // Gruess with umlaut, euro
constexpr const char* kBrokenPath = "/voices/\xFF\xC3/a";

CFStringRef utf8(const char* text) {
  return CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
}

CFURLRef urlOf(const std::string& path) {
  return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                 reinterpret_cast<const UInt8*>(path.data()),
                                                 static_cast<CFIndex>(path.size()), true);
}

// The path of a URL without the use of a string; "(fails)" when the URL has no path or it does not
// fit.
std::string representation(CFURLRef url, bool absolute, std::size_t room = 4096) {
  std::vector<UInt8> buffer(room);
  if (!CFURLGetFileSystemRepresentation(url, absolute, buffer.data(), static_cast<CFIndex>(room))) {
    return "(fails)";
  }
  return reinterpret_cast<const char*>(buffer.data());
}

std::string cString(CFStringRef string, CFStringEncoding encoding, CFIndex room = 65536) {
  std::string buffer(static_cast<std::size_t>(room), '#');
  if (!CFStringGetCString(string, buffer.data(), room, encoding)) return "(fails)";
  buffer.resize(std::strlen(buffer.data()));
  return buffer;
}

TEST(CFObject, IsDestroyedByTheLastRelease) {
  CFURLRef const url = urlOf("/tmp");
  EXPECT_EQ(CFGetRetainCount(url), 1);
  CFBundleRef const bundle = CFBundleCreate(kCFAllocatorDefault, url);
  ASSERT_NE(bundle, nullptr);
  EXPECT_EQ(CFGetRetainCount(url), 2);
  CFURLRef const copied = CFBundleCopyBundleURL(bundle);
  EXPECT_EQ(copied, url);
  EXPECT_EQ(CFGetRetainCount(url), 3);
  CFRelease(copied);
  CFRelease(bundle);
  EXPECT_EQ(CFGetRetainCount(url), 1);
  EXPECT_EQ(CFRetain(url), url);
  EXPECT_EQ(CFGetRetainCount(url), 2);
  CFRelease(url);
  CFRelease(url);
}

TEST(CFObject, CountsReferencesFromManyThreads) {
  CFStringRef const string = utf8("shared");
  {
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([string] {
        for (int round = 0; round < 10'000; ++round) {
          CFRetain(string);
          CFRelease(string);
        }
      });
    }
  }
  EXPECT_EQ(CFGetRetainCount(string), 1);
  CFRelease(string);
}

TEST(CFObject, ReturnsItsType) {
  CFStringRef const string = utf8("x");
  CFURLRef const url = urlOf("/tmp");
  EXPECT_EQ(CFGetTypeID(string), CFStringGetTypeID());
  EXPECT_EQ(CFGetTypeID(url), CFURLGetTypeID());
  EXPECT_NE(CFStringGetTypeID(), CFURLGetTypeID());
  EXPECT_NE(CFURLGetTypeID(), CFBundleGetTypeID());
  CFRelease(string);
  CFRelease(url);
}

TEST(CFObject, IsDescribedOnOneLine) {
  CFStringRef const string = utf8("two\nlines");
  CFURLRef const url = urlOf("/tmp");
  CFBundleRef const bundle = CFBundleCreate(kCFAllocatorDefault, url);
  testing::internal::CaptureStderr();
  CFShow(string);
  CFShow(url);
  CFShow(bundle);
  CFShow(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "two lines\n/tmp\nCFBundle /tmp\n(null)\n");
  CFRelease(bundle);
  CFRelease(url);
  CFRelease(string);
}

TEST(CoreFoundation, ToleratesNullEverywhere) {
  std::array<char, 4> buffer{};
  CFIndex used = 9;
  EXPECT_EQ(CFRetain(nullptr), nullptr);
  CFRelease(nullptr);
  EXPECT_EQ(CFGetRetainCount(nullptr), 0);
  EXPECT_EQ(CFGetTypeID(nullptr), 0U);
  EXPECT_EQ(CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8), nullptr);
  EXPECT_EQ(CFStringCreateWithBytes(nullptr, nullptr, 1, kCFStringEncodingUTF8, false), nullptr);
  EXPECT_EQ(CFStringGetLength(nullptr), 0);
  EXPECT_EQ(CFStringGetCStringPtr(nullptr, kCFStringEncodingUTF8), nullptr);
  EXPECT_FALSE(CFStringGetCString(nullptr, buffer.data(), 4, kCFStringEncodingUTF8));
  EXPECT_EQ(CFStringGetBytes(nullptr, {0, 1}, kCFStringEncodingUTF8, 0, false, nullptr, 0, &used),
            0);
  EXPECT_EQ(used, 0);
  EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, nullptr, 1, true), nullptr);
  EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, nullptr, kCFURLPOSIXPathStyle, true), nullptr);
  EXPECT_EQ(CFURLCopyAbsoluteURL(nullptr), nullptr);
  EXPECT_EQ(CFURLCopyFileSystemPath(nullptr, kCFURLPOSIXPathStyle), nullptr);
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(nullptr, true, nullptr, 0));
  EXPECT_EQ(CFBundleCreate(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFBundleCopyBundleURL(nullptr), nullptr);
  CFStringRef const string = utf8("x");
  EXPECT_FALSE(CFStringGetCString(string, nullptr, 4, kCFStringEncodingUTF8));
  CFRelease(string);
}

TEST(CFString, ConvertsBetweenItsEncodings) {
  CFStringRef const string = utf8(kGreeting);
  EXPECT_EQ(cString(string, kCFStringEncodingUTF8), kGreeting);
  EXPECT_EQ(cString(string, kCFStringEncodingMacRoman), "Gr\x9F\xA7 \xDB");
  EXPECT_EQ(cString(string, kCFStringEncodingISOLatin1), "(fails)");  // no euro sign
  EXPECT_EQ(cString(string, kCFStringEncodingASCII), "(fails)");
  EXPECT_EQ(cString(string, 0x12345), "(fails)");
  CFRelease(string);

  CFStringRef const roman =
      CFStringCreateWithCString(nullptr, "Gr\x9F\xA7 \xDB", kCFStringEncodingMacRoman);
  EXPECT_EQ(cString(roman, kCFStringEncodingUTF8), kGreeting);
  CFRelease(roman);
}

TEST(CFString, RejectsMalformedBytes) {
  for (const char* const text : {"\x80", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                 "\xE2\x82", "a\xFFz", "\xF8\x88\x80\x80\x80"}) {
    EXPECT_EQ(utf8(text), nullptr) << text;
  }
  EXPECT_EQ(CFStringCreateWithCString(nullptr, "\x80", kCFStringEncodingASCII), nullptr);
  EXPECT_EQ(CFStringCreateWithCString(nullptr, "a", 0x12345), nullptr);
}

TEST(CFString, CountsUtf16Units) {
  CFStringRef const string = utf8("a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(CFStringGetLength(string), 5);
  CFRelease(string);
}

TEST(CFString, ReturnsItsBytesInItsOwnEncodingOnly) {
  CFStringRef const string = utf8("caf\xC3\xA9");
  EXPECT_STREQ(CFStringGetCStringPtr(string, kCFStringEncodingUTF8), "caf\xC3\xA9");
  EXPECT_EQ(CFStringGetCStringPtr(string, kCFStringEncodingMacRoman), nullptr);
  EXPECT_EQ(cString(string, kCFStringEncodingMacRoman), "caf\x8E");
  CFRelease(string);
}

TEST(CFString, FitsOnlyWithItsNul) {
  const std::string text(300, 'p');
  CFStringRef const string = utf8(text.c_str());
  for (const CFStringEncoding encoding :
       {CFStringEncoding{kCFStringEncodingUTF8}, CFStringEncoding{kCFStringEncodingMacRoman}}) {
    EXPECT_EQ(cString(string, encoding, 256), "(fails)");
    EXPECT_EQ(cString(string, encoding, 300), "(fails)");
    EXPECT_EQ(cString(string, encoding, 301), text);
    EXPECT_EQ(cString(string, encoding, 512), text);
  }
  char untouched = '#';
  EXPECT_FALSE(CFStringGetCString(string, &untouched, 0, kCFStringEncodingUTF8));
  EXPECT_EQ(untouched, '#');
  EXPECT_FALSE(CFStringGetCString(string, &untouched, 1, kCFStringEncodingUTF8));
  EXPECT_EQ(untouched, '\0');
  CFRelease(string);
}

TEST(CFString, WithANulInsideHasNoCString) {
  const std::array<UInt8, 3> bytes{'a', 0, 'b'};
  CFStringRef const string =
      CFStringCreateWithBytes(nullptr, bytes.data(), 3, kCFStringEncodingUTF8, false);
  ASSERT_NE(string, nullptr);
  EXPECT_EQ(CFStringGetLength(string), 3);
  EXPECT_EQ(CFStringGetCStringPtr(string, kCFStringEncodingUTF8), nullptr);
  EXPECT_EQ(cString(string, kCFStringEncodingUTF8), "(fails)");
  CFRelease(string);
}

struct Bytes {
  CFIndex converted;
  std::string bytes;
};

Bytes bytesOf(CFStringRef string, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
              CFIndex room) {
  std::string buffer(static_cast<std::size_t>(room), '#');
  CFIndex used = -1;
  const CFIndex converted = CFStringGetBytes(string, range, encoding, lossByte, false,
                                             reinterpret_cast<UInt8*>(buffer.data()), room, &used);
  return {converted, buffer.substr(0, static_cast<std::size_t>(used))};
}

TEST(CFString, ReturnsTheBytesOfARange) {
  CFStringRef const string = utf8("a\xC3\xBC\xF0\x9F\x98\x80z");  // a, u umlaut, a pair, z
  const auto mac = kCFStringEncodingMacRoman;

  Bytes result = bytesOf(string, {0, 5}, mac, '?', 16);
  EXPECT_EQ(result.converted, 5);
  EXPECT_EQ(result.bytes, "a\x9F?z");

  result = bytesOf(string, {0, 5}, mac, 0, 16);
  EXPECT_EQ(result.converted, 2);
  EXPECT_EQ(result.bytes, "a\x9F");

  result = bytesOf(string, {1, 2}, kCFStringEncodingUTF8, '?', 16);
  EXPECT_EQ(result.converted, 1);  // the range divides the pair
  EXPECT_EQ(result.bytes, "\xC3\xBC");

  result = bytesOf(string, {0, 5}, kCFStringEncodingUTF8, '?', 2);
  EXPECT_EQ(result.converted, 1);
  EXPECT_EQ(result.bytes, "a");

  result = bytesOf(string, {9, 1}, mac, '?', 16);
  EXPECT_EQ(result.converted, 0);

  CFIndex needed = 0;
  EXPECT_EQ(CFStringGetBytes(string, {0, 5}, kCFStringEncodingUTF8, 0, false, nullptr, 0, &needed),
            5);
  EXPECT_EQ(needed, 8);
  CFRelease(string);
}

// The calls by which a synthesizer gets the path of a voice.
std::string pathByString(CFURLRef url) {
  CFURLRef const absolute = CFURLCopyAbsoluteURL(url);
  CFStringRef const path = CFURLCopyFileSystemPath(absolute, kCFURLPOSIXPathStyle);
  CFRelease(absolute);
  std::string lent = CFStringGetCStringPtr(path, CFStringGetSystemEncoding());
  EXPECT_EQ(cString(path, CFStringGetSystemEncoding()), lent);
  CFRelease(path);
  return lent;
}

TEST(CFURL, ReturnsPathsByteForByte) {
  const std::string longPath = "/voices/" + std::string(5000, 'v');
  for (const std::string& path :
       {std::string("/"), std::string("/a b/c%20d?#"), std::string("/") + kGreeting,
        std::string(kBrokenPath), longPath}) {
    CFURLRef const url = urlOf(path);
    ASSERT_NE(url, nullptr);
    EXPECT_EQ(representation(url, true, 8192), path);
    EXPECT_EQ(pathByString(url), path);
    CFRelease(url);
  }
}

TEST(CFURL, DropsSlashesAtTheEnd) {
  CFURLRef const url = urlOf("/voices/Corin.SpeechVoice//");
  EXPECT_EQ(representation(url, true), "/voices/Corin.SpeechVoice");
  CFRelease(url);
  CFURLRef const root = urlOf("//");
  EXPECT_EQ(representation(root, true), "/");
  CFRelease(root);
}

TEST(CFURL, FitsOnlyWithItsNul) {
  CFURLRef const url = urlOf("/abc");
  EXPECT_EQ(representation(url, true, 4), "(fails)");
  EXPECT_EQ(representation(url, true, 5), "/abc");
  UInt8 untouched = '#';
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, &untouched, 1));
  EXPECT_EQ(untouched, '#');
  CFRelease(url);
}

TEST(CFURL, PutsTheWorkingDirectoryBeforeARelativePath) {
  const std::string here = fs::current_path().native();
  CFURLRef const url = urlOf("sub/file.aiff");
  EXPECT_EQ(representation(url, false), "sub/file.aiff");
  EXPECT_EQ(representation(url, true), here + "/sub/file.aiff");
  EXPECT_EQ(pathByString(url), here + "/sub/file.aiff");

  CFURLRef const absolute = CFURLCopyAbsoluteURL(url);
  EXPECT_NE(absolute, url);
  CFURLRef const again = CFURLCopyAbsoluteURL(absolute);
  EXPECT_EQ(again, absolute);
  CFRelease(again);
  CFRelease(absolute);
  CFRelease(url);
}

TEST(CFURL, RejectsInvalidPaths) {
  EXPECT_EQ(urlOf(""), nullptr);
  EXPECT_EQ(urlOf(std::string("/a\0b", 4)), nullptr);
  CFStringRef const path = utf8("/a");
  EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, path, 1, true), nullptr);
  CFRelease(path);
}

TEST(CFURL, AcceptsAStringInAnyEncoding) {
  CFStringRef const roman = CFStringCreateWithCString(nullptr, "/\x8A", kCFStringEncodingMacRoman);
  CFURLRef const url = CFURLCreateWithFileSystemPath(nullptr, roman, kCFURLPOSIXPathStyle, false);
  EXPECT_EQ(representation(url, true), "/\xC3\xA4");
  CFRelease(url);
  CFRelease(roman);
}

TEST(CFBundle, IsADirectory) {
  CFURLRef const nowhere = urlOf("/nowhere/at/all");
  EXPECT_EQ(CFBundleCreate(nullptr, nowhere), nullptr);
  EXPECT_EQ(CFGetRetainCount(nowhere), 1);
  CFRelease(nowhere);
  CFURLRef const file = urlOf("/proc/self/exe");
  EXPECT_EQ(CFBundleCreate(nullptr, file), nullptr);
  CFRelease(file);
}

}  // namespace
