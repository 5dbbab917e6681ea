// SPDX-License-Identifier: Apache-2.0
#include "synth/word_pieces.h"

#include <map>
#include <utility>

namespace kavrel {

namespace {

constexpr wchar_t kCommand = L'\x01';
constexpr wchar_t kMark = L'M';

struct Command {
  int number = 0;
  wchar_t letter = 0;
  std::size_t length = 0;  // 0: `text` does not begin with a command
};

Command commandAt(std::wstring_view text) {
  constexpr std::size_t kMaxDigits = 8;
  Command command;
  std::size_t at = 1;
  for (; at < text.size() && at <= kMaxDigits && text[at] >= L'0' && text[at] <= L'9'; ++at) {
    command.number = command.number * 10 + static_cast<int>(text[at] - L'0');
  }
  if (text.front() != kCommand || at >= text.size()) return {};
  command.letter = text[at];
  command.length = at + 1;
  return command;
}

}  // namespace

// A setting stays in force until the next command of its letter, so each piece begins with the last
// of each.
std::vector<WordPiece> wordPieces(std::wstring_view text) {
  std::vector<WordPiece> pieces(1);
  std::map<wchar_t, std::wstring> settings;
  while (!text.empty()) {
    const Command command = commandAt(text);
    const std::wstring part(text.substr(0, command.length > 0 ? command.length : 1));
    text.remove_prefix(part.size());
    if (command.length > 0 && command.letter == kMark) {
      pieces.push_back({command.number, {}});
      for (const auto& [letter, setting] : settings) pieces.back().text += setting + L' ';
    } else if (command.length > 0) {
      settings[command.letter] = part;
    }
    pieces.back().text += part;
  }
  if (pieces.front().text.empty()) pieces.erase(pieces.begin());
  return pieces;
}

}  // namespace kavrel
