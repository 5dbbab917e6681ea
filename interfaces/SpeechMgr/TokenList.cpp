// SPDX-License-Identifier: Apache-2.0
#include "TokenList.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

const std::string kNoMarkup;

// A binary indexed tree over 0 … size − 2: changes and prefix sums in logarithmic time.
using CountTree = std::vector<std::uint32_t>;

std::size_t lowestBit(std::size_t i) {
  return i & (~i + 1);
}

void addToCount(CountTree& tree, std::size_t position, std::uint32_t amount) {
  for (std::size_t i = position + 1; i < tree.size(); i += lowestBit(i)) tree[i] += amount;
}

std::uint32_t countBelow(const CountTree& tree, std::size_t position) {
  std::uint32_t count = 0;
  for (std::size_t i = position; i > 0; i -= lowestBit(i)) count += tree[i];
  return count;
}

}  // namespace

void TokenList::create(std::string text, OffsetMap offsets) {
  m_base = std::move(text);
  m_inheritedOffsets = std::move(offsets);
  clear();

  AppleMarkupToken work;
  std::size_t pos = m_base.find("[[");
  if (pos != std::string::npos) reserveCommands(pos);
  while (pos != std::string::npos) {
    const std::size_t close = m_base.find("]]", pos + 2);
    const bool closed = close != std::string::npos;
    const std::size_t limit = closed ? close : m_base.size();  // where a ";" still separates
    const std::size_t end = closed ? close + 2 : m_base.size();
    while (pos < end) {
      const std::size_t from = std::min(pos + 1, limit);
      const std::size_t semicolon = std::string_view(m_base).substr(from, limit - from).find(';');
      const std::size_t next = semicolon == std::string_view::npos ? end : from + semicolon;
      appendCommand(pos, next - pos, work);
      pos = next;
    }
    pos = m_base.find("[[", end);
  }
}

// Finds out how many commands there are before they are stored: there may be as many as bytes.
void TokenList::reserveCommands(std::size_t first) {
  std::size_t count = 0;
  for (std::size_t pos = first; pos != std::string::npos;) {
    const std::size_t end = std::min(m_base.find("]]", pos + 2), m_base.size());
    const auto at = [&](std::size_t position) {
      return m_base.begin() + static_cast<std::ptrdiff_t>(position);
    };
    count += 1 + static_cast<std::size_t>(std::count(at(pos), at(end), ';'));
    pos = m_base.find("[[", end);
  }
  m_entries.reserve(count);
  m_commands.reserve(count);
}

void TokenList::create(char* text) {
  create(std::string(text), OffsetMap());
}

void TokenList::appendCommand(std::size_t start, std::size_t length, AppleMarkupToken& work) {
  work.setTokenString(m_base.substr(start, length));
  const auto size = static_cast<std::int32_t>(length);
  m_entries.push_back(
      {static_cast<std::int32_t>(start), addCommand({size, size, kNone, work.getTokenType()})});
}

void TokenList::clear() {
  m_entries.clear();
  m_commands.clear();
  m_markups.clear();
  m_given.clear();
  m_hasType.fill(false);
  m_ordered = true;
  m_startCounts.clear();
}

// ---- Entries ----

const std::string& TokenList::markupAt(int index) const {
  const std::int32_t markup = markupOf(entry(index));
  return markup < 0 ? kNoMarkup : m_markups[static_cast<std::size_t>(markup)];
}

std::string TokenList::argumentAt(int index, int argument) const {
  return getTokenAt(static_cast<unsigned int>(index)).getAppleMarkupToken().getTokenArg(argument);
}

TokenList::MarkupId TokenList::addMarkup(std::string markup) {
  m_markups.push_back(std::move(markup));
  return static_cast<MarkupId>(m_markups.size() - 1);
}

std::uint32_t TokenList::addCommand(const Command& command) {
  m_commands.push_back(command);
  m_hasType[static_cast<std::size_t>(command.type)] = true;
  return static_cast<std::uint32_t>(m_commands.size() - 1) | Entry::kIsCommand;
}

std::uint32_t TokenList::addGiven(const SpeechMarkupToken& token) {
  const SSMLMarkupToken markup = token.getSSMLMarkupToken();
  const std::int32_t id = markup.isInitialized()
                              ? static_cast<std::int32_t>(addMarkup(markup.getTokenString()))
                              : kNone;
  m_given.push_back(token.getAppleMarkupToken());
  const AppleMarkupToken& command = m_given.back();
  return addCommand({command.getTokenStringSize(), ~static_cast<std::int32_t>(m_given.size() - 1),
                     id, command.getTokenType()});
}

SpeechMarkupToken TokenList::getTokenAt(unsigned int index) const {
  checkIndex(index);
  const Entry& at = m_entries[index];
  SpeechMarkupToken token;
  token.setStartPos(static_cast<unsigned int>(at.start));
  if (at.isCommand()) {
    const Command& command = m_commands[at.command()];
    AppleMarkupToken apple;
    if (command.text < 0) {
      const std::int32_t given = ~command.text;
      apple = m_given[static_cast<std::size_t>(given)];
    } else {
      if (command.text > 0) {
        apple.setTokenString(m_base.substr(static_cast<std::size_t>(at.start),
                                           static_cast<std::size_t>(command.text)));
      }
      if (command.type != apple.getTokenType()) apple.setTokenAsIgnoredText();
    }
    apple.setTokenStringSize(command.covered);
    token.initAppleMarkupToken(apple);
  }
  if (markupOf(at) != kNone) {
    SSMLMarkupToken markup;
    markup.setTokenString(markupAt(static_cast<int>(index)));
    token.initSSMLMarkupToken(markup);
  }
  return token;
}

void TokenList::replaceTokenAt(unsigned int index, SpeechMarkupToken token) {
  checkIndex(index);
  removeTokenAt(index);
  m_entries.insert(index, {token.getStartPos(), addGiven(token)});
  noteInserted(index);
}

void TokenList::removeTokenAt(unsigned int index) {
  checkIndex(index);
  if (!m_startCounts.empty()) {
    addToCount(m_startCounts, treePlace(m_entries[index].start), ~0u);
  }
  m_entries.erase(index);
}

void TokenList::insertTokenAt(unsigned int index, SpeechMarkupToken token) {
  insertEntry(index, {token.getStartPos(), addGiven(token)});
}

void TokenList::insertMarkup(int index, int start, MarkupId markup) {
  insertEntry(index, {start, markup});
}

int TokenList::insertIgnoredText(int index, int start, int length) {
  const Command ignored{length, 0, kEmpty, AppleMarkupToken::COMMENT_TAG};
  return static_cast<int>(insertEntry(index, {start, addCommand(ignored)}));
}

void TokenList::ignoreText(int index, int length) {
  Command& command = m_commands[entry(index).command()];
  command.covered = length;
  command.markup = kEmpty;
}

std::int64_t TokenList::insertEntry(std::int64_t index, const Entry& added) {
  // In an ordered list the entry at the index tells whether those that start earlier end there.
  const bool inPlace =
      m_ordered &&
      (index >= size() || m_entries[static_cast<std::size_t>(index)].start >= added.start);
  if (!inPlace) {
    const std::int64_t before = countStartingBefore(added.start);
    if (before < size()) index = std::max(index, before);
  }

  const std::int64_t appended = std::int64_t{size()} + 1;
  if (index == appended) {
    index = size();
  } else {
    if (index != 0) {
      checkIndex(index - 1);
      if (added.start < m_entries[static_cast<std::size_t>(index - 1)].start) {
        throw AppleSynthesisError(INDEX_OUT_OF_RANGE);
      }
    }
    checkIndex(index);
  }
  m_entries.insert(static_cast<std::size_t>(index), added);
  noteInserted(static_cast<std::size_t>(index));
  return index;
}

std::int64_t TokenList::countStartingBefore(std::int32_t start) const {
  if (m_ordered) {
    std::size_t low = 0;
    for (std::size_t high = m_entries.size(); low < high;) {
      const std::size_t middle = low + (high - low) / 2;
      if (m_entries[middle].start < start) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return static_cast<std::int64_t>(low);
  }
  if (start >= 0 && static_cast<std::size_t>(start) <= m_base.size()) {
    return countBelow(m_startCounts, treePlace(start));
  }
  std::int64_t count = 0;
  for (std::size_t i = 0; i < m_entries.size(); ++i) count += m_entries[i].start < start;
  return count;
}

std::size_t TokenList::treePlace(std::int32_t start) const {
  const auto end = static_cast<std::int64_t>(m_base.size()) + 1;
  return static_cast<std::size_t>(std::clamp<std::int64_t>(start, -1, end) + 1);
}

// Takes note of a new entry at `index`: of disorder, when it is the first out of order.
void TokenList::noteInserted(std::size_t index) {
  const std::int32_t start = m_entries[index].start;
  if (!m_ordered) {
    addToCount(m_startCounts, treePlace(start), 1);
    return;
  }
  const bool inOrder = (index == 0 || m_entries[index - 1].start <= start) &&
                       (index + 1 == m_entries.size() || start <= m_entries[index + 1].start);
  if (inOrder) return;
  m_ordered = false;
  m_startCounts.assign(m_base.size() + 4, 0);
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    addToCount(m_startCounts, treePlace(m_entries[i].start), 1);
  }
}

// ---- Results ----

// Whether the entries stand in order, apart from each other, and within the text.
bool TokenList::isPlain() const {
  std::int64_t end = 0;
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const Entry& at = m_entries[i];
    const std::int64_t covered = at.isCommand() ? m_commands[at.command()].covered : 0;
    if (at.start < end || covered < 0) return false;
    end = at.start + covered;
  }
  return end <= static_cast<std::int64_t>(m_base.size());
}

template <typename Visit>
void TokenList::forEachPiece(Visit visit) const {
  if (!isPlain()) {
    const std::vector<Piece> pieces = resolvePieces();
    std::for_each(pieces.rbegin(), pieces.rend(), visit);
    return;
  }
  std::uint32_t done = 0;
  const auto visitBaseUpTo = [&](std::uint32_t end) {
    if (end > done) visit(Piece{Piece::kBase, done, end - done});
    done = end;
  };
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const Entry& at = m_entries[i];
    visitBaseUpTo(static_cast<std::uint32_t>(at.start));
    if (const std::int32_t id = markupOf(at); id >= 0) visit(wholeMarkup(id));
    if (at.isCommand()) done += static_cast<std::uint32_t>(m_commands[at.command()].covered);
  }
  visitBaseUpTo(static_cast<std::uint32_t>(m_base.size()));
}

TokenList::Piece TokenList::wholeMarkup(std::int32_t id) const {
  const std::string& markup = m_markups[static_cast<std::size_t>(id)];
  return {static_cast<std::uint32_t>(id), 0, static_cast<std::uint32_t>(markup.size())};
}

const char* TokenList::dataOf(const Piece& piece) const {
  return (piece.source == Piece::kBase ? m_base : m_markups[piece.source]).data() + piece.from;
}

namespace {

// The text behind a place, as a stack of pieces with the first one on top.
template <typename Piece>
class PieceStack {
 public:
  std::size_t length() const { return m_length; }

  void push(const Piece& piece) {
    if (piece.length == 0) return;
    m_pieces.push_back(piece);
    m_length += piece.length;
  }

  // Takes `length` bytes off the front and hands them, piece by piece, to `take`.
  template <typename Take>
  void pop(std::size_t length, Take take) {
    m_length -= length;
    while (length > 0) {
      Piece& top = m_pieces.back();
      if (top.length > length) {
        Piece head = top;
        head.length = static_cast<std::uint32_t>(length);
        take(head);
        top.from += head.length;
        top.length -= head.length;
        return;
      }
      length -= top.length;
      take(top);
      m_pieces.pop_back();
    }
  }

  std::vector<Piece> release() { return std::move(m_pieces); }

 private:
  std::vector<Piece> m_pieces;
  std::size_t m_length = 0;
};

}  // namespace

// The pieces, from back to front, where commands cover what others cover or insert: every entry,
// from the last to the first, replaces bytes of the text that the ones behind it have left.
std::vector<TokenList::Piece> TokenList::resolvePieces() const {
  PieceStack<Piece> behind;
  std::size_t untouched = m_base.size();  // of the base string, in front of `behind`
  std::vector<Piece> passed;
  for (std::size_t i = m_entries.size(); i-- > 0;) {
    const Entry& at = m_entries[i];
    const auto start = static_cast<std::size_t>(std::int64_t{at.start});
    if (start > untouched + behind.length()) throw std::out_of_range("basic_string::replace");
    if (start < untouched) {
      behind.push({Piece::kBase, static_cast<std::uint32_t>(start),
                   static_cast<std::uint32_t>(untouched - start)});
      untouched = start;
    }
    // An entry out of order lies among pieces that are there already: step over those before it.
    passed.clear();
    behind.pop(start - untouched, [&](const Piece& piece) { passed.push_back(piece); });
    if (at.isCommand()) {
      // A negative length is a huge one for a string, and runs to the end of the text.
      const auto covered = static_cast<std::size_t>(std::int64_t{m_commands[at.command()].covered});
      behind.pop(std::min(covered, behind.length()), [](const Piece&) {});
    }
    if (const std::int32_t id = markupOf(at); id >= 0) behind.push(wholeMarkup(id));
    std::for_each(passed.rbegin(), passed.rend(), [&](const Piece& piece) { behind.push(piece); });
  }
  behind.push({Piece::kBase, 0, static_cast<std::uint32_t>(untouched)});
  return behind.release();
}

std::string TokenList::getConvertedString() const {
  std::size_t length = 0;
  forEachPiece([&](const Piece& piece) { length += piece.length; });
  std::string converted;
  converted.reserve(length);
  forEachPiece([&](const Piece& piece) { converted.append(dataOf(piece), piece.length); });
  return converted;
}

PositionMap TokenList::getPositions() const {
  // Markup stands in front of the next copied byte, which is known only when that comes.
  PositionMap positions;
  std::uint32_t inserted = 0;
  const auto place = [&](std::uint32_t origin) {
    positions.replaced(inserted, origin, origin);
    inserted = 0;
  };
  forEachPiece([&](const Piece& piece) {
    if (piece.source != Piece::kBase) {
      inserted += piece.length;
      return;
    }
    place(piece.from);
    positions.copied(piece.length, piece.from);
  });
  place(static_cast<std::uint32_t>(m_base.size()));
  return positions;
}

OffsetMap TokenList::getOffsets() const {
  OffsetMap offsets = m_inheritedOffsets;
  offsets.reserve(m_entries.size() + 1);
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const Entry& at = m_entries[i];
    const auto start = static_cast<unsigned int>(at.start);
    const std::int32_t id = markupOf(at);
    const int inserted =
        id < 0 ? 0 : static_cast<int>(m_markups[static_cast<std::size_t>(id)].size());
    if (inserted > 0) {
      offsets.insert(start, inserted, OffsetMap::SSML_TOKEN, false);
    } else {
      const int covered = at.isCommand() ? m_commands[at.command()].covered : 0;
      offsets.insert(start, covered, OffsetMap::APPLE_TOKEN, false);
    }
  }
  return offsets;
}

void TokenList::print() {
  std::printf("There are %d entries in the list\n", size());
  for (int i = 0; i < size(); ++i) {
    const SpeechMarkupToken token = getTokenAt(static_cast<unsigned int>(i));
    token.getAppleMarkupToken().print();
    token.getSSMLMarkupToken().print();
  }
}
