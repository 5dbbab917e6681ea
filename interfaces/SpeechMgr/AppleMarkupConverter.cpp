// SPDX-License-Identifier: Apache-2.0
#include "AppleMarkupConverter.h"

#include <algorithm>
#include <memory>

#include "Diagnostics.h"
#include "Numbers.h"
#include "SpeechMgrUtils.h"

namespace {

// Ends every text, so that a command always follows and every region ends.
const std::string kReset = "[[rset 0]]";

constexpr double kNormalRate = 180.0;

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

std::string AppleMarkupConverter::defaultsInitStr() {
  std::string prefix;
  if (m_defaults.speakPhones) prefix += "[[inpt PHON]]";
  if (m_defaults.spellOut) prefix += "[[char LTRL]]";
  if (m_defaults.sayDigits) prefix += "[[nmbr LTRL]]";
  prefix += "[[volm -" + numberText(m_defaults.volume / -100.0 + 1.0) + "]]";

  const double rate = m_defaults.wpm - kNormalRate;
  if (rate > 0) prefix += "[[rate +" + numberText(rate) + "]]";
  if (rate < 0) prefix += "[[rate " + numberText(rate) + "]]";

  // Rationale: a fixed step, whatever the difference.
  const auto pitch = static_cast<double>(m_defaults.pitchBase - m_defaults.pitchAssumedBase);
  if (pitch > 0) prefix += "[[pbas +0.0025]]";
  if (pitch < 0) prefix += "[[pbas -0.0025]]";
  return prefix;
}

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

  m_converted = m_tokens.getConvertedString();
  m_offsets = m_tokens.getOffsets();
  const auto resetAt = static_cast<unsigned int>(prefix.size() + m_original.size());
  m_offsets.insert(resetAt, static_cast<int>(kReset.size()), OffsetMap::APPLE_TOKEN, true);
  m_didConversion = true;
}

// The order decides how elements nest: a later pass's element encloses those of earlier ones.
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

  // The base text is the prefix, the text given, and the reset; only the middle is the caller's.
  PositionMap ofText;
  const auto length = static_cast<std::uint32_t>(m_original.size());
  ofText.replaced(static_cast<std::uint32_t>(prefix), 0, 0);
  ofText.copied(length, 0);
  ofText.replaced(static_cast<std::uint32_t>(kReset.size()), length, length);
  return inBase.after(ofText);
}

int AppleMarkupConverter::nextAppleToken(const TokenList& tokens, int start) const {
  for (int index = start; index < tokens.size(); ++index) {
    if (tokens.typeAt(index) != AppleMarkupToken::UNKNOWN) return index;
  }
  return 0;
}

// `known` is a run found before in the same, unchanged list: its commands need not be walked again.
AppleMarkupConverter::CommandRun AppleMarkupConverter::findCommandRun(const TokenList& tokens,
                                                                  int index,
                                                                  const CommandRun& known) const {
  CommandRun run;
  run.from = index;
  run.to = index;
  for (int k = index;;) {
    run.end = static_cast<unsigned int>(tokens.endAt(k));
    run.to = std::max(run.to, k);
    k = nextAppleToken(tokens, k + 1);
    run.next = k;
    if (static_cast<unsigned int>(tokens.startAt(k)) - run.end >= 2) return run;
    if (k >= known.from && k <= known.to) {
      run.end = known.end;
      run.next = known.next;
      run.to = known.to;
      return run;
    }
  }
}

unsigned int AppleMarkupConverter::endOfWord(const TokenList& tokens, unsigned int textPos) const {
  const std::string& text = tokens.base();
  for (std::size_t p = textPos; p < text.size(); ++p) {
    if (!isSpace(text[p]) && p + 1 < text.size() && isSpace(text[p + 1])) {
      return static_cast<unsigned int>(p + 1);
    }
    if (text.compare(p + 1, 2, "[[") == 0) return static_cast<unsigned int>(p);
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

// Wraps the text between the command at `index` and the next one, and makes `index` that one's.
// When none follows, wraps the rest of the text and answers false.
bool AppleMarkupConverter::wrapUpToNextCommand(TokenList& tokens, int& index, TokenList::MarkupId open,
                                       TokenList::MarkupId close) {
  tokens.insertMarkup(index + 1, tokens.endAt(index), open);
  const int next = nextAppleToken(tokens, index + 1);
  if (next == 0) {
    tokens.insertMarkup(tokens.size() + 1, static_cast<int>(tokens.base().size()), close);
    return false;
  }
  tokens.insertMarkup(next, tokens.startAt(next), close);
  index = next + 1;
  return true;
}

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
