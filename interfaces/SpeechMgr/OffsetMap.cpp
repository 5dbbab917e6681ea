// SPDX-License-Identifier: Apache-2.0
//
// Recording, deriving the lists of ranges, and queries. The literal steps are linear searches over
// all records and ranges; here they are binary searches and groups with the same results.
// OffsetMap.h names the algorithms.
#include "OffsetMap.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <unordered_map>

#include "Diagnostics.h"

namespace {

std::uint32_t unsignedOf(std::int32_t amount) {
  return static_cast<std::uint32_t>(amount);
}
std::int32_t signedOf(std::uint32_t amount) {
  return static_cast<std::int32_t>(amount);
}

std::uint32_t endOf(const OffsetMap::Offset& range) {
  return range.pos + unsignedOf(range.amount);
}

const char* yesNo(bool value) {
  return value ? "YES" : "NO";
}

// Returns the prefix maximum for every index. It never decreases, so the first element that reaches
// a value can be found by binary search although the elements themselves are in no order.
template <typename Range, typename Value>
std::vector<std::uint32_t> runningMaximum(const Range& range, Value value) {
  std::vector<std::uint32_t> maximum;
  maximum.reserve(range.size());
  std::uint32_t greatest = 0;
  for (const auto& element : range) {
    greatest = std::max(greatest, value(element));
    maximum.push_back(greatest);
  }
  return maximum;
}

std::size_t firstReaching(const std::vector<std::uint32_t>& maximum, std::uint32_t value) {
  return static_cast<std::size_t>(std::lower_bound(maximum.begin(), maximum.end(), value) -
                                  maximum.begin());
}

// The same for queries that mostly ascend: `cursor` holds the last result, which is tried first.
std::size_t firstReaching(const std::vector<std::uint32_t>& maximum, std::uint32_t value,
                          std::size_t& cursor) {
  const auto isFirst = [&](std::size_t index) {
    return (index == 0 || maximum[index - 1] < value) &&
           (index == maximum.size() || maximum[index] >= value);
  };
  if (cursor > maximum.size()) cursor = 0;
  if (isFirst(cursor)) return cursor;
  if (cursor < maximum.size() && isFirst(cursor + 1)) return ++cursor;
  return cursor = firstReaching(maximum, value);
}

// Union-find over ranges. A record that begins where ranges of its kind end makes all of them grow.
// From then on they end at the same position, so they form a group with one end. The walk to the
// root halves the paths.
class TouchingGroups {
 public:
  explicit TouchingGroups(std::size_t expected) {
    m_parents.reserve(expected);
    m_ends.reserve(expected);
    m_byEnd.reserve(expected);
  }

  // Adds a range, with the next index.
  void add(std::uint32_t end, bool inserted) {
    const auto index = static_cast<std::uint32_t>(m_parents.size());
    m_parents.push_back(index);
    m_ends.push_back(end);
    mergeAtEnd(index, inserted);
  }

  // Grows the ranges that end at `position` by `amount`. Returns false if there are none.
  bool grow(std::uint32_t position, std::uint32_t amount, bool inserted) {
    const auto found = m_byEnd.find(key(position, inserted));
    if (found == m_byEnd.end()) return false;
    if (amount == 0) return true;
    const std::uint32_t group = found->second;
    m_byEnd.erase(found);
    m_ends[group] = position + amount;
    mergeAtEnd(group, inserted);
    return true;
  }

  std::uint32_t endOfRange(std::size_t index) {
    return m_ends[root(static_cast<std::uint32_t>(index))];
  }

 private:
  static std::uint64_t key(std::uint32_t end, bool inserted) {
    return (static_cast<std::uint64_t>(end) << 1) | static_cast<std::uint64_t>(inserted);
  }

  // Enters the group under its end, or unites it with the group of the same kind that has that end.
  void mergeAtEnd(std::uint32_t group, bool inserted) {
    const auto [entry, added] = m_byEnd.try_emplace(key(m_ends[group], inserted), group);
    if (!added) m_parents[group] = entry->second;
  }

  std::uint32_t root(std::uint32_t index) {
    while (m_parents[index] != index) {
      m_parents[index] = m_parents[m_parents[index]];
      index = m_parents[index];
    }
    return index;
  }

  std::vector<std::uint32_t> m_parents;
  std::vector<std::uint32_t> m_ends;                         // of each root; of others meaningless
  std::unordered_map<std::uint64_t, std::uint32_t> m_byEnd;  // root, by end and kind
};

}  // namespace

void OffsetMap::PrefixMaximum::add(const Offset& record) {
  const auto type = static_cast<std::size_t>(record.type);
  if (type >= kTypes) return;
  pos[type] = std::max(pos[type], record.pos);
  any[type] = true;
}

// ---- Recording

// A record at the position of an earlier one of its type may split it, change it or be dropped;
// every other record is inserted at its slot.
void OffsetMap::insert(unsigned int pos, int amount, TokenType type, bool insertedCode) {
  if (diagnosticsEnabled(kDiagMarkup, 5)) {
    std::printf("INSERT NEW TOKEN pos: %d amount: %d ", signedOf(pos), amount);
    if (type == APPLE_TOKEN) std::printf("token type: APPLE_TOKEN ");
    if (type == SSML_TOKEN) std::printf("token type: SSML_TOKEN ");
    std::printf("inserted: %s\n", yesNo(insertedCode));
  }
  finalListsBuilt = false;
  Offset record{pos, amount, insertedCode, type};
  if (m_offsets.empty()) return insertAt(0, record);

  std::ptrdiff_t slot = findSlot(record);
  if (slot < 0) return insertAt(m_offsets.size(), record);

  Offset& there = m_offsets[static_cast<std::size_t>(slot)];
  if (there.pos == record.pos && there.type == record.type) {
    if (record.amount < there.amount && there.insertedCode) {
      // A command at the start of inserted settings text splits the record of that text.
      const std::int32_t rest = signedOf(unsignedOf(there.amount) - unsignedOf(record.amount));
      there.amount = record.amount;
      record = {there.pos + unsignedOf(record.amount), rest, true, record.type};
      ++slot;
    } else if (record.amount == there.amount && record.insertedCode != there.insertedCode) {
      // The same range recorded twice counts as inserted if either record says so.
      there.insertedCode = true;
      return;
    } else if (there.insertedCode) {
      return;
    }
  }
  insertAt(static_cast<std::size_t>(slot), record);
}

// Returns the index of the record of the same position and type, or the slot before the first later
// record of the type, or -1 if there is neither.
// Rationale: the slot is one before the later record. If that is the first record, there is no such
// slot, and the search continues after it.
std::ptrdiff_t OffsetMap::findSlot(const Offset& record) const {
  const Offset& first = m_offsets.front();
  if (first.type == record.type && first.pos == record.pos) return 0;
  const auto type = static_cast<std::size_t>(record.type);
  if (type >= kTypes) return slotFrom(1, record);

  const auto isBefore = [&](const PrefixMaximum& maximum) {
    return !maximum.any[type] || maximum.pos[type] < record.pos;
  };
  if (isBefore(m_blockMaxima.back())) return -1;
  // Records mostly come in order, so the last block is tried before the binary search over blocks.
  auto block = m_blockMaxima.end() - 1;
  if (m_blockMaxima.size() > 1 && !isBefore(*(block - 1))) {
    block = std::partition_point(m_blockMaxima.begin(), m_blockMaxima.end(), isBefore);
  }
  // The maximum of this block reaches the record's position, so the scan ends within the block.
  const std::size_t index = static_cast<std::size_t>(block - m_blockMaxima.begin()) * kBlock;
  return slotFrom(std::max<std::size_t>(index, 1), record);
}

// As findSlot, among the records from `index` on.
std::ptrdiff_t OffsetMap::slotFrom(std::size_t index, const Offset& record) const {
  for (; index < m_offsets.size(); ++index) {
    const Offset& later = m_offsets[index];
    if (later.type != record.type || later.pos < record.pos) continue;
    return static_cast<std::ptrdiff_t>(later.pos == record.pos ? index : index - 1);
  }
  return -1;
}

// Inserts the record and updates the prefix maxima of the blocks from its own on.
void OffsetMap::insertAt(std::size_t index, const Offset& record) {
  m_offsets.insert(m_offsets.begin() + static_cast<std::ptrdiff_t>(index), record);
  const std::size_t blocks = (m_offsets.size() + kBlock - 1) / kBlock;
  if (index > 0 && index / kBlock + 1 == m_blockMaxima.size() && blocks == m_blockMaxima.size()) {
    // Only the last block has changed.
    m_blockMaxima.back().add(record);
    return;
  }
  // The records after it may have moved into the next block.
  m_blockMaxima.resize(blocks);
  for (std::size_t block = index / kBlock; block < blocks; ++block) {
    m_blockMaxima[block] = block == 0 ? PrefixMaximum{} : m_blockMaxima[block - 1];
    const std::size_t end = std::min(m_offsets.size(), (block + 1) * kBlock);
    for (std::size_t i = std::max<std::size_t>(block * kBlock, 1); i < end; ++i) {
      m_blockMaxima[block].add(m_offsets[i]);
    }
  }
}

// ---- Deriving the lists

void OffsetMap::buildFinalLists() {
  finalListsBuilt = true;
  buildAppleRanges();
  if (!appleRanges.empty()) buildSsmlRanges();
  buildLookup();
}

// Merges touching command text. Every record makes all ranges grow that end at its position and are
// of its kind; if there are none, it becomes a range itself.
void OffsetMap::buildAppleRanges() {
  const auto isApple = [](const Offset& record) { return record.type == APPLE_TOKEN; };
  const auto count =
      static_cast<std::size_t>(std::count_if(m_offsets.begin(), m_offsets.end(), isApple));
  appleRanges.reserve(appleRanges.size() + count);
  TouchingGroups groups(appleRanges.size() + count);
  for (const Offset& range : appleRanges) groups.add(endOf(range), range.insertedCode);
  for (const Offset& record : m_offsets) {
    if (!isApple(record)) continue;
    if (groups.grow(record.pos, unsignedOf(record.amount), record.insertedCode)) continue;
    appleRanges.push_back(record);
    groups.add(endOf(record), record.insertedCode);
  }
  for (std::size_t i = 0; i < appleRanges.size(); ++i) {
    appleRanges[i].amount = signedOf(groups.endOfRange(i) - appleRanges[i].pos);
  }
}

// Returns the plain text before, between and after the Apple ranges; there must be at least one
// range. The last gap has no end and the amount -1.
std::vector<OffsetMap::Offset> OffsetMap::plainGaps() const {
  std::vector<Offset> all;
  all.reserve(appleRanges.size() + 1);
  std::uint32_t start = 0;
  for (const Offset& range : appleRanges) {
    all.push_back({start, signedOf(range.pos - start), false, APPLE_TOKEN});
    start = endOf(range);
  }
  all.push_back({start, -1, false, APPLE_TOKEN});

  std::vector<Offset> kept;
  kept.reserve(all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].pos == 0 && all[i].amount == 0) {
      // Rationale: the gap after an empty gap at position 0 is kept, even if it is empty too.
      if (++i == all.size()) break;
    }
    kept.push_back(all[i]);
  }
  return kept;
}

// Gives each markup record a range. It starts after the plain text before the record's Apple range
// and the markup of all earlier records. A record after the last Apple range gets no range.
void OffsetMap::buildSsmlRanges() {
  const std::vector<Offset> gaps = plainGaps();
  const auto gapMaxima = runningMaximum(gaps, [](const Offset& gap) { return gap.pos; });
  std::vector<std::uint32_t> plainUpTo;  // plain text up to and with each gap
  plainUpTo.reserve(gaps.size());
  std::uint32_t plain = 0;
  for (const Offset& gap : gaps) plainUpTo.push_back(plain += unsignedOf(gap.amount));
  const auto appleMaxima = runningMaximum(appleRanges, endOf);

  std::size_t rangeCursor = 0;
  std::size_t gapCursor = 0;
  const auto plainBefore = [&](const Offset& range) -> std::uint32_t {
    if (range.pos <= gaps.front().pos) return 0;
    // gaps[0] starts before the range, so `next` is at least 1.
    const std::size_t next = std::min(firstReaching(gapMaxima, range.pos, gapCursor), gaps.size());
    return plainUpTo[next - 1];
  };

  // Rationale: the list has at least as many ranges as the Apple list, unused ones being empty. A
  // record whose range is taken, which happens in a second build only, adds to it.
  ssmlRanges.resize(appleRanges.size());
  std::size_t slot = 0;
  std::uint32_t before = 0;  // markup of the records before this one
  for (const Offset& record : m_offsets) {
    if (record.type != SSML_TOKEN) continue;
    const std::uint32_t markupBefore = before;
    before += unsignedOf(record.amount);
    const std::size_t range = firstReaching(appleMaxima, record.pos, rangeCursor);
    if (range == appleRanges.size()) continue;

    if (slot >= ssmlRanges.size()) ssmlRanges.resize(slot + 1);
    Offset& target = ssmlRanges[slot];
    if (target.pos == 0 && target.amount == 0) {
      target = record;
      target.pos = range == 0 ? appleRanges[0].pos : plainBefore(appleRanges[range]) + markupBefore;
      ++slot;
    } else {
      target.amount = signedOf(unsignedOf(target.amount) + unsignedOf(record.amount));
    }
  }
}

// Prepares prefix sums and prefix maxima, so that offset() needs two searches and no walk.
void OffsetMap::buildLookup() {
  m_lookup = Lookup();
  m_lookup.ssmlMaxima = runningMaximum(ssmlRanges, [](const Offset& range) { return range.pos; });
  m_lookup.ssmlBefore.reserve(ssmlRanges.size() + 1);
  std::uint32_t markup = 0;
  for (const Offset& range : ssmlRanges) {
    m_lookup.ssmlBefore.push_back(markup);
    markup += unsignedOf(range.amount);
  }
  m_lookup.ssmlBefore.push_back(markup);

  std::int64_t plain = 0;
  std::uint32_t greatest = 0;
  std::uint32_t removed = 0;
  for (std::size_t j = 0; j < appleRanges.size(); ++j) {
    // Rationale: the last range is the converter's closing text and is never counted.
    if (j + 1 < appleRanges.size()) {
      plain += signedOf(appleRanges[j + 1].pos - endOf(appleRanges[j]));
      if (!appleRanges[j].insertedCode) removed += unsignedOf(appleRanges[j].amount);
    }
    if (plain < 0 || plain > INT32_MAX) m_lookup.wraps = true;
    greatest = std::max(greatest, static_cast<std::uint32_t>(plain));
    m_lookup.plainMaxima.push_back(greatest);
    m_lookup.removed.push_back(removed);
  }
}

// ---- Queries

// Adds up the markup that starts before `pos`, and subtracts the command text that was removed
// before the plain text at `pos`.
unsigned int OffsetMap::offset(unsigned int pos) {
  if (!finalListsBuilt) buildFinalLists();

  const std::size_t ranges = firstReaching(m_lookup.ssmlMaxima, pos, m_lookup.ssmlCursor);
  const std::uint32_t correction = m_lookup.ssmlBefore[ranges];

  // Rationale: both "+ 1" are part of the arithmetic, boundary effects included.
  std::uint32_t rest = pos - correction + 1;
  if (!appleRanges.empty() && appleRanges.front().pos != 0)
    rest = rest - appleRanges.front().pos + 1;
  if (signedOf(rest) <= 0 || appleRanges.empty()) return correction;
  if (m_lookup.wraps) return walkAppleRanges(signedOf(rest), correction);

  const std::size_t range = firstReaching(m_lookup.plainMaxima, rest, m_lookup.appleCursor);
  return correction - m_lookup.removed[std::min(range, appleRanges.size() - 1)];
}

// The last part of offset() step by step, for lengths whose sums do not fit 32 bits: prefix maxima
// of wrapped sums would find the wrong range.
unsigned int OffsetMap::walkAppleRanges(std::int32_t rest, std::uint32_t correction) const {
  for (std::size_t j = 0; j + 1 < appleRanges.size(); ++j) {
    if (!appleRanges[j].insertedCode) correction -= unsignedOf(appleRanges[j].amount);
    rest = signedOf(unsignedOf(rest) - (appleRanges[j + 1].pos - endOf(appleRanges[j])));
    if (rest <= 0) break;
  }
  return correction;
}

void OffsetMap::clean() {
  finalListsBuilt = false;
  appleRanges.clear();
  ssmlRanges.clear();
  m_offsets.clear();
  m_blockMaxima.clear();
}

void OffsetMap::print() {
  if (!finalListsBuilt) buildFinalLists();
  std::printf("APPLE:\n");
  for (std::size_t i = 0; i < appleRanges.size(); ++i) {
    const Offset& range = appleRanges[i];
    std::printf("\t%d POS: %d  AMOUNT: %d  INSERTED: %s\n", static_cast<int>(i),
                signedOf(range.pos), range.amount, yesNo(range.insertedCode));
  }
  std::printf("SSML:\n");
  for (std::size_t i = 0; i < ssmlRanges.size(); ++i) {
    std::printf("\t%d POS: %d  AMOUNT: %d \n", static_cast<int>(i), signedOf(ssmlRanges[i].pos),
                ssmlRanges[i].amount);
  }
  for (std::size_t i = 0; i < m_offsets.size(); ++i) {
    const Offset& record = m_offsets[i];
    std::fprintf(stderr, "%d OFFSETS: position: %d amount: %d inserted: %s ", static_cast<int>(i),
                 signedOf(record.pos), record.amount, yesNo(record.insertedCode));
    switch (record.type) {
      case APPLE_TOKEN:
        std::fprintf(stderr, "type: APPLE_TOKEN\n");
        break;
      case SSML_TOKEN:
        std::fprintf(stderr, "type: SSML_TOKEN\n");
        break;
      default:
        std::fprintf(stderr, "type: UNKNOWN\n");
    }
  }
}
