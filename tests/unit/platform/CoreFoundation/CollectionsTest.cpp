// SPDX-License-Identifier: Apache-2.0
//
// Numbers, Booleans, arrays, dictionaries, errors, and string functions beyond access to bytes.
#include <CoreFoundation/CoreFoundation.h>

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "CoreFoundation/CFObject.h"

namespace {

using platform::Owned;

Owned<CFNumberRef> wholeNumber(SInt64 value) {
  return Owned(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value));
}
Owned<CFNumberRef> realNumber(double value) {
  return Owned(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}
Owned<CFStringRef> text(const char* utf8) {
  return Owned(CFStringCreateWithCString(nullptr, utf8, kCFStringEncodingUTF8));
}

TEST(CFNumber, KeepsWholeNumbersAndDoubles) {
  const auto whole = wholeNumber(-300);
  EXPECT_EQ(CFNumberGetType(whole.get()), kCFNumberSInt64Type);
  SInt16 small = 0;
  EXPECT_TRUE(CFNumberGetValue(whole.get(), kCFNumberSInt16Type, &small));
  EXPECT_EQ(small, -300);
  SInt8 tiny = 0;
  EXPECT_FALSE(CFNumberGetValue(whole.get(), kCFNumberSInt8Type, &tiny));
  EXPECT_EQ(tiny, -44);
  const auto real = realNumber(2.5);
  EXPECT_TRUE(CFNumberIsFloatType(real.get()));
  float single = 0;
  EXPECT_TRUE(CFNumberGetValue(real.get(), kCFNumberFloat32Type, &single));
  EXPECT_EQ(single, 2.5F);
  int cut = 0;
  EXPECT_FALSE(CFNumberGetValue(real.get(), kCFNumberIntType, &cut));
  EXPECT_EQ(cut, 2);
}

TEST(CFNumber, SaturatesDoublesThatAreTooLarge) {
  for (const double huge : {1e300, 9223372036854775808.0}) {
    SInt64 value = 0;
    EXPECT_FALSE(CFNumberGetValue(realNumber(huge).get(), kCFNumberSInt64Type, &value));
    EXPECT_EQ(value, std::numeric_limits<SInt64>::max());
  }
  SInt64 value = 7;
  EXPECT_FALSE(CFNumberGetValue(realNumber(std::numeric_limits<double>::quiet_NaN()).get(),
                                kCFNumberSInt64Type, &value));
  EXPECT_EQ(value, 0);
}

TEST(CFNumber, IsNotCreatedFromAnUnknownType) {
  const int value = 1;
  EXPECT_EQ(CFNumberCreate(nullptr, 99, &value), nullptr);
  EXPECT_EQ(CFNumberCreate(nullptr, kCFNumberIntType, nullptr), nullptr);
}

TEST(CFBoolean, IsNotDestroyedByReleases) {
  for (int i = 0; i < 5; ++i) CFRelease(kCFBooleanTrue);
  EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
  EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
  EXPECT_FALSE(CFBooleanGetValue(nullptr));
}

TEST(CFEqual, ComparesValuesOfOneType) {
  EXPECT_TRUE(CFEqual(wholeNumber(2).get(), realNumber(2).get()));
  EXPECT_FALSE(CFEqual(wholeNumber(2).get(), wholeNumber(3).get()));
  EXPECT_FALSE(CFEqual(wholeNumber(1).get(), kCFBooleanTrue));
  EXPECT_TRUE(
      CFEqual(text("\xC3\xA9").get(),
              Owned(CFStringCreateWithCString(nullptr, "\x8E", kCFStringEncodingMacRoman)).get()));
  EXPECT_FALSE(CFEqual(text("a").get(), text("ab").get()));
  EXPECT_TRUE(CFEqual(nullptr, nullptr));
  EXPECT_FALSE(CFEqual(nullptr, text("a").get()));
}

TEST(CFArray, RetainsItsValues) {
  const auto value = wholeNumber(1);
  {
    const Owned array(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    CFArrayAppendValue(array.get(), value.get());
    CFArrayAppendValue(array.get(), kCFBooleanTrue);
    EXPECT_EQ(CFGetRetainCount(value.get()), 2);
    EXPECT_EQ(CFArrayGetCount(array.get()), 2);
    EXPECT_EQ(CFArrayGetValueAtIndex(array.get(), 0), value.get());
    EXPECT_EQ(CFArrayGetValueAtIndex(array.get(), 2), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(array.get(), -1), nullptr);
  }
  EXPECT_EQ(CFGetRetainCount(value.get()), 1);
}

TEST(CFArray, KeepsBarePointersWithoutCallbacks) {
  int target = 0;
  const void* values[] = {&target};
  const Owned array(CFArrayCreate(nullptr, values, 1, nullptr));
  EXPECT_EQ(CFArrayGetValueAtIndex(array.get(), 0), &target);
}

TEST(CFDictionary, FindsValuesByEqualKeys) {
  const Owned dictionary(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks));
  CFDictionarySetValue(dictionary.get(), text("one").get(), wholeNumber(1).get());
  CFDictionaryAddValue(dictionary.get(), CFSTR("one"), kCFBooleanFalse);
  EXPECT_EQ(CFDictionaryGetCount(dictionary.get()), 1);
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(dictionary.get(), CFSTR("one")), wholeNumber(1).get()));
  // A value that only the dictionary retains may replace itself.
  CFDictionarySetValue(dictionary.get(), CFSTR("one"),
                       CFDictionaryGetValue(dictionary.get(), CFSTR("one")));
  CFDictionarySetValue(dictionary.get(), CFSTR("one"), kCFBooleanTrue);
  EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), CFSTR("one")), kCFBooleanTrue);
  EXPECT_FALSE(CFDictionaryContainsKey(dictionary.get(), CFSTR("two")));
  EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary.get(), CFSTR("two"), nullptr));
  const void* key = nullptr;
  const void* value = nullptr;
  CFDictionaryGetKeysAndValues(dictionary.get(), &key, &value);
  EXPECT_TRUE(CFEqual(key, CFSTR("one")));
  EXPECT_EQ(value, kCFBooleanTrue);
  CFDictionaryRemoveValue(dictionary.get(), CFSTR("one"));
  EXPECT_EQ(CFDictionaryGetCount(dictionary.get()), 0);
}

TEST(CFDictionary, IsEqualWhateverTheOrder) {
  const void* keys[] = {CFSTR("one"), CFSTR("two")};
  const void* backwards[] = {CFSTR("two"), CFSTR("one")};
  const void* values[] = {kCFBooleanTrue, kCFBooleanFalse};
  const void* others[] = {kCFBooleanFalse, kCFBooleanTrue};
  const auto make = [](const void** k, const void** v) {
    return Owned(CFDictionaryCreate(nullptr, k, v, 2, &kCFTypeDictionaryKeyCallBacks,
                                    &kCFTypeDictionaryValueCallBacks));
  };
  EXPECT_TRUE(CFEqual(make(keys, values).get(), make(backwards, others).get()));
  EXPECT_FALSE(CFEqual(make(keys, values).get(), make(keys, others).get()));
}

TEST(CFError, ReturnsItsDomainCodeAndInformation) {
  const Owned bare(CFErrorCreate(nullptr, kCFErrorDomainOSStatus, -50, nullptr));
  EXPECT_EQ(CFErrorGetCode(bare.get()), -50);
  EXPECT_TRUE(CFEqual(CFErrorGetDomain(bare.get()), kCFErrorDomainOSStatus));
  const Owned info(CFErrorCopyUserInfo(bare.get()));
  EXPECT_EQ(CFDictionaryGetCount(info.get()), 0);
  EXPECT_EQ(CFErrorCreate(nullptr, nullptr, 1, nullptr), nullptr);
}

TEST(CFString, CreatesConstantsOnce) {
  CFStringRef constants[2];
  for (CFStringRef& constant : constants) constant = CFSTR("a constant");
  EXPECT_EQ(constants[0], constants[1]);
  for (int i = 0; i < 5; ++i) CFRelease(constants[0]);
  EXPECT_EQ(CFStringGetLength(constants[0]), 10);
}

TEST(CFString, ReturnsItsPartsAndUnits) {
  const auto string = text("a\xF0\x9F\x98\x80z");
  const Owned part(CFStringCreateWithSubstring(nullptr, string.get(), {1, 2}));
  EXPECT_TRUE(CFEqual(part.get(), text("\xF0\x9F\x98\x80").get()));
  EXPECT_EQ(CFStringCreateWithSubstring(nullptr, string.get(), {1, 1}), nullptr);
  EXPECT_EQ(CFStringCreateWithSubstring(nullptr, string.get(), {3, 2}), nullptr);
  EXPECT_EQ(CFStringGetCharacterAtIndex(string.get(), 1), 0xD83D);
  EXPECT_EQ(CFStringGetCharacterAtIndex(string.get(), 2), 0xDE00);
  EXPECT_EQ(CFStringGetCharacterAtIndex(string.get(), 3), 'z');
  EXPECT_EQ(CFStringGetCharacterAtIndex(string.get(), 4), 0xFFFD);
  const UniChar units[] = {'a', 0xD83D, 0xDE00, 'z'};
  EXPECT_TRUE(CFEqual(Owned(CFStringCreateWithCharacters(nullptr, units, 4)).get(), string.get()));
  EXPECT_EQ(CFStringCreateWithCharacters(nullptr, units, 2), nullptr);
}

}  // namespace
