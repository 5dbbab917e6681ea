// SPDX-License-Identifier: Apache-2.0
//
// Handles: a record that begins with the block's address, so that its own address is the handle.
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

// Even of no bytes: every block has an address.
std::size_t roomFor(Size size) {
  return static_cast<std::size_t>(std::max<Size>(size, 1));
}

}  // namespace

Handle NewHandle(Size byteCount) {
  return NewHandleClear(byteCount);
}

Handle NewHandleClear(Size byteCount) {
  lastResult = byteCount < 0 ? paramErr : memFullErr;
  if (byteCount < 0) return nullptr;
  auto* const data = static_cast<Ptr>(std::calloc(roomFor(byteCount), 1));
  auto* const block = new (std::nothrow) Block{data, byteCount};
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
