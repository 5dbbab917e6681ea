// SPDX-License-Identifier: Apache-2.0
//
// CFBase: the functions for objects of every type. Each forwards to CFObject.
#include <CoreFoundation/CFBase.h>

#include <cstdio>
#include <exception>

#include "CFObject.h"

namespace {

const platform::CFObject* objectOf(CFTypeRef reference) {
  return static_cast<const platform::CFObject*>(reference);
}

}  // namespace

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
