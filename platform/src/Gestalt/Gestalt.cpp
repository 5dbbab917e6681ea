// SPDX-License-Identifier: Apache-2.0
//
// Gestalt: the values of the known selectors. Stateless.
#include <cstdint>
#include <cstring>

#include <Gestalt.h>

namespace {

// Copies an integer: the caller's variable may be unaligned.
template <typename Integer>
void store(void* response, SInt32 value) {
  const Integer stored = value;
  std::memcpy(response, &stored, sizeof stored);
}

}  // namespace

OSErr GestaltOfSize(OSType selector, void* response, unsigned long size) {
  if (response == nullptr || (size != sizeof(SInt32) && size != sizeof(SInt64))) return paramErr;
  if (selector != gestaltSpeechAttr) return gestaltUndefSelectorErr;
  constexpr SInt32 kAttributes = 1 << gestaltSpeechMgrPresent;
  if (size == sizeof(SInt32)) {
    store<SInt32>(response, kAttributes);
  } else {
    store<SInt64>(response, kAttributes);
  }
  return noErr;
}

OSErr Gestalt(OSType selector, SInt32* response) {
  return GestaltOfSize(selector, response, sizeof *response);
}
