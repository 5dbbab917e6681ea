// SPDX-License-Identifier: Apache-2.0
#include "HeapMeter.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KAVREL_ALLOCATOR_HOOKS 1
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KAVREL_ALLOCATOR_HOOKS 1
#endif

namespace {

std::atomic<bool> counting = false;
std::atomic<std::int64_t> held = 0;
std::atomic<std::int64_t> most = 0;

// Both run inside the allocator: they must not allocate or lock.
[[maybe_unused]] void countAllocation(std::size_t bytes) {
  if (!counting.load(std::memory_order_relaxed)) return;
  const auto added = static_cast<std::int64_t>(bytes);
  const std::int64_t now = held.fetch_add(added, std::memory_order_relaxed) + added;
  std::int64_t known = most.load(std::memory_order_relaxed);
  while (now > known && !most.compare_exchange_weak(known, now, std::memory_order_relaxed)) {
  }
}

[[maybe_unused]] void countRelease(std::size_t bytes) {
  if (!counting.load(std::memory_order_relaxed)) return;
  held.fetch_sub(static_cast<std::int64_t>(bytes), std::memory_order_relaxed);
}

}  // namespace

#if defined(KAVREL_ALLOCATOR_HOOKS)

// Functions of the sanitizers; not every compiler installs the header that declares them.
extern "C" {

int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*, std::size_t),
                                              void (*onFree)(const volatile void*));
std::size_t __sanitizer_get_allocated_size(const volatile void* block);

}  // extern "C"

namespace {

constexpr bool kWorks = true;

void onMalloc(const volatile void* /*block*/, std::size_t size) {
  countAllocation(size);
}
void onFree(const volatile void* block) {
  if (block != nullptr) countRelease(__sanitizer_get_allocated_size(block));
}

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(onMalloc, onFree);

}  // namespace

#elif defined(__GLIBC__)

#include <malloc.h>

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* block) noexcept;

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr bool kWorks = true;

void* countBlock(void* block) {
  if (block != nullptr) countAllocation(malloc_usable_size(block));
  return block;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept {
  return countBlock(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  return countBlock(__libc_calloc(count, size));
}

// A moved block may exist twice while it is copied; it counts once, since that is what the program
// holds.
void* realloc(void* block, std::size_t size) noexcept {
  const std::size_t before = block != nullptr ? malloc_usable_size(block) : 0;
  void* const moved = __libc_realloc(block, size);
  if (moved == nullptr && size != 0) return nullptr;
  countRelease(before);
  return countBlock(moved);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return countBlock(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return countBlock(__libc_memalign(alignment, size));
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  void* const made = countBlock(__libc_memalign(alignment, size));
  if (made == nullptr) return ENOMEM;
  *block = made;
  return 0;
}

void free(void* block) noexcept {
  if (block != nullptr) countRelease(malloc_usable_size(block));
  __libc_free(block);
}

}  // extern "C"

#else

namespace {
constexpr bool kWorks = false;
}

#endif

namespace workloads {

HeapMeter::HeapMeter() {
  held = 0;
  most = 0;
  counting = true;
}

HeapMeter::~HeapMeter() {
  counting = false;
}

std::size_t HeapMeter::peak() const {
  return static_cast<std::size_t>(most.load());
}

std::ptrdiff_t HeapMeter::growth() const {
  return static_cast<std::ptrdiff_t>(held.load());
}

bool HeapMeter::works() {
  return kWorks;
}

}  // namespace workloads
