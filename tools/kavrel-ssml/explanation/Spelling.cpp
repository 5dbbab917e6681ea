// SPDX-License-Identifier: Apache-2.0
#include "explanation/Spelling.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace ssml {
namespace {

struct Word {
  std::string_view word;
  std::array<std::string_view, 5> arguments;  // allowed arguments; none: any
  std::string_view longName;                  // what people write in its place
};

// All commands of the converter, in alphabetical order.
constexpr auto kWords = std::to_array<Word>({
    {"char", {"LTRL", "NORM"}, "spell"},
    {"cmnt", {}, "comment"},
    {"ctxt", {"WORD", "WSKP", "TEXT", "TSKP", "NORM"}, "context"},
    {"dlim", {}, "delimiter"},
    {"emph", {"+", "-"}, "emphasis"},
    {"inpt", {"PHON", "TUNE", "TEXT"}, "input"},
    {"nmbr", {"LTRL", "NORM"}, "number"},
    {"pbas", {}, "pitch"},
    {"pmod", {}, "modulation"},
    {"rate", {}, "speed"},
    {"rset", {}, "reset"},
    {"slnc", {}, "silence"},
    {"sync", {}, "synchronize"},
    {"vers", {}, "version"},
    {"volm", {}, "volume"},
    {"xtnd", {}, "extend"},
});

std::string toUpper(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return result;
}

// Optimal string alignment distance: the number of letters to insert, delete, replace or swap with
// the next one.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        table[i][j] = i + j;
        continue;
      }
      const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
      table[i][j] =
          std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
      }
    }
  }
  return table[a.size()][b.size()];
}

// Whether `written` is probably a misspelling of `word`. If the first letter differs, only one
// error is allowed: "note" is not taken for "rate". Limited in length, since the distance takes
// quadratic time.
bool isProbableTypo(std::string_view written, std::string_view word) {
  constexpr std::size_t kLongest = 16;
  if (written.empty() || written.size() > kLongest) return false;
  return editDistance(written, word) <= (written.front() == word.front() ? 2 : 1);
}

// Returns the most similar of `words`, the first of several; empty if none is similar.
template <typename Words>
std::string_view nearest(std::string_view written, const Words& words) {
  std::string_view best;
  for (const std::string_view word : words) {
    if (word.empty() || !isProbableTypo(written, word)) continue;
    if (best.empty() || editDistance(written, word) < editDistance(written, best)) best = word;
  }
  return best;
}

// "LTRL or NORM", "PHON, TUNE or TEXT".
std::string listArguments(const Word& word) {
  std::string list;
  const auto count = static_cast<std::size_t>(std::count_if(
      word.arguments.begin(), word.arguments.end(), [](auto a) { return !a.empty(); }));
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) list += i + 1 == count ? " or " : ", ";
    list += word.arguments[i];
  }
  return list;
}

// The command word is correct, so the argument is wrong.
std::string whyArgument(const Word& word, const std::string& written) {
  if (written.empty()) return "argument missing, must be " + listArguments(word);
  const std::string_view meant = nearest(toUpper(written), word.arguments);
  return "argument must be " + (meant.empty() ? listArguments(word) : std::string(meant)) +
         ", not " + written;
}

// Returns the command that the user probably meant: by its long name, else by similarity.
std::string_view meantCommand(const std::string& small) {
  for (const Word& word : kWords) {
    if (small == word.longName) return word.word;
  }
  std::vector<std::string_view> words;
  words.reserve(kWords.size());
  for (const Word& word : kWords) words.push_back(word.word);
  return nearest(small, words);
}

}  // namespace

// From the most certain cause to the least: wrong argument, wrong case, misspelt, unknown.
std::string whyUnknown(const AppleMarkupToken& command) {
  std::string written;
  try {
    written = command.getTokenClass();
  } catch (const std::out_of_range&) {
    // The converter's way to say that there is no word.
    return "no command between the brackets";
  }
  const std::string small = tolower(written);
  for (const Word& word : kWords) {
    if (written == word.word) return whyArgument(word, command.getTokenArg(0));
    if (small == word.word) return "wrong case, must be " + small;
  }
  const std::string_view meant = meantCommand(small);
  if (meant.empty()) return "unknown";
  return "misspelt, probably " + std::string(meant);
}

}  // namespace ssml
