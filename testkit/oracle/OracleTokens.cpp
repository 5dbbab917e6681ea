// SPDX-License-Identifier: Apache-2.0
#include "OracleTokens.h"

namespace oracle {

namespace {

bool isOneOf(char byte, const std::string& set) {
  return set.find(byte) != std::string::npos;
}

std::string toLower(const std::string& word) {
  std::string result;
  for (char byte : word) {
    const bool upper = byte >= 'A' && byte <= 'Z';
    result += upper ? static_cast<char>(byte - 'A' + 'a') : byte;
  }
  return result;
}

std::string strip(const std::string& word) {
  std::string rest = word;
  while (!rest.empty() && isOneOf(rest.front(), "[];")) rest = rest.substr(1);
  while (!rest.empty() && isOneOf(rest.back(), "[];")) rest = rest.substr(0, rest.size() - 1);
  return rest;
}

}  // namespace

std::vector<std::string> splitCommand(const std::string& command) {
  std::vector<std::string> raw;
  std::string word;
  for (char byte : command) {
    // A NUL ends the words of a command, as it ends a C string.
    if (byte == '\0') break;
    if (isOneOf(byte, " \t\r\n")) {
      raw.push_back(word);
      word.clear();
    } else if (isOneOf(byte, "+-")) {
      raw.push_back(word);
      raw.push_back(std::string(1, byte));
      word.clear();
    } else {
      word += byte;
    }
  }
  raw.push_back(word);

  std::vector<std::string> words;
  for (const std::string& each : raw) {
    const std::string rest = strip(each);
    if (!rest.empty()) words.push_back(rest);
  }
  return words;
}

Kind classify(const std::vector<std::string>& words) {
  const std::string command = words.empty() ? "" : words[0];
  const std::string argument = words.size() > 1 ? words[1] : "";
  const std::string anyCase = toLower(argument);

  // Rationale: the arguments of "char" must be upper case; those of other commands may be any case.
  if (command == "char" && argument == "LTRL") return Kind::CharSpellout;
  if (command == "char" && argument == "NORM") return Kind::CharNormal;
  if (command == "cmnt") return Kind::Comment;
  if (command == "dlim") return Kind::Delimiters;
  if (command == "emph" && argument == "+") return Kind::EmphasisOn;
  if (command == "emph" && argument == "-") return Kind::EmphasisOff;
  if (command == "inpt" && anyCase == "phon") return Kind::Phonemes;
  if (command == "inpt" && anyCase == "tune") return Kind::Tune;
  if (command == "inpt" && anyCase == "text") return Kind::Text;
  if (command == "nmbr" && anyCase == "norm") return Kind::NumberNormal;
  if (command == "nmbr" && anyCase == "ltrl") return Kind::NumberSpellout;
  if (command == "pbas") return Kind::Pitch;
  if (command == "pmod") return Kind::PitchRange;
  if (command == "rate") return Kind::Rate;
  if (command == "rset") return Kind::Reset;
  if (command == "slnc") return Kind::Silence;
  if (command == "sync") return Kind::Sync;
  if (command == "vers") return Kind::Version;
  if (command == "volm") return Kind::Volume;
  if (command == "xtnd") return Kind::Extension;
  if (command == "ctxt" && anyCase == "word") return Kind::WordContext;
  if (command == "ctxt" && anyCase == "wskp") return Kind::WordSkip;
  if (command == "ctxt" && anyCase == "text") return Kind::TextContext;
  if (command == "ctxt" && anyCase == "tskp") return Kind::TextSkip;
  if (command == "ctxt" && anyCase == "norm") return Kind::NormalContext;
  return Kind::Unknown;
}

std::string Token::argument(std::size_t index) const {
  return index + 1 < words.size() ? words[index + 1] : "";
}

// Splits the text at "[[", at ";" inside a command, and at "]]".
void TokenList::create(const std::string& text, const OffsetMap& inherited, bool utf8) {
  m_base = text;
  m_utf8 = utf8;
  m_inherited = inherited;
  m_tokens.clear();

  std::size_t pos = m_base.find("[[");
  while (pos != std::string::npos) {
    const std::size_t end = m_base.find("]]", pos + 2);
    bool last = false;
    while (!last) {
      const std::size_t semicolon = m_base.find(';', pos + 1);
      std::string piece;
      if (semicolon == std::string::npos || end <= semicolon) {
        last = true;
        // A command that is never closed extends to the end of the text.
        piece = end == std::string::npos ? m_base.substr(pos) : m_base.substr(pos, end - pos + 2);
      } else {
        piece = m_base.substr(pos, semicolon - pos);
      }

      Token token;
      token.words = splitCommand(piece);
      token.size = static_cast<int>(piece.size());
      token.kind = classify(token.words);
      token.start = static_cast<int>(pos);
      token.number = size();
      m_tokens.push_back(token);

      if (!last) pos = semicolon;
    }
    if (end == std::string::npos) return;
    pos = m_base.find("[[", end + 2);
  }
}

void TokenList::checkIndex(int index) const {
  if (index < 0 || index >= size()) throw Failure{Error::IndexOutOfRange};
}

Token TokenList::at(int index) const {
  checkIndex(index);
  return m_tokens[static_cast<std::size_t>(index)];
}

void TokenList::replace(int index, const Token& token) {
  checkIndex(index);
  m_tokens[static_cast<std::size_t>(index)] = token;
}

void TokenList::remove(int index) {
  checkIndex(index);
  m_tokens.erase(m_tokens.begin() + index);
}

// The list must stay ordered by start position as far as the neighbours show; an index that is too
// small for the token's position is raised.
void TokenList::insert(int index, const Token& token) {
  int before = 0;
  for (const Token& each : m_tokens) {
    if (each.start < token.start) ++before;
  }
  if (before < size() && index < before) index = before;

  const bool appends = index == size() + 1;
  if (index != 0 && !appends && token.start < at(index - 1).start) {
    throw Failure{Error::IndexOutOfRange};
  }
  // Rationale: appending needs the index size() + 1, since the passes insert their tokens only
  // before existing ones.
  if (appends) {
    m_tokens.push_back(token);
    return;
  }
  checkIndex(index);
  m_tokens.insert(m_tokens.begin() + index, token);
}

// Replaces from the last token to the first, so that earlier positions stay valid.
std::vector<Carried> TokenList::converted() const {
  std::vector<Carried> text;
  for (std::size_t i = 0; i < m_base.size(); ++i) {
    text.push_back(Carried{m_base[i], static_cast<std::int64_t>(i)});
  }

  for (int i = size() - 1; i >= 0; --i) {
    const Token token = at(i);
    // A negative start or size becomes a huge one for the string, as in the standard library.
    const std::size_t start = static_cast<std::size_t>(token.start);
    std::size_t count = static_cast<std::size_t>(token.size);
    if (start > text.size()) throw Failure{Error::OutOfRange};
    if (count > text.size() - start) count = text.size() - start;

    std::vector<Carried> replacement;
    if (token.hasSsml) {
      for (char byte : token.ssml) replacement.push_back(Carried{byte, -1});
    }
    const auto from = text.begin() + static_cast<std::ptrdiff_t>(start);
    const auto rest = text.erase(from, from + static_cast<std::ptrdiff_t>(count));
    text.insert(rest, replacement.begin(), replacement.end());
  }
  return text;
}

OffsetMap TokenList::offsets() const {
  OffsetMap map = m_inherited;
  for (const Token& token : m_tokens) {
    const int length = token.hasSsml ? static_cast<int>(token.ssml.size()) : 0;
    const std::uint32_t start = static_cast<std::uint32_t>(token.start);
    // Rationale: a command with a replacement records only the replacement's length.
    if (length > 0) {
      map.insert(start, length, kSsmlToken, false);
    } else {
      map.insert(start, token.size, kAppleToken, false);
    }
  }
  return map;
}

}  // namespace oracle
