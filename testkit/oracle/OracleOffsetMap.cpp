// SPDX-License-Identifier: Apache-2.0
//
// The oracle's offset map, in unsigned and signed 32-bit arithmetic that wraps.
#include "Oracle.h"

namespace oracle {

namespace {

std::uint32_t asUnsigned(std::int32_t value) {
  return static_cast<std::uint32_t>(value);
}
std::int32_t asSigned(std::uint32_t value) {
  return static_cast<std::int32_t>(value);
}

std::uint32_t endOf(const Record& record) {
  return record.pos + asUnsigned(record.amount);
}

}  // namespace

void OffsetMap::insert(std::uint32_t pos, std::int32_t amount, int type, bool insertedCode) {
  m_finalListsBuilt = false;
  Record added{pos, amount, insertedCode, type};
  if (m_offsets.empty()) {
    m_offsets.push_back(added);
    return;
  }

  int slot = -1;
  for (std::size_t i = 0; i < m_offsets.size() && slot == -1; ++i) {
    const Record& there = m_offsets[i];
    if (there.type != added.type) continue;
    if (there.pos == added.pos) {
      slot = static_cast<int>(i);
    } else if (added.pos < there.pos) {
      // Rationale: one slot before the first later record; for the first record that is -1 and the
      // search continues.
      slot = static_cast<int>(i) - 1;
    }
  }

  if (slot != -1) {
    Record& there = m_offsets[static_cast<std::size_t>(slot)];
    if (there.pos == added.pos && there.type == added.type) {
      if (added.amount < there.amount && there.insertedCode) {
        const std::int32_t whole = there.amount;
        there.amount = added.amount;
        added = Record{there.pos + asUnsigned(there.amount),
                       asSigned(asUnsigned(whole) - asUnsigned(there.amount)), true, added.type};
        slot = slot + 1;
      } else if (added.amount == there.amount && added.insertedCode != there.insertedCode) {
        there.insertedCode = true;
        return;
      } else if (there.insertedCode) {
        return;
      }
    }
  }

  if (slot == -1) slot = static_cast<int>(m_offsets.size());
  m_offsets.insert(m_offsets.begin() + slot, added);
}

void OffsetMap::addAppleRange(const Record& record) {
  if (m_appleRanges.empty()) {
    m_appleRanges.push_back(record);
    return;
  }
  bool grew = false;
  for (Record& range : m_appleRanges) {
    if (endOf(range) == record.pos && range.insertedCode == record.insertedCode) {
      range.amount = asSigned(asUnsigned(range.amount) + asUnsigned(record.amount));
      grew = true;
    }
  }
  if (!grew) m_appleRanges.push_back(record);
}

// The plain text between the Apple ranges; there is at least one range.
std::vector<Record> OffsetMap::gaps() const {
  const std::vector<Record>& apple = m_appleRanges;
  std::vector<Record> list;
  list.push_back(Record{0, asSigned(apple[0].pos)});
  for (std::size_t k = 1; k < apple.size(); ++k) {
    const std::uint32_t end = endOf(apple[k - 1]);
    list.push_back(Record{end, asSigned(apple[k].pos - end)});
  }
  list.push_back(Record{endOf(apple[apple.size() - 1]), -1});

  for (std::size_t k = 0; k < list.size(); ++k) {
    // Rationale: the record that moves into the freed slot is not examined.
    if (list[k].pos == 0 && list[k].amount == 0) {
      list.erase(list.begin() + static_cast<std::ptrdiff_t>(k));
    }
  }
  return list;
}

// The position in the converted text at which the SSML record number `record`, which belongs to
// Apple range `range`, starts.
std::uint32_t OffsetMap::convertedPosition(std::size_t record, std::size_t range,
                                           const std::vector<Record>& gapList) const {
  if (range == 0) return m_appleRanges[0].pos;

  std::uint32_t plain = 0;
  if (m_appleRanges[range].pos > gapList[0].pos) {
    plain = asUnsigned(gapList[0].amount);
    for (std::size_t m = 0; m + 1 < gapList.size() && gapList[m + 1].pos < m_appleRanges[range].pos;
         ++m) {
      plain += asUnsigned(gapList[m + 1].amount);
    }
  }

  std::uint32_t ssml = 0;
  for (std::size_t i = 0; i < record; ++i) {
    if (m_offsets[i].type == kSsmlToken) ssml += asUnsigned(m_offsets[i].amount);
  }
  return plain + ssml;
}

void OffsetMap::buildFinalLists() {
  m_finalListsBuilt = true;
  for (const Record& record : m_offsets) {
    if (record.type == kAppleToken) addAppleRange(record);
  }
  // Without an Apple range every SSML record is after the last one, so none gets a range.
  if (m_appleRanges.empty()) return;

  const std::vector<Record> gapList = gaps();
  m_ssmlRanges.resize(m_appleRanges.size());

  std::size_t slot = 0;
  for (std::size_t i = 0; i < m_offsets.size(); ++i) {
    const Record& record = m_offsets[i];
    if (record.type != kSsmlToken) continue;

    std::size_t range = 0;
    while (range < m_appleRanges.size() && record.pos > endOf(m_appleRanges[range])) ++range;
    if (range == m_appleRanges.size()) continue;

    if (slot >= m_ssmlRanges.size()) m_ssmlRanges.resize(slot + 1);
    Record& target = m_ssmlRanges[slot];
    if (target.pos == 0 && target.amount == 0) {
      target = record;
      target.pos = convertedPosition(i, range, gapList);
      ++slot;
    } else {
      target.amount = asSigned(asUnsigned(target.amount) + asUnsigned(record.amount));
    }
  }
}

std::uint32_t OffsetMap::offset(std::uint32_t pos) {
  if (!m_finalListsBuilt) buildFinalLists();

  std::uint32_t correction = 0;
  for (const Record& range : m_ssmlRanges) {
    if (!(pos > range.pos)) break;
    correction += asUnsigned(range.amount);
  }

  // Rationale: both "+ 1" are part of the defined arithmetic, with their effects at boundaries.
  std::int32_t rest = asSigned(pos - correction + 1);
  if (!m_appleRanges.empty() && m_appleRanges[0].pos != 0) {
    rest = asSigned(asUnsigned(rest) - m_appleRanges[0].pos + 1);
  }
  if (rest <= 0) return correction;

  for (std::size_t j = 0; j < m_appleRanges.size(); ++j) {
    std::uint32_t gap = 0;
    if (j + 1 < m_appleRanges.size()) {
      gap = m_appleRanges[j + 1].pos - endOf(m_appleRanges[j]);
      if (!m_appleRanges[j].insertedCode) correction -= asUnsigned(m_appleRanges[j].amount);
    }
    // Rationale: the last range is the closing text and is never subtracted.
    rest = asSigned(asUnsigned(rest) - gap);
    if (rest <= 0) return correction;
  }
  return correction;
}

void OffsetMap::clean() {
  m_finalListsBuilt = false;
  m_appleRanges.clear();
  m_ssmlRanges.clear();
  m_offsets.clear();
}

}  // namespace oracle
