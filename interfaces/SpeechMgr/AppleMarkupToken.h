// SPDX-License-Identifier: Apache-2.0
//
// AppleMarkupToken: one embedded command as written in a text ("[[rate 200]]"), split into words
// and classified. The passes of the converter interpret the arguments.
//
// Threads: a value class without locks. Failure: std::bad_alloc, and std::out_of_range where noted.
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

  // Sets the command's text (delimiters included), splits it and classifies it. A text that is not
  // recognised becomes UNKNOWN.
  void setTokenString(std::string token);
  std::string getTokenString() const { return m_token; }

  // Number of bytes of the text that the command covers. Initially the length of the command's
  // text.
  int getTokenStringSize() const { return m_size; }
  void setTokenStringSize(int size) { m_size = size; }

  AppleTagType getTokenType() const { return m_type; }

  // Makes the command a comment (COMMENT_TAG). Its words stay.
  void setTokenAsIgnoredText() { m_type = COMMENT_TAG; }

  // Returns the command word. Throws std::out_of_range if there is none.
  std::string getTokenClass() const;

  // Returns argument `index` (from 0), or an empty string if there is none. A sign is an argument
  // of its own: "-20" is the two arguments "-" and "20".
  std::string getTokenArg(int index) const;

  // Debug dump to standard output.
  void print() const;

 private:
  std::string m_token;
  int m_size = 0;
  std::vector<std::string> m_subTokens;  // the command word and its arguments
  AppleTagType m_type = UNKNOWN;
};

// Returns a copy in which the letters A to Z are lower case. Other bytes are unchanged, whatever
// the locale.
std::string tolower(const std::string& text);
