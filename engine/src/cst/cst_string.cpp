// SPDX-License-Identifier: Apache-2.0
//
// String functions that return memory of cst_safe_alloc.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "cst.h"

namespace {

// Returns a new string of both parts; null when out of memory or if the length overflows.
char* join(const char* first, size_t firstLength, const char* second, size_t secondLength) {
  if (secondLength > SIZE_MAX - 1 - firstLength) return nullptr;
  auto* joined = static_cast<char*>(cst_safe_alloc(firstLength + secondLength + 1));
  if (joined == nullptr) return nullptr;
  std::copy_n(first, firstLength, joined);
  std::copy_n(second, secondLength, joined + firstLength);
  return joined;
}

}  // namespace

char* cst_strdup(const char* string) {
  return string != nullptr ? join(string, std::strlen(string), "", 0) : nullptr;
}

char* cst_substr(const char* string, long start, long length) {
  if (string == nullptr || length <= 0) return join("", 0, "", 0);
  const auto count = static_cast<size_t>(length);
  return join(string + std::max(start, 0L), count, "", 0);
}

char* cst_string_append(const char* first, const char* second, size_t limit) {
  if (first == nullptr) first = "";
  if (second == nullptr) second = "";
  const size_t used = limit > 0 ? strnlen(second, limit) : std::strlen(second);
  return join(first, std::strlen(first), second, used);
}
