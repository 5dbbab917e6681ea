// SPDX-License-Identifier: Apache-2.0
//
// AppleMarkupConverter: turns a caller's text with embedded commands into the text for the engine,
// either without the commands or with every supported one rewritten as SSML, and maps positions in
// it back to the caller's text.
//
// One converter serves one text. The results are made when they are first asked for.
//
// Threads: one at a time.
// Failures: AppleSynthesisError, std::out_of_range and std::bad_alloc leave every function that
// converts; the converter then still counts as not having converted.
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
  enum output_t { PLAINTEXT = 0, SSML = 1 };

  // All `ph` attributes of a text together, in bytes. Phones are carried over from region to
  // region, so that a hostile text could make them grow with the cube of its length.
  static constexpr std::size_t kMaxPhones = std::size_t{16} * 1024 * 1024;

  AppleMarkupConverter() = default;
  // `text` is prepared text (see PreprocessText). The first two build the phone tables when nobody
  // has. The third puts commands for the settings in front of the text.
  AppleMarkupConverter(const std::string& text, output_t output);
  AppleMarkupConverter(const std::string& text, output_t output, const SpeechMgrEnv& env);
  virtual ~AppleMarkupConverter() = default;
  AppleMarkupConverter(const AppleMarkupConverter&) = default;
  AppleMarkupConverter& operator=(const AppleMarkupConverter&) = default;
  AppleMarkupConverter(AppleMarkupConverter&&) = default;
  AppleMarkupConverter& operator=(AppleMarkupConverter&&) = default;

  // Converts, even when that has been done.
  void convert();

  // The converted text; converts the first time.
  std::string getConvertedText();

  // The same, not copied; good as long as the converter.
  const std::string& convertedText();

  // A new copy of the position map, which the caller deletes; converts the first time.
  OffsetMap* getOffsets();

  // Where each byte of the converted text came from in the text given, markup counting as standing
  // in front of the byte that follows it; converts the first time.
  PositionMap getPositions();

  output_t getOutputFormat() const { return m_output; }

  // The commands that stand for the settings.
  std::string defaultsInitStr();

  // ---- Operations that the passes share; "index" is a place in the token list ----

  bool appleTokenMatches(const TokenList& tokens, int index,
                         AppleMarkupToken::AppleTagType type) const {
    return tokens.typeAt(index) == type;
  }

  // The first known command at or behind `start`; 0 when there is none.
  int nextAppleToken(const TokenList& tokens, int start) const;

  // Where the first word behind the run of commands that begins at `index` ends, and the command
  // that follows the run (0: none). Commands with at most one byte between them are a run.
  // Rationale: in front of a command the word loses its last byte.
  void endOfFirstWordAfter(const TokenList& tokens, int index, unsigned int* textPos,
                           int* tokenIndex) const;

  void insertSSMLBeforeToken(TokenList& tokens, int index, const std::string& ssml);
  void insertSSMLAfterToken(TokenList& tokens, int index, const std::string& ssml);

  // Wraps every stretch of text between two commands, from an on-command to an off-command or a
  // reset, in a pair of tags. Elements never span a command.
  void convertBinaryCommands(TokenList& tokens, AppleMarkupToken::AppleTagType onType,
                             AppleMarkupToken::AppleTagType offType, const std::string& openTag,
                             const std::string& closeTag);

  // ---- The passes ----

  void convertEmphasisTags(TokenList& tokens);
  void convertCharTags(TokenList& tokens);
  void convertNmbrTags(TokenList& tokens);
  void convertSilenceTags(TokenList& tokens);
  void convertSyncTags(TokenList& tokens);

  // Wraps every stretch of text between two commands, from a command of `tagType` on, in a prosody
  // element with the value in force. Signed arguments change the value, others set it.
  // Rationale: a reset sets the running value to zero, not back to `startVal`.
  void convertProsodyTags(TokenList& tokens, AppleMarkupToken::AppleTagType tagType,
                          std::string attribute, std::string units, double (*convertUnits)(double),
                          double startVal);
  void convertVolumeTags(TokenList& tokens);
  void convertRateTags(TokenList& tokens);
  void convertPitchBaseTags(TokenList& tokens);
  void convertPitchRangeTags(TokenList& tokens);

  // From 0 … 1 to percent.
  static double convertVolumeUnits(double volume);
  // Words per minute either way.
  static double convertRateUnits(double rate);
  // From note number (60 is middle C) to Hz.
  static double midiToHz(double note);

  // Drops tune data up to the next input mode or reset.
  void ignoreTunePhonesTags(TokenList& tokens);
  // Drops the text behind a skip-context command, up to the next context command or reset.
  void ignoreContextTags(TokenList& tokens, AppleMarkupToken::AppleTagType contextType);

  // Wraps phoneme input in phoneme elements whose `ph` spells it in engine phones.
  // Rationale: phones are carried over, so each element begins with those of the ones before it.
  void convertPhoneTags(TokenList& tokens);

  // The engine phones for the bytes `start` … `end`, the last one included, separated by blanks.
  // Throws AppleSynthesisError (BAD_PHONE_SEQUENCE) for what the phone table does not hold.
  std::string convertPhones(const std::string& applePhones, unsigned int start, unsigned int end);

 private:
  // A run of commands: where it ends in the text, and the command that follows it (0: none).
  struct CommandRun {
    unsigned int end = 0;
    int next = 0;
    // The commands that lead to this end, as indices; empty at first.
    int from = 1;
    int to = 0;
  };

  CommandRun commandRun(const TokenList& tokens, int index, const CommandRun& known) const;
  unsigned int endOfWord(const TokenList& tokens, unsigned int textPos) const;
  bool wrapStretch(TokenList& tokens, int& index, TokenList::MarkupId open,
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
  bool m_didConversion = false;
};
