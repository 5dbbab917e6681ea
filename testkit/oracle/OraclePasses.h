// SPDX-License-Identifier: Apache-2.0
//
// The oracle's conversion passes over a token list. All functions may throw Failure.
#pragma once

#include <cstddef>
#include <string>

#include "OracleTokens.h"

namespace oracle {

// Limit of the phones in the output for one text, in bytes.
constexpr std::size_t kPhonesLimit = std::size_t{16} * 1024 * 1024;

// Write and read a number as a standard stream does in its default state. Text that is not a number
// reads as 0.
std::string numberText(double value);
double readNumber(const std::string& text);

// Runs all passes in their fixed order.
void runPasses(TokenList& tokens, const Settings& settings);

// The passes one by one, in their order. An argument `kind` names the commands of the pass.
void convertEmphasisTags(TokenList& tokens);
void convertCharTags(TokenList& tokens);
void convertNmbrTags(TokenList& tokens);
void convertSilenceTags(TokenList& tokens);
void convertSyncTags(TokenList& tokens);
void convertVolumeTags(TokenList& tokens);
void convertRateTags(TokenList& tokens);
void convertPitchBaseTags(TokenList& tokens, long pitchBase);
void convertPitchRangeTags(TokenList& tokens, long pitchRange);
void ignoreTunePhonesTags(TokenList& tokens);
void ignoreContextTags(TokenList& tokens, Kind context);
void convertPhoneTags(TokenList& tokens);

// nextCommand() returns this if no command follows; index 0 never follows another one.
constexpr int kNoCommand = 0;

// The first index not less than `from` whose kind is not Unknown.
int nextCommand(const TokenList& tokens, int from);

// Insert markup before or after the token at `index`.
void insertBefore(TokenList& tokens, int index, const std::string& ssml);
void insertAfter(TokenList& tokens, int index, const std::string& ssml);

}  // namespace oracle
