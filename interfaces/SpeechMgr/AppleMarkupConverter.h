// SPDX-License-Identifier: Apache-2.0
//
// AppleMarkupConverter: turns a caller's text with embedded commands into the text for the engine,
// and maps positions in it back to the caller's text.
//
// The output is either the text without the commands (PLAINTEXT) or the text with every supported
// command rewritten as SSML (SSML). One converter serves one text. The results are made when they
// are first requested.
//
// Algorithm: a fixed sequence of passes over a TokenList. Each pass inserts markup before or after
// commands; the list then yields the text and the maps. The passes are in ModePasses.cpp,
// ProsodyPasses.cpp and PhonemePass.cpp.
//
// Threads: one thread at a time.
// Failures: every function that converts may throw AppleSynthesisError, std::out_of_range or
// std::bad_alloc; the converter then still counts as not converted.
#pragma once

#include <string>
#include <vector>

#include "AppleMarkupToken.h"
#include "OffsetMap.h"
#include "PositionMap.h"
#include "SpeechMgrEnv.h"
#include "TokenList.h"

class AppleMarkupConverter {
 public:
  // ---- The given interface: its names and signatures are fixed

  enum output_t { PLAINTEXT = 0, SSML = 1 };

  AppleMarkupConverter() = default;
  // `text` is prepared text (see PreprocessText). Both build the phone tables if they are empty.
  AppleMarkupConverter(const std::string& text, output_t output);
  // Also puts commands for the settings before the text.
  AppleMarkupConverter(const std::string& text, output_t output, const SpeechMgrEnv& env);
  virtual ~AppleMarkupConverter() = default;
  AppleMarkupConverter(const AppleMarkupConverter&) = default;
  AppleMarkupConverter& operator=(const AppleMarkupConverter&) = default;
  AppleMarkupConverter(AppleMarkupConverter&&) = default;
  AppleMarkupConverter& operator=(AppleMarkupConverter&&) = default;

  // Converts the text, even if it has been converted already.
  void convert();

  // Returns the converted text; converts if necessary.
  std::string getConvertedText();

  // Returns a new copy of the offset map; the caller deletes it. Converts if necessary.
  OffsetMap* getOffsets();

  output_t getOutputFormat() const { return m_output; }

  // Returns the commands that express the settings.
  std::string defaultsInitStr();

  // Operations that the passes share. "index" is an index in the token list.

  bool appleTokenMatches(const TokenList& tokens, int index,
                         AppleMarkupToken::AppleTagType type) const {
    return tokens.typeAt(index) == type;
  }

  // Returns the index of the first known command at or after `start`, or 0 if there is none.
  int nextAppleToken(const TokenList& tokens, int start) const;

  // Finds the run of commands that begins at `index`: commands with at most one byte between them.
  // `*textPos` receives the end of the first word after the run, `*tokenIndex` the command that
  // follows the run (0: none).
  // Rationale: before a command the word loses its last byte.
  void endOfFirstWordAfter(const TokenList& tokens, int index, unsigned int* textPos,
                           int* tokenIndex) const;

  void insertSSMLBeforeToken(TokenList& tokens, int index, const std::string& ssml);
  void insertSSMLAfterToken(TokenList& tokens, int index, const std::string& ssml);

  // From each on-command to the next off-command or reset, wraps the text between every two
  // commands in a pair of tags. Elements never span a command.
  void convertBinaryCommands(TokenList& tokens, AppleMarkupToken::AppleTagType onType,
                             AppleMarkupToken::AppleTagType offType, const std::string& openTag,
                             const std::string& closeTag);

  // Passes for modes and events.

  void convertEmphasisTags(TokenList& tokens);
  void convertCharTags(TokenList& tokens);
  void convertNmbrTags(TokenList& tokens);
  void convertSilenceTags(TokenList& tokens);
  void convertSyncTags(TokenList& tokens);

  // Passes for prosody.

  // From the first command of `tagType` on, wraps the text between every two commands in a prosody
  // element with the current value. A signed argument changes the value, any other sets it.
  // `startVal` is the value before the first command, `convertUnits` makes the attribute's number.
  // Rationale: a reset sets the current value to zero, not back to `startVal`.
  void convertProsodyTags(TokenList& tokens, AppleMarkupToken::AppleTagType tagType,
                          std::string attribute, std::string units, double (*convertUnits)(double),
                          double startVal);
  void convertVolumeTags(TokenList& tokens);
  void convertRateTags(TokenList& tokens);
  void convertPitchBaseTags(TokenList& tokens);
  void convertPitchRangeTags(TokenList& tokens);

  // From 0 … 1 to percent.
  static double convertVolumeUnits(double volume);
  // Words per minute in both; writes a diagnostic line.
  static double convertRateUnits(double rate);
  // From note number (60 is middle C) to Hz.
  static double midiToHz(double note);

  // Passes that drop text.

  // Drops tune data up to the next input mode or reset.
  void ignoreTunePhonesTags(TokenList& tokens);
  // Drops the text after a skip-context command, up to the next context command or reset.
  void ignoreContextTags(TokenList& tokens, AppleMarkupToken::AppleTagType contextType);

  // The pass for phoneme input: wraps it in phoneme elements whose `ph` attribute spells it in
  // engine phones. Throws AppleSynthesisError (BAD_PHONE_SEQUENCE).
  // Rationale: phones are carried over, so each element begins with the phones of those before it.
  void convertPhoneTags(TokenList& tokens);

  // Returns the engine phones for the bytes `start` … `end` (inclusive), separated by blanks.
  // Throws AppleSynthesisError (BAD_PHONE_SEQUENCE) if the phone table does not cover the bytes.
  std::string convertPhones(const std::string& applePhones, unsigned int start, unsigned int end);

  // ---- Used inside the plug-in

  // Declares the text to be UTF-8: a word that loses its last byte loses its last character. Called
  // before the conversion.
  void useUtf8() { m_isUtf8 = true; }

  // Limit of the total size of all `ph` attributes of a text, in bytes. Phones are carried over
  // from region to region, so a hostile text could make them grow with the cube of its length.
  static constexpr std::size_t kMaxPhones = std::size_t{16} * 1024 * 1024;

  // As getConvertedText, without a copy; valid while the converter exists.
  const std::string& convertedText();

  // Returns the origin of each byte of the converted text in the text given to the constructor.
  // The origin of markup is the position before which it is inserted. Converts if necessary.
  PositionMap getPositions();

 private:
  // A run of commands: its end in the text, and the command that follows it (0: none).
  struct CommandRun {
    unsigned int end = 0;
    int next = 0;
    // The commands that lead to this end, as indices; empty at first.
    int from = 1;
    int to = 0;
  };

  CommandRun findCommandRun(const TokenList& tokens, int index, const CommandRun& known) const;
  unsigned int endOfWord(const TokenList& tokens, unsigned int textPos) const;
  std::size_t startOfCharacter(const std::string& text, std::size_t p, std::size_t least) const;
  bool wrapUpToNextCommand(TokenList& tokens, int& index, TokenList::MarkupId open,
                           TokenList::MarkupId close);
  int convertPhoneRegion(TokenList& tokens, int index, std::string& phonemes, std::size_t& written);
  void removeCommandsInPhonemes(TokenList& tokens);
  void runPasses(TokenList& tokens);

  SpeechMgrEnv m_defaults;
  bool m_haveDefaults = false;
  output_t m_output = PLAINTEXT;
  std::string m_original;
  TokenList m_tokens;
  std::string m_converted;
  OffsetMap m_offsets;
  bool m_isUtf8 = false;
  bool m_didConversion = false;
};
