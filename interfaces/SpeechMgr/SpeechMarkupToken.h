// SPDX-License-Identifier: Apache-2.0
//
// SpeechMarkupToken: an entry of a token list. A command as found in the text, the markup that
// replaces it, and where it starts. Both halves are always there: markup that is set takes the
// place of the bytes that the command covers, markup that is not set only removes them. An entry
// with a default command covers nothing and only inserts.
//
// A value class without locks.
#pragma once

#include "AppleMarkupToken.h"
#include "SSMLMarkupToken.h"

class SpeechMarkupToken {
 public:
  SpeechMarkupToken() = default;
  virtual ~SpeechMarkupToken() = default;
  SpeechMarkupToken(const SpeechMarkupToken&) = default;
  SpeechMarkupToken& operator=(const SpeechMarkupToken&) = default;
  SpeechMarkupToken(SpeechMarkupToken&&) = default;
  SpeechMarkupToken& operator=(SpeechMarkupToken&&) = default;

  void initAppleMarkupToken(AppleMarkupToken& token) { m_oAppleMarkupToken = token; }
  void initSSMLMarkupToken(SSMLMarkupToken& token) { m_oSSMLMarkupToken = token; }
  AppleMarkupToken getAppleMarkupToken() const { return m_oAppleMarkupToken; }
  SSMLMarkupToken getSSMLMarkupToken() const { return m_oSSMLMarkupToken; }

  // Index in the list's base string of the first byte that the command covers; -1 when never set.
  int getStartPos() const { return m_startPos; }
  void setStartPos(unsigned int position) { m_startPos = static_cast<int>(position); }

  // Debug dump to standard output.
  void print();

 private:
  AppleMarkupToken m_oAppleMarkupToken;
  SSMLMarkupToken m_oSSMLMarkupToken;
  int m_startPos = -1;
};
