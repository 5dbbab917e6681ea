// SPDX-License-Identifier: Apache-2.0
//
// AppleMarkupToken: one embedded command as it stands in a text ("[[rate 200]]"), split into words
// and classified. What its arguments mean is for the passes of the converter to say.
//
// A value class without locks.
#pragma once

#include <string>
#include <vector>

class AppleMarkupToken {
 public:
  enum AppleTagType {
    CHAR_SPELLOUT_TAG = 0,
    CHAR_NORMAL_TAG = 1,
    COMMENT_TAG = 2,
    DELIM_TAG = 3,
    EMPHASIS_POSITIVE_TAG = 4,
    EMPHASIS_NONE_TAG = 5,
    PHONEME_TAG = 6,
    TUNE_PHONES_TAG = 7,
    TEXT_TAG = 8,
    NUMBER_SPELLOUT_TAG = 9,
    NUMBER_NORMAL_TAG = 10,
    PITCH_TAG = 11,
    PITCH_RANGE_TAG = 12,
    RATE_TAG = 13,
    RESET_TAG = 14,
    SILENCE_TAG = 15,
    SYNC_TAG = 16,
    VERSION_TAG = 17,
    VOLUME_TAG = 18,
    EXTENSION_TAG = 19,
    WORD_CONTEXT_TAG = 20,
    WORD_SKIP_CONTEXT_TAG = 21,
    TEXT_CONTEXT_TAG = 22,
    TEXT_SKIP_CONTEXT_TAG = 23,
    NORMAL_CONTEXT_TAG = 24,
    UNKNOWN = 25
  };

  AppleMarkupToken() = default;
  virtual ~AppleMarkupToken() = default;
  AppleMarkupToken(const AppleMarkupToken&) = default;
  AppleMarkupToken& operator=(const AppleMarkupToken&) = default;
  AppleMarkupToken(AppleMarkupToken&&) = default;
  AppleMarkupToken& operator=(AppleMarkupToken&&) = default;

  // Takes the command's text, delimiters included, splits and classifies it. Never fails: what is
  // not recognised is UNKNOWN.
  void setTokenString(std::string token);
  std::string getTokenString() const { return m_token; }

  // How many bytes of the text the command covers; the length of its text until it is changed.
  int getTokenStringSize() const { return m_size; }
  void setTokenStringSize(int size) { m_size = size; }

  AppleTagType getTokenType() const { return m_type; }

  // The command counts as a comment from now on.
  void setTokenAsIgnoredText() { m_type = COMMENT_TAG; }

  // The command word. Throws std::out_of_range when there is none.
  std::string getTokenClass() const;

  // Argument `index`, from 0; empty when there is none. A sign is an argument of its own: "-20" is
  // the arguments "-" and "20".
  std::string getTokenArg(int index) const;

  // Debug dump to standard output.
  void print() const;

 private:
  std::string m_token;
  int m_size = 0;
  std::vector<std::string> m_subTokens;  // the command word and its arguments
  AppleTagType m_type = UNKNOWN;
};

// A copy with the letters A to Z made small.
std::string tolower(const std::string& text);
