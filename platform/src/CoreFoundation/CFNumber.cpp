// SPDX-License-Identifier: Apache-2.0
//
// CFNumber and CFBoolean: a number is a 64-bit integer or a double. Conversion to and from the
// other C types is instantiated for each type by withType().
#include <CoreFoundation/CFNumber.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <type_traits>

#include "CFObject.h"

const CFBooleanRef kCFBooleanTrue = new __CFBoolean(true);
const CFBooleanRef kCFBooleanFalse = new __CFBoolean(false);

namespace {

// Calls `work` with a value of the C type that `type` stands for and returns its result. Returns
// false for an unknown type.
template <typename Work>
bool withType(CFNumberType type, Work work) {
  switch (type) {
    case kCFNumberSInt8Type:
      return work(SInt8{});
    case kCFNumberCharType:
      return work(static_cast<signed char>(0));
    case kCFNumberSInt16Type:
    case kCFNumberShortType:
      return work(SInt16{});
    case kCFNumberSInt32Type:
    case kCFNumberIntType:
      return work(SInt32{});
    case kCFNumberSInt64Type:
    case kCFNumberLongLongType:
      return work(SInt64{});
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
      return work(long{});
    case kCFNumberFloat32Type:
    case kCFNumberFloatType:
      return work(float{});
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
      return work(double{});
    default:
      return false;
  }
}

// Converts `number` to `To`. Returns false if the value changes; rounding to a floating-point type
// does not count as a change.
template <typename To>
bool convert(SInt64 number, To& to) {
  to = static_cast<To>(number);
  return std::is_floating_point_v<To> || static_cast<SInt64>(to) == number;
}

// A double out of range becomes the nearest limit: converting it directly would be undefined
// behaviour.
template <typename To>
bool convert(double number, To& to) {
  if constexpr (std::is_floating_point_v<To>) {
    to = static_cast<To>(number);
    return true;
  } else {
    // The limits as doubles. The largest integer of 64 bits is not a double, so the upper limit is
    // the first value that is too large: minus the smallest.
    const auto smallest = static_cast<double>(std::numeric_limits<To>::min());
    const double pastLargest = -smallest;
    // Also true for NaN, which compares false with everything.
    if (!(number >= smallest)) {
      to = std::isnan(number) ? To{0} : std::numeric_limits<To>::min();
      return false;
    }
    if (number >= pastLargest) {
      to = std::numeric_limits<To>::max();
      return false;
    }
    to = static_cast<To>(number);
    return static_cast<double>(to) == number;
  }
}

}  // namespace

CFTypeID CFBooleanGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::Boolean);
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return boolean != nullptr && boolean->value;
}

CFTypeID CFNumberGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::Number);
}

CFNumberRef CFNumberCreate(CFAllocatorRef /*allocator*/, CFNumberType type, const void* valuePtr) {
  if (valuePtr == nullptr) return nullptr;
  std::optional<__CFNumber::Value> value;
  withType(type, [&](auto typed) {
    // memcpy: a caller's value may be unaligned.
    std::memcpy(&typed, valuePtr, sizeof typed);
    if constexpr (std::is_floating_point_v<decltype(typed)>) {
      value = static_cast<double>(typed);
    } else {
      value = static_cast<SInt64>(typed);
    }
    return true;
  });
  return value ? new (std::nothrow) __CFNumber(*value) : nullptr;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
  if (number == nullptr) return 0;
  return CFNumberIsFloatType(number) ? kCFNumberFloat64Type : kCFNumberSInt64Type;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  return number != nullptr && std::holds_alternative<double>(number->value);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr) {
  if (number == nullptr || valuePtr == nullptr) return false;
  return withType(type, [&](auto typed) {
    const bool isExact = std::visit([&](auto held) { return convert(held, typed); }, number->value);
    std::memcpy(valuePtr, &typed, sizeof typed);
    return isExact;
  });
}

std::string __CFNumber::description() const {
  return std::visit([](auto held) { return std::to_string(held); }, value);
}

// An integer and a double are equal if they have the same value as doubles.
bool __CFNumber::equals(const CFObject& other) const {
  return std::visit([](auto a, auto b) { return static_cast<double>(a) == static_cast<double>(b); },
                    value, static_cast<const __CFNumber&>(other).value);
}

std::string __CFBoolean::description() const {
  return value ? "true" : "false";
}
