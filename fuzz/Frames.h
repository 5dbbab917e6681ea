// SPDX-License-Identifier: Apache-2.0
//
// The frame reader of one side of the synthesiser's protocol (synth/synth_protocol.h), given any
// bytes in any pieces, and compared with a second, literal reading of the same bytes.
//
// Input: a line of numbers, the sizes of the pieces in which the bytes arrive, used in turn (0 and
// an empty line: as much as there is room for), then the bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "synth/synth_protocol.h"

namespace fuzz {

// Aborts the process if the reader breaks a rule. Returns 0.
int checkFrames(kavrel::synth_protocol::Side side, std::string_view input);

}  // namespace fuzz
