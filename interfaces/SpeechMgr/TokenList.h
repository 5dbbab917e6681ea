// SPDX-License-Identifier: Apache-2.0
//
// TokenList: a text and the embedded commands in it. Plain text stays in the base string; only the
// commands, and markup that passes insert, are entries, in order of start position. The list yields
// the converted text, the offset records, and where each byte of the converted text came from.
//
// Commands stand between "[[" and "]]", several separated by ";".
//
// A value class without locks. Positions count bytes of the base string.
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
  TokenList() = default;
  virtual ~TokenList() = default;
  TokenList(const TokenList&) = default;
  TokenList& operator=(const TokenList&) = default;
  TokenList(TokenList&&) = default;
  TokenList& operator=(TokenList&&) = default;

  // Replaces the list by that of `text`; `offsets` are the records made before. A command that is
  // never closed takes the rest of the text.
  void create(std::string text, OffsetMap offsets);
  void create(char* text);

  int size() const { return static_cast<int>(m_entries.size()); }

  // These four throw AppleSynthesisError (INDEX_OUT_OF_RANGE) for an index that is not an entry's,
  // and leave the list as it was.
  SpeechMarkupToken getTokenAt(unsigned int index) const;
  void replaceTokenAt(unsigned int index, SpeechMarkupToken token);
  void removeTokenAt(unsigned int index);
  // Inserts in front of entry `index`, or further back where the order of start positions wants it.
  // Throws as well when the entry in front starts later.
  // Rationale: an index one past size() appends, size() itself is refused.
  void insertTokenAt(unsigned int index, SpeechMarkupToken token);

  // Removes all entries; the base string and the earlier records stay.
  void clear();

  std::string getBaseString() const { return m_base; }

  // The base string with every command replaced by its markup, or removed. Throws std::out_of_range
  // when an entry starts behind the end of the text.
  std::string getConvertedString() const;

  // The earlier records and one for every entry.
  // Rationale: a command with a replacement records the length of the replacement only.
  OffsetMap getOffsets() const;

  // For every byte of the converted string: the byte of the base string that it was copied from,
  // or, for markup, in front of which it stands. Throws as getConvertedString.
  PositionMap getPositions() const;

  // Debug dump to standard output.
  void print();

  // ---- For the passes of the converter: the same operations without copies ----

  // Stands for a markup text of the list.
  using MarkupId = std::uint32_t;

  const std::string& base() const { return m_base; }
  // False when no command of the type has ever been in the list.
  bool mayHold(AppleMarkupToken::AppleTagType type) const {
    return m_hasType[static_cast<std::size_t>(type)];
  }
  int startAt(int index) const { return entry(index).start; }
  // Bytes of the base string that the entry covers.
  int coveredAt(int index) const {
    const Entry& at = entry(index);
    return at.isCommand() ? m_commands[at.command()].covered : 0;
  }
  int endAt(int index) const { return startAt(index) + coveredAt(index); }
  AppleMarkupToken::AppleTagType typeAt(int index) const {
    const Entry& at = entry(index);
    if (!at.isCommand()) return AppleMarkupToken::UNKNOWN;
    return static_cast<AppleMarkupToken::AppleTagType>(m_commands[at.command()].type);
  }
  // Empty when no markup is set.
  const std::string& markupAt(int index) const;
  // Argument `argument` of the command at `index`.
  std::string argumentAt(int index, int argument) const;

  MarkupId addMarkup(std::string markup);
  // An entry that covers nothing and inserts the markup at `start`; otherwise as insertTokenAt.
  void insertMarkup(int index, int start, MarkupId markup);
  // A comment that covers `length` bytes from `start` on and is replaced by nothing; otherwise as
  // insertTokenAt. Answers the index where it stands.
  int insertIgnoredText(int index, int start, int length);
  // Gives up the room that entries to come would take.
  void compact() { m_entries.compact(); }
  // Makes the command at `index` cover `length` bytes, and be replaced by nothing.
  void ignoreText(int index, int length);

 private:
  // An entry is small, since a text may hold a million: it inserts a markup, or stands for a
  // command.
  struct Entry {
    static constexpr std::uint32_t kIsCommand = 0x80000000u;

    std::int32_t start;
    std::uint32_t what;  // index of a markup, or kIsCommand and the index of a command

    bool isCommand() const { return (what & kIsCommand) != 0; }
    std::size_t command() const { return what & ~kIsCommand; }
  };
  struct Command {
    std::int32_t covered;  // bytes of the base string
    std::int32_t text;     // as written: its length, from the entry's start on; or, when negative,
                           // the complement of an index of m_given
    std::int32_t markup;   // index of a markup, or kNone or kEmpty
    std::int32_t type;
  };
  static constexpr std::int32_t kNone = -1;   // not set
  static constexpr std::int32_t kEmpty = -2;  // set, to nothing

  // What the converted text is made of: a stretch of the base string, or a stretch of a markup.
  struct Piece {
    static constexpr std::uint32_t kBase = 0xFFFFFFFFu;

    std::uint32_t source;  // kBase, or a markup
    std::uint32_t from;
    std::uint32_t length;
  };

  void checkIndex(std::int64_t index) const {
    if (index < 0 || index >= size()) throw AppleSynthesisError(INDEX_OUT_OF_RANGE);
  }
  const Entry& entry(int index) const {
    checkIndex(index);
    return m_entries[static_cast<std::size_t>(index)];
  }
  std::int32_t markupOf(const Entry& at) const {
    return at.isCommand() ? m_commands[at.command()].markup : static_cast<std::int32_t>(at.what);
  }
  std::uint32_t addCommand(const Command& command);
  std::uint32_t addGiven(const SpeechMarkupToken& token);
  void reserveCommands(std::size_t first);
  void appendCommand(std::size_t start, std::size_t length, AppleMarkupToken& work);
  std::int64_t insertEntry(std::int64_t index, const Entry& added);
  std::int64_t countStartingBefore(std::int32_t start) const;
  std::size_t treePlace(std::int32_t start) const;
  void noteInserted(std::size_t index);

  bool isPlain() const;
  std::vector<Piece> resolvePieces() const;
  // Calls visit(const Piece&) for what the converted text is made of, from front to back.
  template <typename Visit>
  void forEachPiece(Visit visit) const;
  Piece wholeMarkup(std::int32_t id) const;
  const char* dataOf(const Piece& piece) const;

  GapBuffer<Entry> m_entries;
  std::string m_base;
  OffsetMap m_inheritedOffsets;

  std::vector<Command> m_commands;
  std::vector<std::string> m_markups;
  std::vector<AppleMarkupToken> m_given;  // commands that did not come from the base string

  std::array<bool, AppleMarkupToken::UNKNOWN + 1> m_hasType{};  // of a command, now or before

  // Whether the entries stand in order of start position, as they do but for a few odd texts. When
  // they do not, m_startCounts tells how many start at each position: a binary indexed tree.
  bool m_ordered = true;
  std::vector<std::uint32_t> m_startCounts;
};
