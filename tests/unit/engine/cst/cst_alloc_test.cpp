// SPDX-License-Identifier: Apache-2.0
//
// The engine library's allocator, strings and mutexes.
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "cst.h"

namespace {

struct Release {
  void operator()(void* memory) const { cst_free(memory); }
};
using OwnedString = std::unique_ptr<char, Release>;

OwnedString owned(char* string) {
  return OwnedString(string);
}

}  // namespace

TEST(Allocator, ReturnsZeroedMemory) {
  const std::unique_ptr<void, Release> block(cst_safe_alloc(4096));
  ASSERT_NE(block, nullptr);
  const std::string zeros(4096, '\0');
  EXPECT_EQ(std::memcmp(block.get(), zeros.data(), zeros.size()), 0);
}

TEST(Allocator, ReturnsAReleasableBlockForZeroBytes) {
  const std::unique_ptr<void, Release> block(cst_safe_alloc(0));
  EXPECT_NE(block, nullptr);
}

TEST(Allocator, KeepsTheContentsWhenTheSizeChanges) {
  void* block = cst_safe_alloc(8);
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "kavrel", 7);
  void* grown = cst_safe_realloc(block, 100000);
  ASSERT_NE(grown, nullptr);
  EXPECT_STREQ(static_cast<char*>(grown), "kavrel");
  void* shrunk = cst_safe_realloc(grown, 7);
  ASSERT_NE(shrunk, nullptr);
  EXPECT_STREQ(static_cast<char*>(shrunk), "kavrel");
  cst_free(shrunk);
}

TEST(Allocator, CreatesABlockWhenNullIsResized) {
  const std::unique_ptr<void, Release> block(cst_safe_realloc(nullptr, 16));
  EXPECT_NE(block, nullptr);
}

TEST(Allocator, ReleasesNull) {
  cst_free(nullptr);
}

// Sanitizers abort the process on such a request instead of returning null.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ENDS_ON_HUGE_REQUESTS
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ENDS_ON_HUGE_REQUESTS
#endif

#if !defined(ENDS_ON_HUGE_REQUESTS)
TEST(Allocator, ReturnsNullWhenOutOfMemory) {
  // Not a constant, so that the compiler does not warn about the size.
  volatile size_t tooMuch = SIZE_MAX / 2 + 1;
  EXPECT_EQ(cst_safe_alloc(tooMuch), nullptr);
}
#endif

TEST(Strings, AreCopied) {
  const char original[] = "word";
  const OwnedString copy = owned(cst_strdup(original));
  EXPECT_STREQ(copy.get(), "word");
  EXPECT_NE(copy.get(), original);
  EXPECT_EQ(cst_strdup(nullptr), nullptr);
  EXPECT_STREQ(owned(cst_strdup("")).get(), "");
}

TEST(Strings, ReturnSubstrings) {
  struct Row {
    const char* string;
    long start;
    long length;
    const char* part;
  };
  const Row rows[] = {
      {"synthesis", 0, 9, "synthesis"}, {"synthesis", 0, 3, "syn"},  {"synthesis", 3, 6, "thesis"},
      {"synthesis", 4, 0, ""},          {"synthesis", -5, 3, "syn"}, {"synthesis", 2, -1, ""},
      {"synthesis", 0, LONG_MIN, ""},   {nullptr, 0, 5, ""},         {"", 0, 0, ""},
  };
  for (const Row& row : rows) {
    EXPECT_STREQ(owned(cst_substr(row.string, row.start, row.length)).get(), row.part)
        << (row.string != nullptr ? row.string : "null") << ' ' << row.start << ' ' << row.length;
  }
}

TEST(Strings, KeepNulBytesInSubstrings) {
  const OwnedString part = owned(cst_substr("a\0b\0c", 1, 3));
  EXPECT_EQ(std::memcmp(part.get(), "\0b\0", 4), 0);
}

TEST(Strings, AreAppended) {
  struct Row {
    const char* first;
    const char* second;
    size_t limit;
    const char* whole;
  };
  const Row rows[] = {
      {"one ", "two", 0, "one two"},
      {"one ", "two", 2, "one tw"},
      {"one ", "two", 3, "one two"},
      {"one ", "two", 99, "one two"},
      {"", "", 0, ""},
      {nullptr, "two", 0, "two"},
      {"one ", nullptr, 0, "one "},
      {nullptr, nullptr, 7, ""},
  };
  for (const Row& row : rows) {
    EXPECT_STREQ(owned(cst_string_append(row.first, row.second, row.limit)).get(), row.whole);
  }
}

TEST(Strings, AppendReadsNoByteAfterTheLimit) {
  const char unterminated[3] = {'a', 'b', 'c'};
  EXPECT_STREQ(owned(cst_string_append("x", unterminated, 3)).get(), "xabc");
}

TEST(Mutexes, LockUnlockAndAreReleased) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  pthread_mutex_t mutex;
  pthread_mutex_init(&mutex, &attributes);
  EXPECT_EQ(mutex_lock(&mutex), 0);
  EXPECT_EQ(mutex_lock(&mutex), EDEADLK);
  EXPECT_EQ(mutex_unlock(&mutex), 0);
  EXPECT_EQ(mutex_destroy(&mutex), 0);
  pthread_mutexattr_destroy(&attributes);
}

TEST(Mutexes, RejectNull) {
  EXPECT_EQ(mutex_lock(nullptr), EINVAL);
  EXPECT_EQ(mutex_unlock(nullptr), EINVAL);
  EXPECT_EQ(mutex_destroy(nullptr), EINVAL);
}
