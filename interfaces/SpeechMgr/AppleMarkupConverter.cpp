// SPDX-License-Identifier: Apache-2.0
//
// The converter's frame: the base text, the order of the passes, the results, and the operations
// that the passes share.
#include "AppleMarkupConverter.h"

#include <algorithm>
#include <memory>

#include "Diagnostics.h"
#include "Numbers.h"
#include "SpeechMgrUtils.h"
#include "base/text/Utf8.h"

namespace {

// Appended to every text, so that every command has a next command and every region an end.
const std::string kReset = "[[rset 0]]";

constexpr double kNormalRate = 180.0;

// White space of the classic locale, whatever locale the client has set.
bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

AppleMarkupConverter::AppleMarkupConverter(const std::string& text, output_t output)
    : m_output(output), m_original(text) {
  if (gBrevoldPhones.empty()) BuildPhoneTranslationTables();
}

AppleMarkupConverter::AppleMarkupConverter(const std::string& text, output_t output,
                                           const SpeechMgrEnv& env)
    : AppleMarkupConverter(text, output) {
  m_defaults = env;
  m_haveDefaults = true;
}

// ---- Conversion

// Only settings that differ from the defaults give a command, except for the volume, which always
// does. The numbers are relative to the start values of the prosody passes.
std::string AppleMarkupConverter::defaultsInitStr() {
  std::string prefix;
  if (m_defaults.speakPhones) prefix += "[[inpt PHON]]";
  if (m_defaults.spellOut) prefix += "[[char LTRL]]";
  if (m_defaults.sayDigits) prefix += "[[nmbr LTRL]]";
  prefix += "[[volm -" + numberText(m_defaults.volume / -100.0 + 1.0) + "]]";

  const double rate = m_defaults.wpm - kNormalRate;
  if (rate > 0) prefix += "[[rate +" + numberText(rate) + "]]";
  if (rate < 0) prefix += "[[rate " + numberText(rate) + "]]";

  // Rationale: a fixed step, however large the difference is.
  const auto pitch = static_cast<double>(m_defaults.pitchBase - m_defaults.pitchAssumedBase);
  if (pitch > 0) prefix += "[[pbas +0.0025]]";
  if (pitch < 0) prefix += "[[pbas -0.0025]]";
  return prefix;
}

// The base text is the commands for the settings, the text given, and the final reset. Both
// additions are recorded as inserted command text, so that they do not shift the caller's
// positions.
void AppleMarkupConverter::convert() {
  const std::string prefix = m_haveDefaults ? defaultsInitStr() : std::string();
  const auto prefixLength = static_cast<int>(prefix.size());
  if (m_haveDefaults) m_offsets.insert(0, prefixLength, OffsetMap::APPLE_TOKEN, true);

  std::string base;
  base.reserve(prefix.size() + m_original.size() + kReset.size());
  base.append(prefix).append(m_original).append(kReset);
  m_tokens.create(std::move(base), m_offsets);

  if (m_output == SSML) runPasses(m_tokens);
  m_tokens.compact();

  // The list comes with the records made so far and adds its own.
  m_converted = m_tokens.getConvertedString();
  m_offsets = m_tokens.getOffsets();
  const auto resetAt = static_cast<unsigned int>(prefix.size() + m_original.size());
  m_offsets.insert(resetAt, static_cast<int>(kReset.size()), OffsetMap::APPLE_TOKEN, true);
  m_didConversion = true;
}

// The order decides how elements nest: an element of a later pass encloses those of earlier passes.
// The phoneme pass is last, because it removes the commands inside its elements.
void AppleMarkupConverter::runPasses(TokenList& tokens) {
  convertEmphasisTags(tokens);
  convertCharTags(tokens);
  convertNmbrTags(tokens);
  convertSilenceTags(tokens);
  convertSyncTags(tokens);
  convertVolumeTags(tokens);
  convertRateTags(tokens);
  convertPitchBaseTags(tokens);
  convertPitchRangeTags(tokens);
  ignoreTunePhonesTags(tokens);
  ignoreContextTags(tokens, AppleMarkupToken::WORD_CONTEXT_TAG);
  ignoreContextTags(tokens, AppleMarkupToken::TEXT_CONTEXT_TAG);
  convertPhoneTags(tokens);
}

std::string AppleMarkupConverter::getConvertedText() {
  return convertedText();
}

const std::string& AppleMarkupConverter::convertedText() {
  if (!m_didConversion) convert();
  // Rationale: the line number of the diagnostic line is fixed.
  if (diagnosticsEnabled(kDiagMarkup, 1)) {
    cst_dbg_timestamp();
    cst_dbg_ffl("AppleMarkupConverter", "getConvertedText", 88);
    cst_dbg_context(kDiagMarkup);
    cst_errmsg("converted to\n%s\n", m_converted.c_str());
  }
  return m_converted;
}

OffsetMap* AppleMarkupConverter::getOffsets() {
  convertedText();
  return std::make_unique<OffsetMap>(m_offsets).release();
}

PositionMap AppleMarkupConverter::getPositions() {
  if (!m_didConversion) convert();
  const PositionMap inBase = m_tokens.getPositions();
  const std::size_t prefix = m_haveDefaults ? defaultsInitStr().size() : 0;

  // The base text is the prefix, the text given, and the reset. Only the middle is the caller's;
  // the prefix counts as inserted before its first byte, the reset as inserted after its last.
  PositionMap ofText;
  const auto length = static_cast<std::uint32_t>(m_original.size());
  ofText.addReplacement(static_cast<std::uint32_t>(prefix), 0, 0);
  ofText.addCopied(length, 0);
  ofText.addReplacement(static_cast<std::uint32_t>(kReset.size()), length, length);
  return inBase.composeAfter(ofText);
}

// ---- Operations that the passes share

int AppleMarkupConverter::nextAppleToken(const TokenList& tokens, int start) const {
  for (int index = start; index < tokens.size(); ++index) {
    if (tokens.typeAt(index) != AppleMarkupToken::UNKNOWN) return index;
  }
  return 0;
}

// Follows the commands from `index` until two or more bytes separate one from the next. `known` is
// a run found earlier in the same, unchanged list: as soon as the walk meets it, its end is taken
// over, so that many commands in a row do not take quadratic time.
AppleMarkupConverter::CommandRun AppleMarkupConverter::findCommandRun(
    const TokenList& tokens, int index, const CommandRun& known) const {
  CommandRun run;
  run.from = index;
  run.to = index;
  for (int k = index;;) {
    run.end = static_cast<unsigned int>(tokens.endAt(k));
    run.to = std::max(run.to, k);
    k = nextAppleToken(tokens, k + 1);
    run.next = k;
    // Unsigned on purpose: if there is no next command, `k` is 0 and the difference wraps.
    if (static_cast<unsigned int>(tokens.startAt(k)) - run.end >= 2) return run;
    if (k >= known.from && k <= known.to) {
      run.end = known.end;
      run.next = known.next;
      run.to = known.to;
      return run;
    }
  }
}

// Returns the position of the first byte of the character with the byte at `p`, but not less than
// `least`.
std::size_t AppleMarkupConverter::startOfCharacter(const std::string& text, std::size_t p,
                                                   std::size_t least) const {
  if (!m_isUtf8) return p;
  while (p > least && base::isContinuation(text[p])) --p;
  return p;
}

// Returns the end of the first word at or after `textPos`: the white space after it, or its last
// byte if a command follows.
unsigned int AppleMarkupConverter::endOfWord(const TokenList& tokens, unsigned int textPos) const {
  const std::string& text = tokens.base();
  for (std::size_t p = textPos; p < text.size(); ++p) {
    if (!isSpace(text[p]) && p + 1 < text.size() && isSpace(text[p + 1])) {
      return static_cast<unsigned int>(p + 1);
    }
    if (text.compare(p + 1, 2, "[[") == 0)
      return static_cast<unsigned int>(startOfCharacter(text, p, textPos));
  }
  return static_cast<unsigned int>(text.size());
}

void AppleMarkupConverter::endOfFirstWordAfter(const TokenList& tokens, int index,
                                               unsigned int* textPos, int* tokenIndex) const {
  const CommandRun run = findCommandRun(tokens, index, CommandRun());
  *tokenIndex = run.next;
  *textPos = endOfWord(tokens, run.end);
}

void AppleMarkupConverter::insertSSMLBeforeToken(TokenList& tokens, int index,
                                                 const std::string& ssml) {
  tokens.insertMarkup(index, tokens.startAt(index), tokens.addMarkup(ssml));
}

void AppleMarkupConverter::insertSSMLAfterToken(TokenList& tokens, int index,
                                                const std::string& ssml) {
  tokens.insertMarkup(index + 1, tokens.endAt(index), tokens.addMarkup(ssml));
}

// Wraps the text between the command at `index` and the next command, and sets `index` to that
// command. If there is no next command, wraps the rest of the text and returns false.
bool AppleMarkupConverter::wrapUpToNextCommand(TokenList& tokens, int& index,
                                               TokenList::MarkupId open,
                                               TokenList::MarkupId close) {
  tokens.insertMarkup(index + 1, tokens.endAt(index), open);
  const int next = nextAppleToken(tokens, index + 1);
  if (next == 0) {
    // The index one past the size appends.
    tokens.insertMarkup(tokens.size() + 1, static_cast<int>(tokens.base().size()), close);
    return false;
  }
  tokens.insertMarkup(next, tokens.startAt(next), close);
  // The closing tag has moved that command by one.
  index = next + 1;
  return true;
}

// Other commands inside the region only split it: a new element begins after each. The pass ends
// with the text if no command follows, since the region cannot end then.
void AppleMarkupConverter::convertBinaryCommands(TokenList& tokens,
                                                 AppleMarkupToken::AppleTagType onType,
                                                 AppleMarkupToken::AppleTagType offType,
                                                 const std::string& openTag,
                                                 const std::string& closeTag) {
  if (!tokens.mayHold(onType)) return;
  const TokenList::MarkupId open = tokens.addMarkup(openTag);
  const TokenList::MarkupId close = tokens.addMarkup(closeTag);
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, onType)) continue;
    do {
      if (!wrapUpToNextCommand(tokens, i, open, close)) return;
    } while (!appleTokenMatches(tokens, i, offType) &&
             !appleTokenMatches(tokens, i, AppleMarkupToken::RESET_TAG));
  }
}
