// SPDX-License-Identifier: Apache-2.0
#include "FailingAllocator.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long kNever = std::numeric_limits<long>::max();

std::atomic<bool> counting = false;
std::atomic<long> requests_made = 0;
std::atomic<long> requests_failed = 0;
std::atomic<long> first_to_fail = kNever;
std::atomic<long> last_to_fail = kNever;
std::atomic<bool (*)()> spared_where = nullptr;
thread_local int t_spared = 0;

// Counts this request and returns whether it must fail. Uses atomics only: a lock could allocate or
// deadlock inside malloc.
bool mustFail() {
  if (!counting.load(std::memory_order_relaxed) || t_spared > 0) return false;
  bool (*const isSpared)() = spared_where.load(std::memory_order_relaxed);
  if (isSpared != nullptr && isSpared()) return false;
  const long number = ++requests_made;
  if (number < first_to_fail || number > last_to_fail) return false;
  ++requests_failed;
  return true;
}

}  // namespace

namespace allocation {

Failures::Failures(long n, Times times) {
  ++t_spared;
  requests_made = 0;
  requests_failed = 0;
  first_to_fail = n == 0 ? kNever : n;
  last_to_fail = times == Times::Once && n != 0 ? n : kNever;
  counting = true;
}

Failures::~Failures() {
  counting = false;
  --t_spared;
}

long Failures::requests() const {
  return requests_made;
}

long Failures::met() const {
  return requests_failed;
}

Exposed::Exposed() : m_before(t_spared) {
  t_spared = 0;
}

Exposed::~Exposed() {
  t_spared = m_before;
}

Spared::Spared() {
  ++t_spared;
}

Spared::~Spared() {
  --t_spared;
}

void spareWhere(bool (*isSpared)()) {
  spared_where = isSpared;
}

}  // namespace allocation

#if defined(KAVREL_SANITIZED) || !defined(__GLIBC__)

// Replaces operator new only, since malloc belongs to the sanitizer. Every form is replaced: the
// sanitizer defines all of them, and a block must not be released by a form that it was not made
// by.

namespace {

void* requested(std::size_t size) noexcept {
  return mustFail() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* required(std::size_t size) {
  void* const block = requested(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) {
  return required(size);
}

void* operator new[](std::size_t size) {
  return required(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return requested(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return requested(size);
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete[](void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

#else

// Replaces malloc itself, which operator new uses, so requests by C libraries fail, too.

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

void* noMemory() {
  errno = ENOMEM;
  return nullptr;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept {
  return mustFail() ? noMemory() : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  return mustFail() ? noMemory() : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
  return mustFail() ? noMemory() : __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return mustFail() ? noMemory() : __libc_memalign(alignment, size);
}

}  // extern "C"

#endif
