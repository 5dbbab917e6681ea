// SPDX-License-Identifier: Apache-2.0
#include "api/params.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 6> kKnownKeys{
    KAVREL_KEY_CACHE_POLICY,  KAVREL_KEY_AUDIO_DEVICE,     KAVREL_KEY_OUTPUT_FILE,
    KAVREL_KEY_OUTPUT_FORMAT, KAVREL_KEY_EVENTS_IMMEDIATE, KAVREL_KEY_ONE_VOICE};
// The index of keys that the engine does not know; such a value stores its key itself.
constexpr std::uint8_t kOtherKey = 0xFF;

std::uint8_t indexOfKey(std::string_view key) {
  const auto known = std::find(kKnownKeys.begin(), kKnownKeys.end(), key);
  if (known == kKnownKeys.end()) return kOtherKey;
  return static_cast<std::uint8_t>(known - kKnownKeys.begin());
}

}  // namespace

// One value in one block of malloc: this header, the text with its NUL (empty for a number), then,
// only for kOtherKey, the key with its NUL.
struct kavrel_val {
  kavrel_val* next;
  int number;
  std::uint8_t key;
  bool isText;

  char* text() { return reinterpret_cast<char*>(this + 1); }
  const char* text() const { return reinterpret_cast<const char*>(this + 1); }

  std::string_view keyName() const {
    return key == kOtherKey ? text() + std::strlen(text()) + 1 : kKnownKeys[key];
  }

  std::size_t size() const {
    const std::size_t textSize = isText || key == kOtherKey ? std::strlen(text()) + 1 : 0;
    return sizeof(*this) + textSize + (key == kOtherKey ? keyName().size() + 1 : 0);
  }
};

struct kavrel_params {
  kavrel_val* first;
};

namespace {

// Zeroed, so that the value is a number and its text is empty.
kavrel_val* newVal(std::size_t textSize) {
  return static_cast<kavrel_val*>(std::calloc(1, sizeof(kavrel_val) + textSize));
}

void releaseAll(kavrel_val* val) {
  while (val != nullptr) {
    kavrel_val* const next = val->next;
    std::free(val);
    val = next;
  }
}

// Returns `val` with `key` appended after its text, possibly moved. When out of memory: releases
// `val` and returns null.
kavrel_val* withOwnKey(kavrel_val* val, const char* key) {
  const std::size_t textSize = std::strlen(val->isText ? val->text() : "") + 1;
  const std::size_t keySize = std::strlen(key) + 1;
  void* const grown = std::realloc(val, sizeof(kavrel_val) + textSize + keySize);
  if (grown == nullptr) {
    std::free(val);
    return nullptr;
  }
  val = static_cast<kavrel_val*>(grown);
  val->key = kOtherKey;
  val->text()[textSize - 1] = '\0';
  std::memcpy(val->text() + textSize, key, keySize);
  return val;
}

const kavrel_val* find(const kavrel_params* params, std::string_view key) {
  if (params == nullptr) return nullptr;
  for (const kavrel_val* val = params->first; val != nullptr; val = val->next) {
    if (val->keyName() == key) return val;
  }
  return nullptr;
}

const char* findText(const kavrel_params* params, std::string_view key) {
  const kavrel_val* const val = find(params, key);
  return val != nullptr && val->isText ? val->text() : nullptr;
}

// Sets `flag` to whether the number under `key` is not 0. A missing value or a text changes
// nothing.
void applySwitch(const kavrel_params* params, std::string_view key, bool& flag) {
  const kavrel_val* const val = find(params, key);
  if (val != nullptr && !val->isText) flag = val->number != 0;
}

}  // namespace

kavrel_params* kavrel_params_new(const kavrel_params* base) {
  // `end` is the link that the next copy is stored in, so that the list keeps its order.
  auto* const params = static_cast<kavrel_params*>(std::calloc(1, sizeof(kavrel_params)));
  if (params == nullptr || base == nullptr) return params;
  kavrel_val** end = &params->first;
  for (const kavrel_val* val = base->first; val != nullptr; val = val->next) {
    // A value is one block without pointers of its own, except `next`, so it is copied as bytes.
    auto* const copy = static_cast<kavrel_val*>(std::malloc(val->size()));
    if (copy == nullptr) {
      kavrel_params_delete(params);
      return nullptr;
    }
    std::memcpy(static_cast<void*>(copy), val, val->size());
    copy->next = nullptr;
    *end = copy;
    end = &copy->next;
  }
  return params;
}

void kavrel_params_delete(kavrel_params* params) {
  if (params == nullptr) return;
  releaseAll(params->first);
  std::free(params);
}

kavrel_val* kavrel_val_string(const char* string) {
  if (string == nullptr) return nullptr;
  const std::size_t size = std::strlen(string) + 1;
  kavrel_val* const val = newVal(size);
  if (val == nullptr) return nullptr;
  val->isText = true;
  std::memcpy(val->text(), string, size);
  return val;
}

kavrel_val* kavrel_val_int(int value) {
  kavrel_val* const val = newVal(0);
  if (val != nullptr) val->number = value;
  return val;
}

kavrel_result_t kavrel_params_set_val(kavrel_params* params, const char* key, kavrel_val* value) {
  if (params == nullptr || key == nullptr || value == nullptr) {
    std::free(value);
    return KAVREL_INVALID_POINTER;
  }
  if (*key == '\0') {
    std::free(value);
    return KAVREL_INVALID_KEY;
  }
  value->key = indexOfKey(key);
  if (value->key == kOtherKey) value = withOwnKey(value, key);
  if (value == nullptr) return KAVREL_INTERNAL_ERROR;
  // The link of the earlier value with this key, or the end of the list.
  kavrel_val** slot = &params->first;
  while (*slot != nullptr && (*slot)->keyName() != key) slot = &(*slot)->next;
  kavrel_val* const earlier = *slot;
  value->next = earlier != nullptr ? earlier->next : nullptr;
  *slot = value;
  std::free(earlier);
  return KAVREL_SUCCESS;
}

namespace kavrel {

void PortSettings::apply(const kavrel_params* params) {
  if (const char* const device = findText(params, KAVREL_KEY_AUDIO_DEVICE)) audioDevice = device;
  if (const char* const file = findText(params, KAVREL_KEY_OUTPUT_FILE)) outputFile = file;
  if (const char* const format = findText(params, KAVREL_KEY_OUTPUT_FORMAT)) outputFormat = format;
  applySwitch(params, KAVREL_KEY_EVENTS_IMMEDIATE, eventsImmediate);
  applySwitch(params, KAVREL_KEY_ONE_VOICE, oneVoice);
}

bool wantsPreload(const kavrel_params* params) {
  const char* const policy = findText(params, KAVREL_KEY_CACHE_POLICY);
  return policy != nullptr && std::string_view(policy) == "preload";
}

}  // namespace kavrel
