// SPDX-License-Identifier: Apache-2.0
//
// The engine library's allocator: malloc with zeroed blocks. A size of 0 counts as 1, so that null
// always means out of memory.
#include <cstdlib>

#include "cst.h"

void* cst_safe_alloc(size_t size) {
  return std::calloc(1, size > 0 ? size : 1);
}

void* cst_safe_realloc(void* memory, size_t size) {
  return std::realloc(memory, size > 0 ? size : 1);
}

void cst_free(void* memory) {
  std::free(memory);
}
