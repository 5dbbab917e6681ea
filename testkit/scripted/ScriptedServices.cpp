// SPDX-License-Identifier: Apache-2.0
//
// The functions of cst.h that the scripted engine counts and records: allocator, mutexes,
// diagnostics. Strings and token streams are the engine's own code, on this allocator.

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ScriptedState.h"

unsigned int cst_diag_mask = 0;
int cst_diag_level = 0;

using namespace scripted;

// ---- Allocator

namespace {

constexpr std::uint64_t kLive = 0x6B61767265CA11ED;
constexpr std::uint64_t kReleased = 0xDEADB10CDEADB10C;

// Precedes every block of the allocator.
struct alignas(std::max_align_t) Header {
  std::uint64_t mark;
  std::size_t size;
  int epoch;  // the number of resets at the allocation
};

Header* headerOf(void* memory) {
  return static_cast<Header*>(memory) - 1;
}

// Returns whether `memory` is an allocated block; records a violation if not.
bool isLive(void* memory, const char* function) {
  if (headerOf(memory)->mark == kLive) return true;
  State& state = State::get();
  const Lock held(state.m_lock);
  state.violation(std::string(function) + " of memory that is not the allocator's, or is released");
  return false;
}

// Blocks from before a reset are not counted: their owner may free them at any time.
void countBlock(Header* header, int change) {
  State& state = State::get();
  const Lock held(state.m_lock);
  if (change > 0) header->epoch = state.m_epoch;
  if (header->epoch == state.m_epoch) state.m_blocks += change;
}

bool mayAllocate(const char* function, std::size_t size) {
  return State::get()
      .beginService(Op::Alloc,
                    [&] { return std::string(function) + '(' + std::to_string(size) + ')'; })
      .usual;
}

}  // namespace

void* cst_safe_alloc(size_t size) {
  const InEngine scope;
  if (!mayAllocate("cst_safe_alloc", size) || size > SIZE_MAX - sizeof(Header)) return nullptr;
  auto* const header = static_cast<Header*>(std::calloc(1, sizeof(Header) + size));
  if (!header) return nullptr;
  header->mark = kLive;
  header->size = size;
  countBlock(header, 1);
  return header + 1;
}

void* cst_safe_realloc(void* memory, size_t size) {
  const InEngine scope;
  if (!memory) return cst_safe_alloc(size);
  if (!mayAllocate("cst_safe_realloc", size) || size > SIZE_MAX - sizeof(Header)) return nullptr;
  if (!isLive(memory, "cst_safe_realloc")) return nullptr;
  auto* const header = static_cast<Header*>(std::realloc(headerOf(memory), sizeof(Header) + size));
  if (!header) return nullptr;
  header->size = size;
  return header + 1;
}

void cst_free(void* memory) {
  const InEngine scope;
  if (!memory) {
    State& state = State::get();
    const Lock held(state.m_lock);
    state.violation("cst_free of null");
    return;
  }
  State::get().beginService(Op::Free, [] { return std::string("cst_free(block)"); });
  if (!isLive(memory, "cst_free")) return;
  Header* const header = headerOf(memory);
  countBlock(header, -1);
  header->mark = kReleased;
  std::free(header);
}

// ---- Mutexes

namespace {

// The locks that a thread holds and has taken since the last reset. A lock taken before the reset
// is not counted when it is released.
struct LocksOfThread {
  int epoch = 0;
  int count = 0;
};

void countLock(int result, int change) {
  static thread_local LocksOfThread own;
  if (result != 0) return;
  State& state = State::get();
  const Lock held(state.m_lock);
  if (own.epoch != state.m_epoch) own = {state.m_epoch, 0};
  if (own.count + change < 0) return;
  own.count += change;
  state.m_heldLocks += change;
}

}  // namespace

int mutex_lock(pthread_mutex_t* mutex) {
  const InEngine scope;
  const bool usual =
      State::get()
          .beginService(Op::MutexLock, [] { return std::string("mutex_lock(mutex)"); })
          .usual;
  const int result = pthread_mutex_lock(mutex);
  countLock(result, 1);
  return usual ? result : EINVAL;
}

int mutex_unlock(pthread_mutex_t* mutex) {
  const InEngine scope;
  const bool usual =
      State::get()
          .beginService(Op::MutexUnlock, [] { return std::string("mutex_unlock(mutex)"); })
          .usual;
  const int result = pthread_mutex_unlock(mutex);
  countLock(result, -1);
  return usual ? result : EINVAL;
}

int mutex_destroy(pthread_mutex_t* mutex) {
  const InEngine scope;
  const bool usual =
      State::get()
          .beginService(Op::MutexDestroy, [] { return std::string("mutex_destroy(mutex)"); })
          .usual;
  const int result = pthread_mutex_destroy(mutex);
  return usual ? result : EINVAL;
}

// ---- Diagnostics

namespace {

// Adds to the diagnostic line that this thread is writing. The calls for one line come from one
// thread; cst_errmsg completes it.
template <class Change>
void note(const char* call, Change change) {
  State& state = State::get();
  const Lock held(state.m_lock);
  Diagnostic& line = state.m_unfinishedDiagnostics[std::this_thread::get_id()];
  line.calls.emplace_back(call);
  change(line);
}

}  // namespace

void cst_dbg_timestamp(void) {
  const InEngine scope;
  note("timestamp", [](Diagnostic&) {});
}

void cst_dbg_ffl(const char* file, const char* function, int line) {
  const InEngine scope;
  note("ffl", [&](Diagnostic& diagnostic) {
    diagnostic.file = file ? file : "";
    diagnostic.function = function ? function : "";
    diagnostic.line = line;
  });
}

void cst_dbg_context(unsigned int area) {
  const InEngine scope;
  note("context", [&](Diagnostic& diagnostic) { diagnostic.area = area; });
}

void cst_errmsg(const char* format, ...) {
  const InEngine scope;
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyzer does not recognise va_start.
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);

  State& state = State::get();
  const Lock held(state.m_lock);
  Diagnostic line;
  if (auto unfinished = state.m_unfinishedDiagnostics.extract(std::this_thread::get_id())) {
    line = std::move(unfinished.mapped());
  }
  line.calls.emplace_back("errmsg");
  line.text = std::move(text);
  line.thread = std::this_thread::get_id();
  state.m_diagnostics.push_back(std::move(line));
}
