// SPDX-License-Identifier: Apache-2.0
//
// The converter's pass for phoneme input: translates Apple phoneme symbols into engine phones, and
// wraps the text in phoneme elements.
//
// Algorithm: shortest match. At each position the shortest symbol of the phone table is taken; a
// table of single bytes finds most of them without a search.
#include <algorithm>
#include <array>
#include <stdexcept>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "SpeechMgrUtils.h"

namespace {

const std::string kCloseTag = "</phoneme>";

// The phone table, arranged for reading a text. Made once per region; the maps must not be cleared
// meanwhile.
class PhoneReader {
 public:
  PhoneReader() {
    for (const auto& [symbol, phone] : gBrevoldPhones) {
      m_longest = std::max(m_longest, symbol.size());
      if (symbol.size() == 1) m_single[static_cast<unsigned char>(symbol[0])] = &phone;
    }
  }

  // Appends to `phones` the phones for the bytes `start` … `end` (inclusive) of `text`. Blanks
  // separate them from each other, but not from the phones that `phones` already holds. A symbol
  // that begins before `end` may extend past it.
  void translate(const std::string& text, unsigned int start, unsigned int end,
                 std::string& phones) const {
    if (start > end) return;
    if (start > text.size()) throw std::out_of_range("basic_string::substr");
    const std::size_t begin = phones.size();
    bool stressed = false;  // a vowel still has to take the mark
    for (std::size_t pos = start; pos <= end;) {
      if (pos < text.size() && text[pos] == '1') {
        stressed = true;
        ++pos;
      } else if (pos < text.size() && text[pos] == '2') {
        // Rationale: secondary stress has no effect.
        ++pos;
      } else {
        const BrevoldPhone* phone = find(text, pos);
        append(*phone, phones, begin, stressed);
        if (phone->isVowel) stressed = false;
      }
    }
  }

 private:
  // Returns the phone of the shortest symbol at `pos`, and moves `pos` past the symbol.
  const BrevoldPhone* find(const std::string& text, std::size_t& pos) const {
    if (pos < text.size()) {
      if (const BrevoldPhone* phone = m_single[static_cast<unsigned char>(text[pos])]) {
        ++pos;
        return phone;
      }
    }
    for (std::size_t length = 2; length <= m_longest && pos + length <= text.size(); ++length) {
      const auto found = gBrevoldPhones.find(text.substr(pos, length));
      if (found == gBrevoldPhones.end()) continue;
      pos += length;
      return &found->second;
    }
    throw AppleSynthesisError(BAD_PHONE_SEQUENCE);
  }

  // A vowel gets its stress digit, 1 or 0. A symbol without a phone adds nothing, unless it is a
  // vowel.
  static void append(const BrevoldPhone& phone, std::string& phones, std::size_t begin,
                     bool stressed) {
    const bool silent = phone.phone.empty() && !phone.isVowel;
    if (silent) return;
    if (phones.size() > begin) phones += ' ';
    phones += phone.phone;
    if (phone.isVowel) phones += stressed ? '1' : '0';
  }

  std::array<const BrevoldPhone*, 256> m_single{};
  std::size_t m_longest = 0;
};

}  // namespace

std::string AppleMarkupConverter::convertPhones(const std::string& applePhones, unsigned int start,
                                                unsigned int end) {
  std::string phones;
  PhoneReader().translate(applePhones, start, end, phones);
  return phones;
}

// `phonemes` is never cleared, so each element's `ph` attribute begins with the phones of the
// elements before it; `written` counts the bytes of all attributes, for the limit.
void AppleMarkupConverter::convertPhoneTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::PHONEME_TAG)) return;
  std::string phonemes;
  std::size_t written = 0;
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::PHONEME_TAG)) continue;
    i = convertPhoneRegion(tokens, i, phonemes, written);
  }
  removeCommandsInPhonemes(tokens);
}

// Converts the region that begins with the command at `index`, and the regions of further phoneme
// commands inside it. All of them end at the same text command or reset; returns its index.
int AppleMarkupConverter::convertPhoneRegion(TokenList& tokens, int index, std::string& phonemes,
                                             std::size_t& written) {
  const PhoneReader reader;
  std::string phones;               // of the whole region
  std::vector<std::size_t> starts;  // for each phoneme command, where its phones begin
  int end = index;
  do {
    const int current = end;
    if (appleTokenMatches(tokens, current, AppleMarkupToken::PHONEME_TAG)) {
      starts.push_back(phones.size());
    }
    end = nextAppleToken(tokens, current + 1);
    // The region has no end.
    if (end == 0) throw AppleSynthesisError(BAD_PHONE_SEQUENCE);
    reader.translate(tokens.base(), static_cast<unsigned int>(tokens.endAt(current)),
                     static_cast<unsigned int>(tokens.startAt(end)) - 1, phones);
  } while (!appleTokenMatches(tokens, end, AppleMarkupToken::TEXT_TAG) &&
           !appleTokenMatches(tokens, end, AppleMarkupToken::RESET_TAG));

  // Opening tags front to back, then all closing tags: successive insertions stay near each other
  // in the gap buffer. The first closing tag is inserted before any opening tag: in a list that is
  // out of order, the order of insertions decides the indices.
  const TokenList::MarkupId close = tokens.addMarkup(kCloseTag);
  std::size_t nth = 0;
  for (int at = index; at < end; ++at) {
    if (!appleTokenMatches(tokens, at, AppleMarkupToken::PHONEME_TAG)) continue;
    phonemes.append(phones, starts[nth], std::string::npos);
    written += phonemes.size();
    if (written > kMaxPhones) throw AppleSynthesisError(BAD_PHONE_SEQUENCE);
    if (nth++ == 0) {
      tokens.insertMarkup(end, tokens.startAt(end), close);
      ++end;
    }
    insertSSMLAfterToken(tokens, at, "<phoneme ph='" + phonemes + "'>");
    ++end;
  }
  for (; nth > 1; --nth, ++end) tokens.insertMarkup(end, tokens.startAt(end), close);
  return end;
}

// Drops the commands inside phoneme elements from the list. Their text stays in the converted text
// as content of the element; the engine does not speak the content but the attribute.
void AppleMarkupConverter::removeCommandsInPhonemes(TokenList& tokens) {
  for (int j = 0; j < tokens.size(); ++j) {
    if (!appleTokenMatches(tokens, j, AppleMarkupToken::PHONEME_TAG)) continue;
    j += 2;  // past the opening tag
    while (tokens.markupAt(j) != kCloseTag) {
      if (appleTokenMatches(tokens, j, AppleMarkupToken::UNKNOWN)) {
        ++j;
      } else {
        tokens.removeTokenAt(static_cast<unsigned int>(j));
      }
    }
  }
}
