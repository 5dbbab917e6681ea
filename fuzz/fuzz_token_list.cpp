// SPDX-License-Identifier: Apache-2.0
//
// Checks that the token list equals the oracle's after any series of changes. Input: a line of
// changes, separated by blanks, then the text. A change is one of
//
//   i3,7,<x>     inserts the markup "<x>" at index 3, with start position 7
//   s2,5,9,<y>   gives entry 2 the start position 5, 9 bytes to cover, and the markup "<y>"
//   r4           removes entry 4
//   p            prints the list and its offsets
#include <charconv>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

#include "AppleSynthesisError.h"
#include "Fuzz.h"
#include "TokenList.h"
#include "conversions/ComparedConversion.h"
#include "oracle/OracleTokens.h"

namespace {

// Scope guard: discards standard output and standard error.
class MutedOutput {
 public:
  MutedOutput() {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
    close(nowhere);
  }
  ~MutedOutput() {
    std::fflush(stdout);
    dup2(m_output, STDOUT_FILENO);
    dup2(m_errors, STDERR_FILENO);
    close(m_output);
    close(m_errors);
  }
  MutedOutput(const MutedOutput&) = delete;
  MutedOutput& operator=(const MutedOutput&) = delete;

 private:
  int m_output = dup(STDOUT_FILENO);
  int m_errors = dup(STDERR_FILENO);
};

int takeNumber(std::string_view& arguments) {
  int number = 0;
  std::from_chars(arguments.data(), arguments.data() + arguments.size(), number);
  const std::size_t comma = arguments.find(',');
  arguments.remove_prefix(comma == arguments.npos ? arguments.size() : comma + 1);
  return number;
}

// The kind of error that `change` ends with, for the product's list or the oracle's.
template <typename Change>
oracle::Error errorOf(Change change) {
  try {
    change();
    return oracle::Error::None;
  } catch (const AppleSynthesisError& error) {
    fuzz::require(error.getErrorString() == "Error:  Index out of range\n", "an index error");
    return oracle::Error::IndexOutOfRange;
  } catch (const std::out_of_range&) {
    return oracle::Error::OutOfRange;
  } catch (const oracle::Failure& failure) {
    return failure.error;
  }
}

class BothLists {
 public:
  explicit BothLists(const std::string& text) {
    m_fast.create(text, OffsetMap());
    m_slow.create(text, oracle::OffsetMap());
  }

  // Applies a change to both lists; unknown changes and negative indices are ignored.
  void apply(std::string_view change) {
    std::string_view arguments = change.substr(1);
    const int index = change[0] == 'p' ? 0 : takeNumber(arguments);
    if (index < 0) return;
    switch (change[0]) {
      case 'i':
        return insert(index, takeNumber(arguments), arguments);
      case 's': {
        const int start = takeNumber(arguments);
        return set(index, start, takeNumber(arguments), arguments);
      }
      case 'r':
        return both([&] { m_fast.removeTokenAt(static_cast<unsigned int>(index)); },
                    [&] { m_slow.remove(index); });
      case 'p':
        return print();
      default:
        return;
    }
  }

  // Compares entries, records, converted text and origins. Origins of inserted markup are not part
  // of the oracle's list.
  void compare() {
    fuzz::require(m_fast.size() == m_slow.size(), "same size");
    for (int i = 0; i < m_slow.size(); ++i) compareEntry(i);
    fuzz::require(
        conversion::recordsOf(m_fast.getOffsets().records()) == m_slow.offsets().records(),
        "same records");
    std::string text;
    std::string slowText;
    std::vector<oracle::Carried> carried;
    both([&] { text = m_fast.getConvertedString(); }, [&] { carried = m_slow.converted(); });
    for (const oracle::Carried& each : carried) slowText += each.byte;
    fuzz::require(text == slowText, "same text");
    if (carried.empty()) return;
    const PositionMap positions = m_fast.getPositions();
    for (std::uint32_t p = 0; p < carried.size(); ++p) {
      if (carried[p].origin < 0) continue;
      fuzz::require(positions.origin(p) == static_cast<std::uint32_t>(carried[p].origin),
                    "same origins");
      fuzz::require(positions.originEnd(p) == positions.origin(p) + 1, "one byte from one byte");
    }
  }

 private:
  template <typename Fast, typename Slow>
  void both(Fast fast, Slow slow) {
    fuzz::require(errorOf(fast) == errorOf(slow), "same error");
  }

  void insert(int index, int start, std::string_view markup) {
    SSMLMarkupToken half;
    half.setTokenString(std::string(markup));
    SpeechMarkupToken token;
    token.initSSMLMarkupToken(half);
    token.setStartPos(static_cast<unsigned int>(start));
    oracle::Token same;
    same.ssml = markup;
    same.hasSsml = true;
    same.start = start;
    both([&] { m_fast.insertTokenAt(static_cast<unsigned int>(index), token); },
         [&] { m_slow.insert(index, same); });
  }

  void set(int index, int start, int covered, std::string_view markup) {
    both(
        [&] {
          SpeechMarkupToken token = m_fast.getTokenAt(static_cast<unsigned int>(index));
          AppleMarkupToken command = token.getAppleMarkupToken();
          command.setTokenStringSize(covered);
          SSMLMarkupToken half;
          half.setTokenString(std::string(markup));
          token.initAppleMarkupToken(command);
          token.initSSMLMarkupToken(half);
          token.setStartPos(static_cast<unsigned int>(start));
          m_fast.replaceTokenAt(static_cast<unsigned int>(index), token);
        },
        [&] {
          oracle::Token token = m_slow.at(index);
          token.size = covered;
          token.ssml = markup;
          token.hasSsml = true;
          token.start = start;
          m_slow.replace(index, token);
        });
  }

  void compareEntry(int index) {
    const SpeechMarkupToken token = m_fast.getTokenAt(static_cast<unsigned int>(index));
    const AppleMarkupToken command = token.getAppleMarkupToken();
    const oracle::Token same = m_slow.at(index);
    fuzz::require(token.getStartPos() == same.start, "same start");
    fuzz::require(command.getTokenStringSize() == same.size, "same size of an entry");
    fuzz::require(command.getTokenType() == static_cast<int>(same.kind), "same kind");
    fuzz::require(token.getSSMLMarkupToken().isInitialized() == same.hasSsml, "same markup set");
    fuzz::require(token.getSSMLMarkupToken().getTokenString() == same.ssml, "same markup");
    const auto word = [&] { return command.getTokenClass(); };
    fuzz::require((errorOf(word) == oracle::Error::OutOfRange) == same.words.empty(), "same words");
    for (std::size_t i = 1; i < same.words.size(); ++i) {
      fuzz::require(command.getTokenArg(static_cast<int>(i - 1)) == same.words[i],
                    "same arguments");
    }
  }

  // The text of the output is not checked, only that printing does not crash.
  void print() {
    const MutedOutput muted;
    m_fast.print();
    if (m_fast.size() > 0) m_fast.getTokenAt(0).print();
    OffsetMap offsets = m_fast.getOffsets();
    offsets.insert(1, 1, OffsetMap::UNKNOWN_TOKEN, true);
    offsets.print();
    AppleSynthesisError(BAD_PHONE_SEQUENCE).printError();
  }

  TokenList m_fast;
  oracle::TokenList m_slow;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMost = 1024;
  if (size > kMost) return 0;
  const auto [line, text] = fuzz::atFirstLine(fuzz::viewOf(data, size));
  BothLists lists{std::string(text)};
  std::string_view changes = line;
  for (std::string_view change = fuzz::takeWord(changes); !change.empty();
       change = fuzz::takeWord(changes)) {
    lists.apply(change);
  }
  lists.compare();
  return 0;
}
