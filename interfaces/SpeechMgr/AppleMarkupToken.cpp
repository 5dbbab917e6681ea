// SPDX-License-Identifier: Apache-2.0
//
// Splitting a command into words, with the engine's token stream, and classifying it by a table of
// rules; the first rule that matches decides.
#include "AppleMarkupToken.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include <cst.h>

namespace {

// What a rule requires of the command's first argument.
enum class Argument {
  Any,      // nothing: it may be absent
  Exact,    // equal to the rule's argument
  AnyCase,  // equal in any case; the rule's argument is in lower case
};

struct Rule {
  std::string_view word;
  Argument how;
  std::string_view argument;
  AppleMarkupToken::AppleTagType type;
};

// Rationale: the arguments of "char" must be in upper case, those of "inpt", "nmbr" and "ctxt" may
// be in any case.
constexpr std::array<Rule, 25> kRules = {{
    {"char", Argument::Exact, "LTRL", AppleMarkupToken::CHAR_SPELLOUT_TAG},
    {"char", Argument::Exact, "NORM", AppleMarkupToken::CHAR_NORMAL_TAG},
    {"cmnt", Argument::Any, "", AppleMarkupToken::COMMENT_TAG},
    {"dlim", Argument::Any, "", AppleMarkupToken::DELIM_TAG},
    {"emph", Argument::Exact, "+", AppleMarkupToken::EMPHASIS_POSITIVE_TAG},
    {"emph", Argument::Exact, "-", AppleMarkupToken::EMPHASIS_NONE_TAG},
    {"inpt", Argument::AnyCase, "phon", AppleMarkupToken::PHONEME_TAG},
    {"inpt", Argument::AnyCase, "tune", AppleMarkupToken::TUNE_PHONES_TAG},
    {"inpt", Argument::AnyCase, "text", AppleMarkupToken::TEXT_TAG},
    {"nmbr", Argument::AnyCase, "norm", AppleMarkupToken::NUMBER_NORMAL_TAG},
    {"nmbr", Argument::AnyCase, "ltrl", AppleMarkupToken::NUMBER_SPELLOUT_TAG},
    {"pbas", Argument::Any, "", AppleMarkupToken::PITCH_TAG},
    {"pmod", Argument::Any, "", AppleMarkupToken::PITCH_RANGE_TAG},
    {"rate", Argument::Any, "", AppleMarkupToken::RATE_TAG},
    {"rset", Argument::Any, "", AppleMarkupToken::RESET_TAG},
    {"slnc", Argument::Any, "", AppleMarkupToken::SILENCE_TAG},
    {"sync", Argument::Any, "", AppleMarkupToken::SYNC_TAG},
    {"vers", Argument::Any, "", AppleMarkupToken::VERSION_TAG},
    {"volm", Argument::Any, "", AppleMarkupToken::VOLUME_TAG},
    {"xtnd", Argument::Any, "", AppleMarkupToken::EXTENSION_TAG},
    {"ctxt", Argument::AnyCase, "word", AppleMarkupToken::WORD_CONTEXT_TAG},
    {"ctxt", Argument::AnyCase, "wskp", AppleMarkupToken::WORD_SKIP_CONTEXT_TAG},
    {"ctxt", Argument::AnyCase, "text", AppleMarkupToken::TEXT_CONTEXT_TAG},
    {"ctxt", Argument::AnyCase, "tskp", AppleMarkupToken::TEXT_SKIP_CONTEXT_TAG},
    {"ctxt", Argument::AnyCase, "norm", AppleMarkupToken::NORMAL_CONTEXT_TAG},
}};

// Not std::tolower, which depends on the client's locale.
char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerText) {
  if (text.size() != lowerText.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (lowerCase(text[i]) != lowerText[i]) return false;
  }
  return true;
}

bool matches(const Rule& rule, const std::vector<std::string>& words) {
  if (words[0] != rule.word) return false;
  switch (rule.how) {
    case Argument::Any:
      return true;
    case Argument::Exact:
      return words.size() > 1 && words[1] == rule.argument;
    case Argument::AnyCase:
      return words.size() > 1 && equalsIgnoringCase(words[1], rule.argument);
  }
  return false;
}

AppleMarkupToken::AppleTagType classify(const std::vector<std::string>& words) {
  if (words.empty()) return AppleMarkupToken::UNKNOWN;
  for (const Rule& rule : kRules) {
    if (matches(rule, words)) return rule.type;
  }
  return AppleMarkupToken::UNKNOWN;
}

constexpr const char* kPunctuation = "[];";

struct CloseStream {
  void operator()(cst_tokenstream* stream) const { ts_close(stream); }
};

// Splits at white space and drops punctuation; a sign is a word of its own. Throws std::bad_alloc
// if the engine is out of memory, which it reports with null pointers.
void split(const std::string& token, std::vector<std::string>& words) {
  words.clear();
  const std::unique_ptr<cst_tokenstream, CloseStream> stream(
      ts_open_string(token.c_str(), nullptr, "+-", kPunctuation, kPunctuation));
  if (!stream) throw std::bad_alloc();
  while (!ts_eof(stream.get())) {
    const char* const read = ts_get(stream.get());
    if (read == nullptr) throw std::bad_alloc();
    const std::string_view word = read;
    // Engines differ in how they return a word that is only punctuation; here it never is a word.
    if (word.find_first_not_of(kPunctuation) != std::string_view::npos) words.emplace_back(word);
  }
}

// Returns the name of a type for the dump.
// Rationale: some types have no name of their own, and one name is misspelt; programs that read the
// dump expect that.
const char* labelOf(AppleMarkupToken::AppleTagType type) {
  switch (type) {
    case AppleMarkupToken::CHAR_SPELLOUT_TAG:
      return "char-literal-tag";
    case AppleMarkupToken::CHAR_NORMAL_TAG:
      return "char-normal-tag";
    case AppleMarkupToken::COMMENT_TAG:
      return "comment-tag (ignored)";
    case AppleMarkupToken::DELIM_TAG:
      return "delimeter-tag (ignored)";
    case AppleMarkupToken::EMPHASIS_POSITIVE_TAG:
      return "emphasis-positive-tag";
    case AppleMarkupToken::EMPHASIS_NONE_TAG:
      return "emphasis-negative-tag";
    case AppleMarkupToken::PHONEME_TAG:
      return "phoneme-tag";
    case AppleMarkupToken::TEXT_TAG:
      return "text-tag";
    case AppleMarkupToken::NUMBER_SPELLOUT_TAG:
      return "number-spellout-tag";
    case AppleMarkupToken::NUMBER_NORMAL_TAG:
      return "number-text-tag";
    case AppleMarkupToken::PITCH_TAG:
      return "prosody-pitch-change-tag";
    case AppleMarkupToken::PITCH_RANGE_TAG:
      return "prosody-pitch-range-change-tag";
    case AppleMarkupToken::RATE_TAG:
      return "prosody-rate-change-tag";
    case AppleMarkupToken::RESET_TAG:
      return "reset-tag";
    case AppleMarkupToken::SILENCE_TAG:
      return "silence-tag";
    case AppleMarkupToken::SYNC_TAG:
      return "synchronize-tag";
    case AppleMarkupToken::VERSION_TAG:
      return "version-tag";
    case AppleMarkupToken::VOLUME_TAG:
      return "volume-tag";
    case AppleMarkupToken::EXTENSION_TAG:
      return "extension-tag (ignored)";
    case AppleMarkupToken::UNKNOWN:
      return "unknown tag (ignored)";
    default:
      return "undefined tag (ignored)";
  }
}

}  // namespace

void AppleMarkupToken::setTokenString(std::string token) {
  m_token = std::move(token);
  m_size = static_cast<int>(m_token.size());
  split(m_token, m_subTokens);
  m_type = classify(m_subTokens);
}

std::string AppleMarkupToken::getTokenClass() const {
  if (m_subTokens.empty()) throw std::out_of_range("vector::_M_range_check");
  return m_subTokens.front();
}

std::string AppleMarkupToken::getTokenArg(int index) const {
  const std::int64_t word = std::int64_t{index} + 1;
  if (word < 0 || word >= static_cast<std::int64_t>(m_subTokens.size())) return std::string();
  return m_subTokens[static_cast<std::size_t>(word)];
}

void AppleMarkupToken::print() const {
  std::printf("Apple Token: \"%s\" (%s) size: %d\n", m_token.c_str(), labelOf(m_type), m_size);
}

std::string tolower(const std::string& text) {
  std::string result = text;
  for (char& c : result) c = lowerCase(c);
  return result;
}
