// SPDX-License-Identifier: Apache-2.0
//
// CFDictionary: a vector of key-value pairs with linear search; dictionaries here are small.
#include <CoreFoundation/CFDictionary.h>

#include <algorithm>
#include <new>
#include <string>

#include "CFObject.h"

// Only their addresses matter: null or not null decides whether keys and values are retained.
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0};

CFTypeID CFDictionaryGetTypeID() {
  return static_cast<CFTypeID>(platform::CFType::Dictionary);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  if (numValues < 0 || ((keys == nullptr || values == nullptr) && numValues > 0)) return nullptr;
  platform::Owned<CFMutableDictionaryRef> dictionary(
      CFDictionaryCreateMutable(allocator, 0, keyCallBacks, valueCallBacks));
  if (!dictionary) return nullptr;
  try {
    // Of equal keys the first is kept.
    for (CFIndex at = 0; at < numValues; ++at) {
      if (dictionary.get()->find(keys[at]) == nullptr) dictionary.get()->add(keys[at], values[at]);
    }
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  // The second reference is for the caller; the guard releases the first.
  CFRetain(dictionary.get());
  return dictionary.get();
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef /*allocator*/, CFIndex /*capacity*/,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
  return new (std::nothrow) __CFDictionary(keyCallBacks != nullptr, valueCallBacks != nullptr);
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  if (dictionary == nullptr || dictionary->find(key) != nullptr) return;
  try {
    dictionary->add(key, value);
  } catch (const std::bad_alloc&) {
    // The function has no result; out of memory, the dictionary is unchanged.
  }
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  if (dictionary == nullptr) return;
  // Retain before removing: the old entry may hold the last reference to the new key or value.
  if (dictionary->countsKeys) CFRetain(key);
  if (dictionary->countsValues) CFRetain(value);
  dictionary->remove(key);
  CFDictionaryAddValue(dictionary, key, value);
  if (dictionary->countsKeys) CFRelease(key);
  if (dictionary->countsValues) CFRelease(value);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
  if (dictionary != nullptr) dictionary->remove(key);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  return dictionary == nullptr ? 0 : static_cast<CFIndex>(dictionary->entries.size());
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
  return dictionary != nullptr && dictionary->find(key) != nullptr;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  const void* value = nullptr;
  CFDictionaryGetValueIfPresent(dictionary, key, &value);
  return value;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                      const void** value) {
  const auto* const entry = dictionary == nullptr ? nullptr : dictionary->find(key);
  if (entry == nullptr) return false;
  if (value != nullptr) *value = entry->value;
  return true;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
  if (dictionary == nullptr) return;
  for (const auto& entry : dictionary->entries) {
    if (keys != nullptr) *keys++ = entry.key;
    if (values != nullptr) *values++ = entry.value;
  }
}

__CFDictionary::~__CFDictionary() {
  for (const KeyValue& entry : entries) {
    if (countsKeys) CFRelease(entry.key);
    if (countsValues) CFRelease(entry.value);
  }
}

// Retained keys are objects and compared by value, others by address.
const __CFDictionary::KeyValue* __CFDictionary::find(const void* key) const {
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const KeyValue& entry) {
    return countsKeys ? CFEqual(entry.key, key) != 0 : entry.key == key;
  });
  return found == entries.end() ? nullptr : &*found;
}

void __CFDictionary::add(const void* key, const void* value) {
  // First the step that can fail.
  entries.push_back({key, value});
  if (countsKeys) CFRetain(key);
  if (countsValues) CFRetain(value);
}

void __CFDictionary::remove(const void* key) {
  const KeyValue* const found = find(key);
  if (found == nullptr) return;
  // Erase first, then release: releasing may destroy an object that `key` belongs to.
  const KeyValue entry = *found;
  entries.erase(entries.begin() + (found - entries.data()));
  if (countsKeys) CFRelease(entry.key);
  if (countsValues) CFRelease(entry.value);
}

// "{key = value, key = value}".
std::string __CFDictionary::describe(unsigned levels) const {
  if (levels == 0 && !entries.empty()) return "{...}";
  std::string line = "{";
  for (const KeyValue& entry : entries) {
    if (line.size() > 1) line += ", ";
    line += platform::describeValue(entry.key, countsKeys, levels - 1) + " = ";
    line += platform::describeValue(entry.value, countsValues, levels - 1);
  }
  return line + '}';
}

// The order of the entries does not matter.
bool __CFDictionary::equals(const CFObject& other) const {
  const auto& dictionary = static_cast<const __CFDictionary&>(other);
  if (entries.size() != dictionary.entries.size()) return false;
  // Plain pointers need not be objects, so they are compared as pointers.
  const bool asObjects = countsValues && dictionary.countsValues;
  return std::all_of(entries.begin(), entries.end(), [&](const KeyValue& entry) {
    const KeyValue* const its = dictionary.find(entry.key);
    if (its == nullptr) return false;
    return asObjects ? CFEqual(entry.value, its->value) != 0 : entry.value == its->value;
  });
}
