// SPDX-License-Identifier: Apache-2.0
//
// CFBase: the functions for objects of every type. Each forwards to CFObject.
#include <CoreFoundation/CFBase.h>

#include <array>
#include <cstdio>
#include <exception>
#include <new>

#include "CFObject.h"

namespace {

const platform::CFObject* objectOf(CFTypeRef reference) {
  return static_cast<const platform::CFObject*>(reference);
}

}  // namespace

const CFAllocatorRef kCFAllocatorSystemDefault = new (std::nothrow) __CFAllocator;
const CFAllocatorRef kCFAllocatorNull = new (std::nothrow) __CFAllocator;

std::string platform::describeValue(const void* value, bool isObject, unsigned levels) {
  if (isObject && value != nullptr) return objectOf(value)->describe(levels);
  if (value == nullptr) return "(null)";
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%p", value);
  return text.data();
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
  if (a == b) return true;
  if (a == nullptr || b == nullptr || objectOf(a)->type() != objectOf(b)->type()) return false;
  return objectOf(a)->equals(*objectOf(b));
}

CFTypeRef CFRetain(CFTypeRef object) {
  if (object != nullptr) objectOf(object)->retain();
  return object;
}

void CFRelease(CFTypeRef object) {
  if (object != nullptr) objectOf(object)->release();
}

CFIndex CFGetRetainCount(CFTypeRef object) {
  return object == nullptr ? 0 : objectOf(object)->count();
}

CFTypeID CFGetTypeID(CFTypeRef object) {
  return object == nullptr ? 0 : static_cast<CFTypeID>(objectOf(object)->type());
}

void CFShow(CFTypeRef object) {
  try {
    const std::string line = object == nullptr ? "(null)" : objectOf(object)->description();
    std::fprintf(stderr, "%s\n", line.c_str());
  } catch (const std::exception& error) {
    // Out of memory for the line; what() allocates nothing.
    std::fprintf(stderr, "%s\n", error.what());
  }
}
