// SPDX-License-Identifier: Apache-2.0
//
// Numbers in commands and markup: as a text stream in its default state reads and writes them, in
// the classic locale whatever the client has set.
//
// Threads: no state.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Six significant digits, general notation, no trailing zeros: "0.99", "20", "-30", "1e+07".
std::string numberText(double value);

// The number at the start of `text`, white space aside; 0 when there is none, or it breaks off
// ("1e"). One that is too large reads as the largest.
double readNumber(std::string_view text);

// The decimal number at the start of `text`, likewise.
std::int32_t readInteger(std::string_view text);
