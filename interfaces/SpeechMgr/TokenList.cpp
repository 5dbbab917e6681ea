// SPDX-License-Identifier: Apache-2.0
//
// Finding the commands of a text, changing the list, and the results. TokenList.h names the
// algorithms.
#include "TokenList.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

const std::string kNoMarkup;

// A Fenwick tree (binary indexed tree) over the positions 0 … size − 2: changes and prefix sums in
// logarithmic time. Element 0 is unused.
using CountTree = std::vector<std::uint32_t>;

std::size_t lowestBit(std::size_t i) {
  return i & (~i + 1);
}

// `amount` may be ~0u to subtract one: the counts wrap.
void addToCount(CountTree& tree, std::size_t position, std::uint32_t amount) {
  for (std::size_t i = position + 1; i < tree.size(); i += lowestBit(i)) tree[i] += amount;
}

// Sum of the counts at the positions before `position`.
std::uint32_t countBelow(const CountTree& tree, std::size_t position) {
  std::uint32_t count = 0;
  for (std::size_t i = position; i > 0; i -= lowestBit(i)) count += tree[i];
  return count;
}

}  // namespace

// ---- Finding the commands

// Each "[[…]]" gives one entry per command in it. An entry ends before the ";" that separates it
// from the next command, and the next one includes that ";": together they cover the text exactly.
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
    const std::size_t limit = closed ? close : m_base.size();  // a ";" before it separates
    const std::size_t end = closed ? close + 2 : m_base.size();
    while (pos < end) {
      // From pos + 1, because a command after the first begins with its ";".
      const std::size_t from = std::min(pos + 1, limit);
      const std::size_t semicolon = std::string_view(m_base).substr(from, limit - from).find(';');
      const std::size_t next = semicolon == std::string_view::npos ? end : from + semicolon;
      appendCommand(pos, next - pos, work);
      pos = next;
    }
    pos = m_base.find("[[", end);
  }
}

// Counts the commands before they are stored, as there may be almost as many as bytes: doubling the
// vectors would take twice the memory for a moment.
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

// `work` is reused from command to command; only the kind that it finds is stored.
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
  m_externalCommands.clear();
  m_hasType.fill(false);
  m_ordered = true;
  m_startCounts.clear();
}

// ---- Entries

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

std::uint32_t TokenList::addCommand(const StoredCommand& command) {
  m_commands.push_back(command);
  m_hasType[static_cast<std::size_t>(command.type)] = true;
  return static_cast<std::uint32_t>(m_commands.size() - 1) | TokenEntry::kIsCommand;
}

// A token from a caller of the given interface need not match the base string, so its command is
// kept as it is.
std::uint32_t TokenList::addExternalToken(const SpeechMarkupToken& token) {
  const SSMLMarkupToken markup = token.getSSMLMarkupToken();
  const std::int32_t id = markup.isInitialized()
                              ? static_cast<std::int32_t>(addMarkup(markup.getTokenString()))
                              : kNone;
  m_externalCommands.push_back(token.getAppleMarkupToken());
  const AppleMarkupToken& command = m_externalCommands.back();
  return addCommand({command.getTokenStringSize(),
                     ~static_cast<std::int32_t>(m_externalCommands.size() - 1), id,
                     command.getTokenType()});
}

// Rebuilds the token: entries hold positions only, so the command is parsed again.
SpeechMarkupToken TokenList::getTokenAt(unsigned int index) const {
  const TokenEntry& at = m_entries[getVectorIterator(index)];
  SpeechMarkupToken token;
  token.setStartPos(static_cast<unsigned int>(at.start));
  if (at.isCommand()) {
    const StoredCommand& command = m_commands[at.command()];
    AppleMarkupToken apple;
    if (command.text < 0) {
      const std::int32_t given = ~command.text;
      apple = m_externalCommands[static_cast<std::size_t>(given)];
    } else {
      if (command.text > 0) {
        apple.setTokenString(m_base.substr(static_cast<std::size_t>(at.start),
                                           static_cast<std::size_t>(command.text)));
      }
      // The stored type differs from the parsed one only if the command became ignored text.
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
  removeTokenAt(index);
  m_entries.insert(index, {token.getStartPos(), addExternalToken(token)});
  updateOrder(index);
}

void TokenList::removeTokenAt(unsigned int index) {
  const std::size_t at = getVectorIterator(index);
  if (!m_startCounts.empty()) {
    addToCount(m_startCounts, treeIndex(m_entries[at].start), ~0u);
  }
  m_entries.erase(at);
}

void TokenList::insertTokenAt(unsigned int index, SpeechMarkupToken token) {
  insertEntry(index, {token.getStartPos(), addExternalToken(token)});
}

void TokenList::insertMarkup(int index, int start, MarkupId markup) {
  insertEntry(index, {start, markup});
}

int TokenList::insertIgnoredText(int index, int start, int length) {
  const StoredCommand ignored{length, 0, kEmpty, AppleMarkupToken::COMMENT_TAG};
  return static_cast<int>(insertEntry(index, {start, addCommand(ignored)}));
}

void TokenList::ignoreText(int index, int length) {
  StoredCommand& command = m_commands[entry(index).command()];
  command.covered = length;
  command.markup = kEmpty;
}

// The index is raised to the number of entries that start earlier, unless all of them do. All
// checks come before the first change, so an exception leaves the list unchanged.
std::int64_t TokenList::insertEntry(std::int64_t index, const TokenEntry& added) {
  // Shortcut for an ordered list: if the entry at the index does not start earlier, no entry after
  // it does, so the index cannot be too small.
  const bool indexFits =
      m_ordered &&
      (index >= size() || m_entries[static_cast<std::size_t>(index)].start >= added.start);
  if (!indexFits) {
    const std::int64_t before = countStartingBefore(added.start);
    if (before < size()) index = std::max(index, before);
  }

  // Rationale: one past the size appends, the size itself fails the check.
  const std::int64_t appended = std::int64_t{size()} + 1;
  if (index == appended) {
    index = size();
  } else {
    const auto at = static_cast<unsigned int>(index);
    if (at != 0 && added.start < m_entries[getVectorIterator(at - 1)].start) {
      throw AppleSynthesisError(INDEX_OUT_OF_RANGE);
    }
    getVectorIterator(at);
  }
  m_entries.insert(static_cast<std::size_t>(index), added);
  updateOrder(static_cast<std::size_t>(index));
  return index;
}

// Binary search while the entries are ordered, the Fenwick tree if they are not, and a linear scan
// for positions outside the text, which the tree does not tell apart.
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
    return countBelow(m_startCounts, treeIndex(start));
  }
  std::int64_t count = 0;
  for (std::size_t i = 0; i < m_entries.size(); ++i) count += m_entries[i].start < start;
  return count;
}

// Positions before the text share the first element of the tree, those after it the last.
std::size_t TokenList::treeIndex(std::int32_t start) const {
  const auto end = static_cast<std::int64_t>(m_base.size()) + 1;
  return static_cast<std::size_t>(std::clamp<std::int64_t>(start, -1, end) + 1);
}

// Updates m_ordered and m_startCounts after the insertion of the entry at `index`. The first entry
// out of order builds the tree.
void TokenList::updateOrder(std::size_t index) {
  const std::int32_t start = m_entries[index].start;
  if (!m_ordered) {
    addToCount(m_startCounts, treeIndex(start), 1);
    return;
  }
  const bool inOrder = (index == 0 || m_entries[index - 1].start <= start) &&
                       (index + 1 == m_entries.size() || start <= m_entries[index + 1].start);
  if (inOrder) return;
  m_ordered = false;
  m_startCounts.assign(m_base.size() + 4, 0);
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    addToCount(m_startCounts, treeIndex(m_entries[i].start), 1);
  }
}

// ---- Results

// Returns true if the entries are in order, do not overlap, and lie within the text.
bool TokenList::entriesAreDisjoint() const {
  std::int64_t end = 0;
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const TokenEntry& at = m_entries[i];
    const std::int64_t covered = at.isCommand() ? m_commands[at.command()].covered : 0;
    if (at.start < end || covered < 0) return false;
    end = at.start + covered;
  }
  return end <= static_cast<std::int64_t>(m_base.size());
}

// Disjoint entries, the usual case, are merged with the base string in one walk, without
// allocating.
template <typename Visit>
void TokenList::forEachRange(Visit visit) const {
  if (!entriesAreDisjoint()) {
    const std::vector<SourceRange> ranges = resolveRanges();
    std::for_each(ranges.rbegin(), ranges.rend(), visit);
    return;
  }
  std::uint32_t done = 0;
  const auto visitBaseUpTo = [&](std::uint32_t end) {
    if (end > done) visit(SourceRange{SourceRange::kBase, done, end - done});
    done = end;
  };
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const TokenEntry& at = m_entries[i];
    visitBaseUpTo(static_cast<std::uint32_t>(at.start));
    if (const std::int32_t id = markupOf(at); id >= 0) visit(rangeOfMarkup(id));
    if (at.isCommand()) done += static_cast<std::uint32_t>(m_commands[at.command()].covered);
  }
  visitBaseUpTo(static_cast<std::uint32_t>(m_base.size()));
}

TokenList::SourceRange TokenList::rangeOfMarkup(std::int32_t id) const {
  const std::string& markup = m_markups[static_cast<std::size_t>(id)];
  return {static_cast<std::uint32_t>(id), 0, static_cast<std::uint32_t>(markup.size())};
}

const char* TokenList::dataOf(const SourceRange& range) const {
  return (range.source == SourceRange::kBase ? m_base : m_markups[range.source]).data() +
         range.from;
}

namespace {

// The text after a position, as a stack of ranges with the first one on top.
template <typename Range>
class RangeStack {
 public:
  std::size_t length() const { return m_length; }

  void push(const Range& range) {
    if (range.length == 0) return;
    m_ranges.push_back(range);
    m_length += range.length;
  }

  // Removes the first `length` bytes and passes them, range by range, to `take`.
  template <typename Take>
  void pop(std::size_t length, Take take) {
    m_length -= length;
    while (length > 0) {
      Range& top = m_ranges.back();
      if (top.length > length) {
        // Only the head of this range: the rest stays on the stack.
        Range head = top;
        head.length = static_cast<std::uint32_t>(length);
        take(head);
        top.from += head.length;
        top.length -= head.length;
        return;
      }
      length -= top.length;
      take(top);
      m_ranges.pop_back();
    }
  }

  std::vector<Range> release() { return std::move(m_ranges); }

 private:
  std::vector<Range> m_ranges;
  std::size_t m_length = 0;
};

}  // namespace

// For entries that overlap or are out of order. The result is defined by replacing, from the last
// entry to the first, the bytes that each covers in the text as the later entries have left it.
// Doing that on the text itself would take quadratic time; here the text is a stack of ranges.
std::vector<TokenList::SourceRange> TokenList::resolveRanges() const {
  RangeStack<SourceRange> following;
  std::size_t untouched = m_base.size();  // bytes of the base string before `following`
  std::vector<SourceRange> passed;
  for (std::size_t i = m_entries.size(); i-- > 0;) {
    const TokenEntry& at = m_entries[i];
    const auto start = static_cast<std::size_t>(std::int64_t{at.start});
    if (start > untouched + following.length()) throw std::out_of_range("basic_string::replace");
    if (start < untouched) {
      following.push({SourceRange::kBase, static_cast<std::uint32_t>(start),
                      static_cast<std::uint32_t>(untouched - start)});
      untouched = start;
    }
    // An entry out of order lies between ranges on the stack: step over the ranges before it.
    passed.clear();
    following.pop(start - untouched, [&](const SourceRange& range) { passed.push_back(range); });
    if (at.isCommand()) {
      // As an unsigned length, a negative one is huge and extends to the end of the text.
      const auto covered = static_cast<std::size_t>(std::int64_t{m_commands[at.command()].covered});
      following.pop(std::min(covered, following.length()), [](const SourceRange&) {});
    }
    if (const std::int32_t id = markupOf(at); id >= 0) following.push(rangeOfMarkup(id));
    std::for_each(passed.rbegin(), passed.rend(),
                  [&](const SourceRange& range) { following.push(range); });
  }
  following.push({SourceRange::kBase, 0, static_cast<std::uint32_t>(untouched)});
  return following.release();
}

std::string TokenList::getConvertedString() const {
  // The length first: a text of many megabytes must not be copied again and again while it grows.
  std::size_t length = 0;
  forEachRange([&](const SourceRange& range) { length += range.length; });
  std::string converted;
  converted.reserve(length);
  forEachRange([&](const SourceRange& range) { converted.append(dataOf(range), range.length); });
  return converted;
}

PositionMap TokenList::getPositions() const {
  // Markup belongs before the next copied byte, so it is added to the map when that byte is known.
  PositionMap positions;
  std::uint32_t inserted = 0;
  const auto addInserted = [&](std::uint32_t origin) {
    positions.addReplacement(inserted, origin, origin);
    inserted = 0;
  };
  forEachRange([&](const SourceRange& range) {
    if (range.source != SourceRange::kBase) {
      inserted += range.length;
      return;
    }
    addInserted(range.from);
    positions.addCopied(range.length, range.from);
  });
  addInserted(static_cast<std::uint32_t>(m_base.size()));
  return positions;
}

// Rationale: an entry with markup gets a markup record only, even if it removes command text. The
// arithmetic of OffsetMap is made for that.
OffsetMap TokenList::getOffsets() const {
  OffsetMap offsets = m_inheritedOffsets;
  offsets.reserve(m_entries.size() + 1);
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const TokenEntry& at = m_entries[i];
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
