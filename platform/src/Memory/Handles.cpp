// SPDX-License-Identifier: Apache-2.0
//
// Handles: a record whose first member is the address of the block, so that the address of the
// record is the handle. Each thread has its own last result.
#include <algorithm>
#include <cstdlib>
#include <new>

#include <MacMemory.h>

namespace {

struct Block {
  Ptr data;
  Size size;
};

thread_local OSErr lastResult = noErr;

Block* blockOf(Handle handle) {
  return reinterpret_cast<Block*>(handle);
}

// At least 1: an empty block has an address too.
std::size_t roomFor(Size size) {
  return static_cast<std::size_t>(std::max<Size>(size, 1));
}

}  // namespace

// Clears the block too: no caller reads uninitialised memory.
Handle NewHandle(Size byteCount) {
  return NewHandleClear(byteCount);
}

Handle NewHandleClear(Size byteCount) {
  lastResult = byteCount < 0 ? paramErr : memFullErr;
  if (byteCount < 0) return nullptr;
  auto* const data = static_cast<Ptr>(std::calloc(roomFor(byteCount), 1));
  auto* const block = new (std::nothrow) Block{data, byteCount};
  // Either allocation may fail; the other one is undone.
  if (data == nullptr || block == nullptr) {
    std::free(data);
    delete block;
    return nullptr;
  }
  lastResult = noErr;
  return &block->data;
}

void DisposeHandle(Handle h) {
  lastResult = noErr;
  if (h == nullptr) return;
  std::free(blockOf(h)->data);
  delete blockOf(h);
}

Size GetHandleSize(Handle h) {
  lastResult = h == nullptr ? OSErr{nilHandleErr} : OSErr{noErr};
  return h == nullptr ? 0 : blockOf(h)->size;
}

void SetHandleSize(Handle h, Size newSize) {
  lastResult = h == nullptr ? OSErr{nilHandleErr} : OSErr{paramErr};
  if (h == nullptr || newSize < 0) return;
  auto* const data = static_cast<Ptr>(std::realloc(blockOf(h)->data, roomFor(newSize)));
  lastResult = data == nullptr ? memFullErr : noErr;
  // realloc leaves the old block valid if it fails.
  if (data == nullptr) return;
  *blockOf(h) = {data, newSize};
}

void HLock(Handle h) {
  lastResult = h == nullptr ? OSErr{nilHandleErr} : OSErr{noErr};
}

void HUnlock(Handle h) {
  lastResult = h == nullptr ? OSErr{nilHandleErr} : OSErr{noErr};
}

OSErr MemError() {
  return lastResult;
}
