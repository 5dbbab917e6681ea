// SPDX-License-Identifier: Apache-2.0
//
// OffsetMap: from positions in the converted text to positions in the caller's text.
//
// It records stretches that the conversion took out (command text) and put in (markup), and answers
// by how much a position in the converted text has to be lowered. All positions count bytes; the
// arithmetic is 32-bit.
//
// A value class without locks: one thread at a time, and a map that several threads query must
// have been queried once before they share it; offset() keeps a cursor, so it counts as a change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class OffsetMap {
 public:
  enum TokenType : std::uint8_t {
    APPLE_TOKEN = 0,  // command text, removed
    SSML_TOKEN = 1,   // markup, inserted
    UNKNOWN_TOKEN = 2
  };

  struct Offset {
    std::uint32_t pos = 0;  // start of the stretch; of derived markup ranges, in the converted text
    std::int32_t amount = 0;    // its length
    bool insertedCode = false;  // text that the converter added and the caller never wrote
    TokenType type = APPLE_TOKEN;

    bool operator==(const Offset&) const = default;
  };

  OffsetMap() = default;
  virtual ~OffsetMap() = default;
  OffsetMap(const OffsetMap&) = default;
  OffsetMap& operator=(const OffsetMap&) = default;
  OffsetMap(OffsetMap&&) = default;
  OffsetMap& operator=(OffsetMap&&) = default;

  // Adds a record and marks the derived lists stale. Records that come in order of position are
  // added in constant time.
  void insert(unsigned int pos, int amount, TokenType type, bool insertedCode);

  // Room for `records` more.
  void reserve(std::size_t records) { m_offsets.reserve(m_offsets.size() + records); }

  // Derives the two lists from the records.
  // Rationale: they are not emptied first, so a second build adds to what is there.
  void buildFinalLists();

  // What to subtract from `pos`, a position in the converted text, to get the caller's: a signed
  // number carried as unsigned. Builds the lists when they are stale.
  unsigned int offset(unsigned int pos);

  // Empties the map.
  void clean();

  // Debug dump: the lists to standard output, the records to standard error.
  void print();

  const std::vector<Offset>& records() const { return m_offsets; }
  const std::vector<Offset>& appleRangeList() const { return appleRanges; }
  const std::vector<Offset>& ssmlRangeList() const { return ssmlRanges; }
  bool listsAreBuilt() const { return finalListsBuilt; }

 private:
  // For each type of record, the greatest position among the records from index 1 up to the end of
  // a block; the record at index 0 follows rules of its own.
  static constexpr std::size_t kBlock = 32;
  struct Reach {
    std::uint32_t pos[3] = {0, 0, 0};
    bool any[3] = {false, false, false};

    void add(const Offset& record);
  };

  // What offset() searches, derived from the two lists.
  struct Lookup {
    std::vector<std::uint32_t> ssmlReach;   // greatest start of the ranges 0 … i
    std::vector<std::uint32_t> ssmlBefore;  // sum of the amounts of the ranges before i; one more
    std::vector<std::uint32_t> plainReach;  // greatest plain text length behind the ranges 0 … j
    std::vector<std::uint32_t> removed;     // command text removed by the ranges 0 … j
    // The plain text lengths are so odd that the 32-bit arithmetic wraps: walk instead.
    bool wraps = false;
    std::size_t ssmlCursor = 0;
    std::size_t appleCursor = 0;
  };

  std::ptrdiff_t findSlot(const Offset& record) const;
  void insertAt(std::size_t index, const Offset& record);
  void buildAppleRanges();
  std::vector<Offset> plainGaps() const;
  void buildSsmlRanges();
  void buildLookup();
  unsigned int walkAppleRanges(std::int32_t rest, std::uint32_t correction) const;

  bool finalListsBuilt = false;
  std::vector<Offset> appleRanges;  // command text, touching stretches merged
  std::vector<Offset> ssmlRanges;   // markup, with its start in the converted text
  std::vector<Offset> m_offsets;    // the records, in the order kept by insert

  std::vector<Reach> m_reach;  // one a block of m_offsets
  Lookup m_lookup;
};
