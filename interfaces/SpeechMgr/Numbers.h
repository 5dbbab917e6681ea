// SPDX-License-Identifier: Apache-2.0
//
// Numbers in commands and markup, read and written as a text stream in its default state does, but
// in the classic locale whatever locale the client has set.
//
// Threads: no state; safe to call from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Returns `value` with six significant digits, in general notation, without trailing zeros: "0.99",
// "20", "-30", "1e+07".
std::string numberText(double value);

// Returns the number at the start of `text`, after white space. Returns 0 if there is none or if it
// is incomplete ("1e"). A number that is too large reads as the largest double, one that is too
// small as 0.
double readNumber(std::string_view text);

// Returns the decimal integer at the start of `text`, after white space, or 0 if there is none. A
// number out of range is clamped.
std::int32_t readInteger(std::string_view text);
