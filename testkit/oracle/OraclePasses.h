// SPDX-License-Identifier: Apache-2.0
//
// The oracle's conversion passes over a token list. All throw Failure.
#pragma once

#include <cstddef>
#include <string>

#include "OracleTokens.h"

namespace oracle {

// All phones that one text may put into its output, in bytes.
constexpr std::size_t kPhonesLimit = std::size_t{16} * 1024 * 1024;

// A number as a text stream in its default state writes it and reads it. What does not read as a
// number is 0.
std::string numberText(double value);
double readNumber(const std::string& text);

// All passes in their fixed order.
void runPasses(TokenList& tokens, const Settings& settings);

// The last of them.
void convertPhoneTags(TokenList& tokens);

// nextCommand()'s answer when no command follows. No command can follow at index 0.
constexpr int kNoCommand = 0;

// The first index from `from` on whose kind is not Unknown.
int nextCommand(const TokenList& tokens, int from);

void insertBefore(TokenList& tokens, int index, const std::string& ssml);
void insertAfter(TokenList& tokens, int index, const std::string& ssml);

}  // namespace oracle
