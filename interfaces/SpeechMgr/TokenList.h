// SPDX-License-Identifier: Apache-2.0
//
// TokenList: a text and the embedded commands in it.
//
// Plain text stays in the base string. Only commands, and markup that the converter's passes
// insert, are entries of the list, in order of start position. The list yields the converted text,
// the offset records, and the origin of each byte of the converted text.
//
// Commands are delimited by "[[" and "]]"; ";" separates several commands within one pair.
//
// Algorithms: the entries are in a gap buffer (GapBuffer.h), because a pass inserts near a position
// that moves forward. The index of a new entry is found by binary search while the entries are in
// order of start position, else with a Fenwick tree (binary indexed tree) of start positions. The
// converted text is written once, front to back, by merging entries and base string; entries that
// overlap are resolved first, with a stack of ranges.
//
// Threads: a value class without locks; one thread at a time. Positions and lengths count bytes of
// the base string. Failures: std::bad_alloc, and the exceptions named at each function.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "AppleSynthesisError.h"
#include "GapBuffer.h"
#include "OffsetMap.h"
#include "PositionMap.h"
#include "SpeechMarkupToken.h"

class TokenList {
 public:
  // ---- The given interface: its names and signatures are fixed

  TokenList() = default;
  virtual ~TokenList() = default;
  TokenList(const TokenList&) = default;
  TokenList& operator=(const TokenList&) = default;
  TokenList(TokenList&&) = default;
  TokenList& operator=(TokenList&&) = default;

  // Replaces the list by the commands of `text`; `offsets` holds the records made so far. An
  // unclosed command extends to the end of the text.
  void create(std::string text, OffsetMap offsets);
  // The same for a NUL-terminated text, without earlier records.
  void create(char* text);

  // Number of entries.
  int size() const { return static_cast<int>(m_entries.size()); }

  // These four throw AppleSynthesisError (INDEX_OUT_OF_RANGE) if `index` is not the index of an
  // entry, and leave the list unchanged then.
  SpeechMarkupToken getTokenAt(unsigned int index) const;
  void replaceTokenAt(unsigned int index, SpeechMarkupToken token);
  void removeTokenAt(unsigned int index);
  // Inserts before entry `index`, or further back if the order of start positions requires it.
  // Throws the same error if the entry before that index starts after `token`.
  // Rationale: the index size() + 1 appends; the index size() is rejected.
  void insertTokenAt(unsigned int index, SpeechMarkupToken token);

  // Removes all entries. The base string and the earlier records remain.
  void clear();

  std::string getBaseString() const { return m_base; }

  // Returns the base string with every command replaced by its markup, or removed if it has none.
  // Throws std::out_of_range if an entry starts after the end of the text.
  std::string getConvertedString() const;

  // Returns the earlier records and one record for every entry.
  // Rationale: for a command with markup, the record holds the length of the markup only.
  OffsetMap getOffsets() const;

  // Debug dump to standard output.
  void print();

  // ---- Used inside the plug-in: the same operations without copies

  // Identifies a markup text of this list.
  using MarkupId = std::uint32_t;

  const std::string& base() const { return m_base; }

  // Returns false if the list has never held a command of the type.
  bool mayHold(AppleMarkupToken::AppleTagType type) const {
    return m_hasType[static_cast<std::size_t>(type)];
  }

  // These functions throw AppleSynthesisError (INDEX_OUT_OF_RANGE) if `index` is not the index of
  // an entry.

  int startAt(int index) const { return entry(index).start; }
  // Number of bytes of the base string that the entry covers.
  int coveredAt(int index) const {
    const TokenEntry& at = entry(index);
    return at.isCommand() ? m_commands[at.command()].covered : 0;
  }
  int endAt(int index) const { return startAt(index) + coveredAt(index); }
  // UNKNOWN for an entry that only inserts markup.
  AppleMarkupToken::AppleTagType typeAt(int index) const {
    const TokenEntry& at = entry(index);
    if (!at.isCommand()) return AppleMarkupToken::UNKNOWN;
    return static_cast<AppleMarkupToken::AppleTagType>(m_commands[at.command()].type);
  }
  // The markup of the entry; empty if none is set. Valid until the next addMarkup.
  const std::string& markupAt(int index) const;
  // Argument `argument` (from 0) of the command at `index`; empty if it has no such argument.
  std::string argumentAt(int index, int argument) const;
  // Makes the command at `index` cover `length` bytes and replaces it by nothing.
  void ignoreText(int index, int length);

  // Stores a markup text, which any number of entries may insert.
  MarkupId addMarkup(std::string markup);
  // Inserts an entry that covers nothing and inserts the markup at `start`. Index and errors as for
  // insertTokenAt.
  void insertMarkup(int index, int start, MarkupId markup);
  // Inserts a comment that covers `length` bytes from `start` and is replaced by nothing. Index and
  // errors as for insertTokenAt. Returns the index of the new entry.
  int insertIgnoredText(int index, int start, int length);

  // Frees the memory reserved for further entries.
  void compact() { m_entries.compact(); }

  // Returns, for every byte of the converted string, the byte of the base string that it was copied
  // from. For markup: the byte before which it is inserted. Throws as getConvertedString does.
  PositionMap getPositions() const;

 private:
  // A SpeechMarkupToken in 8 bytes, because a text may hold a million: it inserts a markup, or
  // refers to a command.
  struct TokenEntry {
    static constexpr std::uint32_t kIsCommand = 0x80000000u;

    std::int32_t start;
    std::uint32_t what;  // index of a markup, or kIsCommand | index of a command

    bool isCommand() const { return (what & kIsCommand) != 0; }
    std::size_t command() const { return what & ~kIsCommand; }
  };
  struct StoredCommand {
    std::int32_t covered;  // bytes of the base string
    std::int32_t text;     // the command as written: its length, from the entry's start; if
                           // negative, the complement of an index of m_externalCommands
    std::int32_t markup;   // index of a markup, or kNone or kEmpty
    std::int32_t type;     // an AppleTagType
  };
  static constexpr std::int32_t kNone = -1;   // not set
  static constexpr std::int32_t kEmpty = -2;  // set, to nothing

  // The converted text is a sequence of these: a range of the base string or of a markup.
  struct SourceRange {
    static constexpr std::uint32_t kBase = 0xFFFFFFFFu;

    std::uint32_t source;  // kBase, or a markup
    std::uint32_t from;
    std::uint32_t length;
  };

  // Returns the position of entry `index` in m_entries. Throws AppleSynthesisError
  // (INDEX_OUT_OF_RANGE) if there is no such entry.
  std::size_t getVectorIterator(unsigned int index) const {
    if (index >= m_entries.size()) throw AppleSynthesisError(INDEX_OUT_OF_RANGE);
    return index;
  }
  // A negative index is greater than the size as an unsigned number.
  const TokenEntry& entry(int index) const {
    return m_entries[getVectorIterator(static_cast<unsigned int>(index))];
  }
  std::int32_t markupOf(const TokenEntry& at) const {
    return at.isCommand() ? m_commands[at.command()].markup : static_cast<std::int32_t>(at.what);
  }
  // Both return the `what` of an entry that refers to the command.
  std::uint32_t addCommand(const StoredCommand& command);
  std::uint32_t addExternalToken(const SpeechMarkupToken& token);

  // `first` is the position of the first "[[".
  void reserveCommands(std::size_t first);
  void appendCommand(std::size_t start, std::size_t length, AppleMarkupToken& work);
  // Returns the index of the new entry.
  std::int64_t insertEntry(std::int64_t index, const TokenEntry& added);
  // Number of entries that start before `start`.
  std::int64_t countStartingBefore(std::int32_t start) const;
  std::size_t treeIndex(std::int32_t start) const;
  void updateOrder(std::size_t index);

  bool entriesAreDisjoint() const;
  // Returns the ranges of the converted text, last one first.
  std::vector<SourceRange> resolveRanges() const;
  // Calls visit(const SourceRange&) for each range of the converted text, front to back.
  template <typename Visit>
  void forEachRange(Visit visit) const;
  SourceRange rangeOfMarkup(std::int32_t id) const;
  const char* dataOf(const SourceRange& range) const;

  // With m_commands and m_markups, these stand for the vector of SpeechMarkupToken, m_tokens.
  GapBuffer<TokenEntry> m_entries;
  std::string m_base;
  OffsetMap m_inheritedOffsets;

  std::vector<StoredCommand> m_commands;
  std::vector<std::string> m_markups;
  std::vector<AppleMarkupToken> m_externalCommands;  // not parsed from the base string

  std::array<bool, AppleMarkupToken::UNKNOWN + 1> m_hasType{};  // of a command, now or earlier

  // Whether the entries are in order of start position, as they are in all but a few odd texts. If
  // not, m_startCounts is a Fenwick tree of the number of entries that start at each position.
  bool m_ordered = true;
  std::vector<std::uint32_t> m_startCounts;
};
