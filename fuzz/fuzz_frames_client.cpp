// SPDX-License-Identifier: Apache-2.0
//
// Bytes that arrive at libkavrel. Input and checks: see Frames.h.
#include "Frames.h"
#include "Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return fuzz::checkFrames(kavrel::synth_protocol::Side::Client, fuzz::viewOf(data, size));
}
