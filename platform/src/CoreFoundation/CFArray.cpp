// SPDX-License-Identifier: Apache-2.0
//
// CFArray: a vector of pointers that retains its values or not.
#include <CoreFoundation/CFArray.h>

#include <algorithm>
#include <new>
#include <string>

#include "CFObject.h"

// Only its address matters: null or not null decides whether values are retained.
const CFArrayCallBacks kCFTypeArrayCallBacks = {0};

CFTypeID CFArrayGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::Array);
}

CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks) {
  if (numValues < 0 || (values == nullptr && numValues > 0)) return nullptr;
  platform::Owned<CFMutableArrayRef> array(CFArrayCreateMutable(allocator, 0, callBacks));
  if (!array) return nullptr;
  try {
    std::for_each(values, values + numValues,
                  [&](const void* value) { array.get()->append(value); });
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  // The second reference is for the caller; the guard releases the first.
  CFRetain(array.get());
  return array.get();
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef /*allocator*/, CFIndex /*capacity*/,
                                       const CFArrayCallBacks* callBacks) {
  return new (std::nothrow) __CFArray(callBacks != nullptr);
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
  if (array == nullptr) return;
  try {
    array->append(value);
  } catch (const std::bad_alloc&) {
    // The function has no result; out of memory, the array is unchanged.
  }
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  return array == nullptr ? 0 : static_cast<CFIndex>(array->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  if (index < 0 || index >= CFArrayGetCount(array)) return nullptr;
  return array->values[static_cast<std::size_t>(index)];
}

__CFArray::~__CFArray() {
  if (!countsValues) return;
  for (const void* const value : values) CFRelease(value);
}

void __CFArray::append(const void* value) {
  // First the step that can fail.
  values.push_back(value);
  if (countsValues) CFRetain(value);
}

// "(value, value)".
std::string __CFArray::describe(unsigned levels) const {
  if (levels == 0 && !values.empty()) return "(...)";
  std::string line = "(";
  for (const void* const value : values) {
    if (line.size() > 1) line += ", ";
    line += platform::describeValue(value, countsValues, levels - 1);
  }
  return line + ')';
}

bool __CFArray::equals(const CFObject& other) const {
  const auto& array = static_cast<const __CFArray&>(other);
  // Plain pointers need not be objects, so they are compared as pointers.
  const bool asObjects = countsValues && array.countsValues;
  return std::equal(
      values.begin(), values.end(), array.values.begin(), array.values.end(),
      [=](const void* a, const void* b) { return asObjects ? CFEqual(a, b) != 0 : a == b; });
}
