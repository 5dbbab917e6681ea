// SPDX-License-Identifier: Apache-2.0
//
// The oracle's phone table and the pass for phoneme input.
#include "OraclePasses.h"

namespace oracle {

namespace {

struct PhoneRow {
  std::string symbol;
  std::string phone;
  bool isVowel;
};

const std::vector<PhoneRow>& phoneRows() {
  static const std::vector<PhoneRow> rows = {
      {"%", "pau", false}, {"@", "pau", false}, {"AE", "ae", true}, {"EY", "ey", true},
      {"AO", "ao", true},  {"AX", "ah", true},  {"IY", "i", true},  {"EH", "eh", true},
      {"IH", "ih", true},  {"AY", "ay", true},  {"IX", "ih", true}, {"AA", "aa", true},
      {"UW", "uw", true},  {"UH", "uh", true},  {"UX", "ah", true}, {"OW", "ow", true},
      {"AW", "aw", true},  {"OY", "oy", true},  {"b", "b", false},  {"C", "ch", false},
      {"d", "d", false},   {"D", "dh", false},  {"f", "f", false},  {"g", "g", false},
      {"h", "h", false},   {"J", "jh", false},  {"k", "k", false},  {"l", "l", false},
      {"m", "m", false},   {"n", "n", false},   {"N", "ng", false}, {"p", "p", false},
      {"r", "r", false},   {"s", "s", false},   {"S", "sh", false}, {"t", "t", false},
      {"T", "th", false},  {"v", "v", false},   {"w", "w", false},  {"y", "j", false},
      {"z", "z", false},   {"Z", "zh", false},  {"=", ".", false},  {"1", "", false},
      {"2", "", false},    {"~", "", false},    {"_", "", false},   {"+", "", false},
      {"/", "", false},    {"\\", "", false},   {">", "", false},   {"<", "", false},
      {" ", "", false},    {"\t", "", false},   {"\r", "", false},  {"\n", "", false},
  };
  return rows;
}

const PhoneRow* findPhone(const std::string& symbol) {
  for (const PhoneRow& row : phoneRows()) {
    if (row.symbol == symbol) return &row;
  }
  return nullptr;
}

// Translates the symbols from `start` to `end`. A symbol that begins there may extend past `end`.
std::string translatePhones(const std::string& text, std::uint32_t start, std::uint32_t end) {
  if (start > end) return "";

  std::vector<std::string> phones;
  bool stressNextPhone = false;
  std::uint32_t pos = start;
  while (true) {
    if (pos > text.size()) throw Failure{Error::OutOfRange};
    std::uint32_t next = pos + 1;
    if (text.substr(pos, 1) == "1") {
      stressNextPhone = true;
    } else if (text.substr(pos, 1) != "2") {
      // The shortest symbol wins.
      const PhoneRow* found = nullptr;
      std::uint32_t length = 1;
      for (; pos + length <= text.size(); ++length) {
        found = findPhone(text.substr(pos, length));
        if (found != nullptr) break;
      }
      if (found == nullptr) throw Failure{Error::BadPhoneSequence};

      std::string phone = found->phone;
      if (found->isVowel) phone += stressNextPhone ? "1" : "0";
      phones.push_back(phone);
      // A stress mark applies to the next vowel.
      if (found->isVowel) stressNextPhone = false;
      next = pos + length;
    }
    if (next > end) break;
    pos = next;
  }

  std::string joined;
  for (const std::string& phone : phones) {
    if (phone.empty()) continue;
    if (!joined.empty()) joined += " ";
    joined += phone;
  }
  return joined;
}

// Removes the commands inside every phoneme element from the list.
void removeCommandsInsidePhonemes(TokenList& tokens) {
  for (int j = 0; j < tokens.size(); j = j + 1) {
    if (tokens.at(j).kind != Kind::Phonemes) continue;
    j = j + 2;
    while (tokens.at(j).ssml != "</phoneme>") {
      if (tokens.at(j).kind == Kind::Unknown) {
        j = j + 1;
      } else {
        tokens.remove(j);
      }
    }
  }
}

}  // namespace

void convertPhoneTags(TokenList& tokens) {
  // Rationale: never cleared, so a region's phones begin with those of all earlier regions.
  std::string phonemes;
  std::size_t written = 0;
  for (int i = 0; i < tokens.size(); i = i + 1) {
    if (tokens.at(i).kind != Kind::Phonemes) continue;

    int current = i;
    int next = 0;
    do {
      next = nextCommand(tokens, current + 1);
      if (next == kNoCommand) throw Failure{Error::BadPhoneSequence};
      const int textStart = tokens.at(current).start + tokens.at(current).size;
      const int textEnd = tokens.at(next).start - 1;
      phonemes += translatePhones(tokens.base(), static_cast<std::uint32_t>(textStart),
                                  static_cast<std::uint32_t>(textEnd));
      if (tokens.at(next).kind == Kind::Text) break;
      current = next;
    } while (tokens.at(next).kind != Kind::Reset);

    written += phonemes.size();
    if (written > kPhonesLimit) throw Failure{Error::BadPhoneSequence};
    insertBefore(tokens, next, "</phoneme>");
    insertAfter(tokens, i, "<phoneme ph='" + phonemes + "'>");
  }
  removeCommandsInsidePhonemes(tokens);
}

Phones convertPhones(const std::string& text, std::uint32_t start, std::uint32_t end) {
  try {
    return Phones{Error::None, translatePhones(text, start, end)};
  } catch (const Failure& failure) {
    return Phones{failure.error, ""};
  }
}

}  // namespace oracle
