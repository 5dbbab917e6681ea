// SPDX-License-Identifier: Apache-2.0
//
// Bytes that arrive at kavrel-synth. Input and checks: see Frames.h.
#include "Frames.h"
#include "Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return fuzz::checkFrames(kavrel::synth_protocol::Side::Synthesiser, fuzz::viewOf(data, size));
}
