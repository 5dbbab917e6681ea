// SPDX-License-Identifier: Apache-2.0
//
// OffsetMap: from positions in the converted text to positions in the caller's text.
//
// It records the ranges that the conversion removed (command text) and inserted (markup), and
// returns how much to subtract from a position in the converted text. The arithmetic is the one
// that clients of the interface rely on: approximate at the borders of markup, see the Rationale
// lines. PositionMap (PositionMap.h) has the exact origins instead.
//
// Algorithms: records are found through prefix maxima of blocks. Ranges that touch grow as groups,
// with union-find. offset() is a binary search over prefix maxima, with a cursor for queries that
// ascend.
//
// All positions count bytes; the arithmetic is 32-bit and wraps.
//
// Threads: a value class without locks; one thread at a time. offset() moves a cursor, so it counts
// as a change. Query a map once before another thread gets it: the first query builds the lists.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

class OffsetMap {
 public:
  // ---- The given interface: its names and signatures are fixed

  enum TokenType {
    APPLE_TOKEN = 0,  // command text, removed
    SSML_TOKEN = 1,   // markup, inserted
    UNKNOWN_TOKEN = 2
  };

  struct Offset {
    std::uint32_t pos = 0;    // start of the range; of derived markup ranges, in the converted text
    std::int32_t amount = 0;  // its length
    bool insertedCode = false;         // text that the converter added and the caller never wrote
    TokenType type : 8 = APPLE_TOKEN;  // a bit-field, since a text may have a million records

    bool operator==(const Offset&) const = default;
  };

  OffsetMap() = default;
  virtual ~OffsetMap() = default;
  OffsetMap(const OffsetMap&) = default;
  OffsetMap& operator=(const OffsetMap&) = default;
  OffsetMap(OffsetMap&&) = default;
  OffsetMap& operator=(OffsetMap&&) = default;

  // Adds a record and marks the derived lists stale. Takes constant time if the records come in
  // order of position.
  void insert(unsigned int pos, int amount, TokenType type, bool insertedCode);

  // Derives the two lists of ranges from the records.
  // Rationale: the lists are not emptied first, so a second build adds to the ranges of the first.
  void buildFinalLists();

  // Returns what to subtract from `pos`, a position in the converted text, to get the position in
  // the caller's text: a signed number carried as unsigned. Builds the lists if they are stale.
  unsigned int offset(unsigned int pos);

  // Empties the map.
  void clean();

  // Debug dump: the lists to standard output, the records to standard error.
  void print();

  // ---- Used inside the plug-in and by its tests

  // Reserves memory for `records` more records.
  void reserve(std::size_t records) { m_offsets.reserve(m_offsets.size() + records); }

  const std::vector<Offset>& records() const { return m_offsets; }
  const std::vector<Offset>& appleRangeList() const { return appleRanges; }
  const std::vector<Offset>& ssmlRangeList() const { return ssmlRanges; }
  bool listsAreBuilt() const { return finalListsBuilt; }

 private:
  // Prefix maximum at the end of a block of kBlock records: for each type, the greatest position
  // among the records from index 1 to the end of the block. The record at index 0 follows rules of
  // its own (see findSlot). Records of a type outside TokenType's values are not entered.
  static constexpr std::size_t kBlock = 32;
  static constexpr std::size_t kTypes = UNKNOWN_TOKEN + 1;
  struct PrefixMaximum {
    std::array<std::uint32_t, kTypes> pos{};
    std::array<bool, kTypes> any{};

    void add(const Offset& record);
  };

  // The data that offset() searches, derived from the two lists.
  struct Lookup {
    std::vector<std::uint32_t> ssmlMaxima;  // greatest start of the ranges 0 … i
    std::vector<std::uint32_t> ssmlBefore;  // sum of the amounts before range i; one element more
    std::vector<std::uint32_t> plainMaxima;  // greatest length of plain text after the ranges 0 … j
    std::vector<std::uint32_t> removed;      // command text removed by the ranges 0 … j
    // The lengths of plain text do not fit 32 bits, so the arithmetic wraps and the ranges have to
    // be walked one by one.
    bool wraps = false;
    std::size_t ssmlCursor = 0;
    std::size_t appleCursor = 0;
  };

  std::ptrdiff_t findSlot(const Offset& record) const;
  std::ptrdiff_t slotFrom(std::size_t index, const Offset& record) const;
  void insertAt(std::size_t index, const Offset& record);
  void buildAppleRanges();
  std::vector<Offset> plainGaps() const;
  void buildSsmlRanges();
  void buildLookup();
  unsigned int walkAppleRanges(std::int32_t rest, std::uint32_t correction) const;

  bool finalListsBuilt = false;
  std::vector<Offset> appleRanges;  // command text, touching ranges merged
  std::vector<Offset> ssmlRanges;   // markup, with its start in the converted text
  std::vector<Offset> m_offsets;    // the records, in the order kept by insert

  std::vector<PrefixMaximum> m_blockMaxima;  // one per block of m_offsets
  Lookup m_lookup;
};
