// SPDX-License-Identifier: Apache-2.0
//
// PascalStrings: all conversions are two functions, which also work in place. Stateless.
#include <algorithm>
#include <cstring>

#include <TextUtils.h>

namespace {

constexpr std::size_t kLongest = 255;

}  // namespace

void CopyPascalStringToC(ConstStr255Param source, char* dest) {
  if (source == nullptr || dest == nullptr) return;
  // The length first: in place, the characters overwrite it.
  const std::size_t length = source[0];
  std::memmove(dest, source + 1, length);
  dest[length] = '\0';
}

void CopyCStringToPascal(const char* source, Str255 dest) {
  if (source == nullptr || dest == nullptr) return;
  const std::size_t length = std::min(std::strlen(source), kLongest);
  // The characters first: in place, the length overwrites the first of them.
  // NOLINTNEXTLINE(bugprone-not-null-terminated-result): its length ends a Pascal string
  std::memmove(dest + 1, source, length);
  dest[0] = static_cast<unsigned char>(length);
}

void p2cstrcpy(char* dest, ConstStr255Param source) {
  CopyPascalStringToC(source, dest);
}

void c2pstrcpy(Str255 dest, const char* source) {
  CopyCStringToPascal(source, dest);
}

StringPtr c2pstr(char* text) {
  auto* const pascalString = reinterpret_cast<StringPtr>(text);
  CopyCStringToPascal(text, pascalString);
  return pascalString;
}

char* p2cstr(StringPtr text) {
  auto* const cString = reinterpret_cast<char*>(text);
  CopyPascalStringToC(text, cString);
  return cString;
}

StringPtr C2PStr(char* text) {
  return c2pstr(text);
}

char* P2CStr(StringPtr text) {
  return p2cstr(text);
}
