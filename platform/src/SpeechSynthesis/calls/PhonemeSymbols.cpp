// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/calls/PhonemeSymbols.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace platform {
namespace {

// Fills a Pascal string; the bytes after the characters become 0.
template <std::size_t Size>
void setPascalString(unsigned char (&string)[Size], std::string_view text) {
  std::fill(std::begin(string), std::end(string), static_cast<unsigned char>(0));
  string[0] = static_cast<unsigned char>(text.copy(reinterpret_cast<char*>(string + 1), Size - 1));
}

}  // namespace

// The records are copied one by one: in the packed descriptor they are not aligned.
Handle newPhonemeDescriptor() {
  const std::size_t start = offsetof(PhonemeDescriptor, thePhonemes);
  Handle const handle =
      NewHandle(static_cast<Size>(start + kPhonemeSymbols.size() * sizeof(PhonemeInfo)));
  if (handle == nullptr) return nullptr;
  const auto count = static_cast<SInt16>(kPhonemeSymbols.size());
  std::memcpy(*handle, &count, sizeof count);
  for (std::size_t code = 0; code < kPhonemeSymbols.size(); ++code) {
    const PhonemeSymbol& symbol = kPhonemeSymbols[code];
    PhonemeInfo info{};
    info.opcode = static_cast<SInt16>(code);
    setPascalString(info.phStr, symbol.symbol);
    setPascalString(info.exampleStr, symbol.example);
    info.hiliteStart = symbol.hiliteStart;
    info.hiliteEnd = symbol.hiliteEnd;
    std::memcpy(*handle + start + code * sizeof info, &info, sizeof info);
  }
  return handle;
}

}  // namespace platform
