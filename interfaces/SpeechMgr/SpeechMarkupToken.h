// SPDX-License-Identifier: Apache-2.0
//
// SpeechMarkupToken: an entry of a token list: a command as found in the text, the markup that
// replaces it, and its start position.
//
// An entry always has both halves. If the markup is set, it replaces the bytes that the command
// covers; if it is not set, the bytes are removed. An entry with a default command covers nothing
// and only inserts.
//
// Threads: a value class without locks.
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

  // Position in the list's base string of the first byte that the command covers; -1 if never set.
  int getStartPos() const { return m_startPos; }
  void setStartPos(unsigned int position) { m_startPos = static_cast<int>(position); }

  // Debug dump to standard output.
  void print();

 private:
  AppleMarkupToken m_oAppleMarkupToken;
  SSMLMarkupToken m_oSSMLMarkupToken;
  int m_startPos = -1;
};
