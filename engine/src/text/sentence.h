// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the text side of the engine hands to the audio side: a marked-up text as a series of
// sentences, each a list of things to do, in order.
//
// Positions and lengths count bytes of the text given to kavrel_port_speak_text. Everything here is
// plain data, used by one thread at a time.
//
// Words. A token is a run of characters that are not blank, whatever tags stand inside it; only a
// break and a phoneme element end it as a blank does. Control characters are blank. The place of a
// word is its token without the punctuation around it; signs that are spoken (& % + = @ # and the
// like) are no punctuation.
// Where settings change inside a token, it is still spoken in one go: in the way that most of its
// characters have, with emphasis when any has it. Only what is spelt is spoken apart from what is
// not. Marks inside are reported on the way.
// Sentences. A sentence ends behind ". ! ?" or "..." at the end of a token, closing quotes and
// brackets included, unless the token is an abbreviation; between such a stop and a capital letter
// a tag does for a blank. An empty line ends it too. Marks and breaks belong to the sentence they
// touch, else to the one that follows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "text/markup.h"
#include "text/style.h"
#include "text/words.h"

namespace kavrel {

// A phone of our phone set ("ae", "dh", "pau"). Stress is 1 or 0 for a vowel that carries a digit,
// else -1.
struct Phone {
  std::string name;
  int stress = -1;

  bool operator==(const Phone&) const = default;
};

struct Item {
  static constexpr std::uint32_t kMaxBreak = 10 * 60 * 1000;

  enum class Kind {
    Word,    // speak `text`, report a word (when `reported`) and its phones
    Mark,    // report the bookmark `name`
    Break,   // be silent for `milliseconds`
    Phones,  // speak `phones`, report one word (when `reported`) and the phones
  };

  Kind kind = Kind::Word;
  // The place to report. Word: the word without the punctuation around it, tags inside included;
  // Mark, Break: the whole tag; Phones: the content of the element without the blanks around it.
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  // Word: the characters to speak (Unicode), punctuation included, never blank, entities resolved.
  std::wstring text;
  // Word: false for a token of punctuation alone, which is spoken but is no word, and for a part of
  // a word that another item reports. Phones: false for an element without content.
  bool reported = true;
  // Mark: the name as it stands in the text, entities resolved. Word and Phones: the bytes that
  // start and length name, without tags, entities resolved (for kavrel_event_get_text).
  std::string name;
  // Mark: how much of the word in front of it has been spoken when it is reached; less than 1 for
  // one inside a word.
  double share = 1;
  std::uint32_t milliseconds = 0;  // 0 to kMaxBreak; 0 where the text gives no time
  std::vector<Phone> phones;       // not empty
  Style style;
};

struct Sentence {
  // From the first token to the last; from the first item to the last where there is no token.
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  // False for the rest of a sentence that was too long for one piece, and for items without a word
  // (marks behind the last sentence): no sentence begins here.
  bool begins = true;
  // False when the sentence goes on in the next piece, and when none had begun: no sentence pause
  // belongs behind it.
  bool ends = true;
  std::vector<Item> items;
};

// Cuts a marked-up text into sentences, one at a time, without looking further ahead than it must.
// Broken markup never fails and never loses words.
class SentenceReader {
 public:
  // The most bytes of text in one Sentence; a longer sentence comes in pieces, cut at a blank where
  // there is one.
  static constexpr std::size_t kMaxSentenceBytes = std::size_t{64} * 1024;

  // The most bytes of text, not counting tags, and the most marks in one word; a longer token comes
  // as several words.
  static constexpr std::size_t kMaxTokenBytes = 512;
  static constexpr std::size_t kMaxTokenMarks = 64;

  // `text` (ISO 8859-15) must outlive the reader.
  explicit SentenceReader(std::string_view text);

  // Fills `sentence` and answers true, or answers false at the end of the text. A text without any
  // item has no sentence.
  bool next(Sentence& sentence);

 private:
  // What an event of the markup scanner leads to.
  enum class ReadResult {
    Continue,
    End,          // the sentence is over, the event used up
    EndBefore,    // the sentence ended in front of the event
    SplitBefore,  // the piece is full; the sentence goes on with the event
  };
  // The token being read.
  struct Token {
    struct StyleRun {
      std::size_t end = 0;  // behind its last letter
      Style style;
    };
    struct Mark {
      std::size_t letter = 0;  // the letter that it stands in front of
      Item item;
    };

    void clear();
    std::size_t endOfPart(std::size_t first) const;
    Style styleOf(std::size_t first, std::size_t end) const;

    std::vector<Letter> letters;
    std::vector<StyleRun> runs;  // each in a style of its own
    std::vector<Mark> marks;
    std::size_t bytes = 0;  // of the letters
    bool afterTag = false;  // a tag stands behind the last letter
  };

  ReadResult handle(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleBlank(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleLetter(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleStartTag(const MarkupEvent& event, Sentence& sentence);
  ReadResult handlePhoneme(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleContent(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleMark(Item item, const MarkupEvent& event, Sentence& sentence);
  bool stopHolds(char32_t following);
  bool fits(std::size_t end, const Sentence& sentence) const;
  void addLetter(const MarkupEvent& event);
  void endToken(Sentence& sentence);
  void addToken(Sentence& sentence) const;
  void closePhones(Sentence& sentence);
  ReadResult add(Item item, const MarkupEvent& tag, Sentence& sentence);
  void extendRange(std::size_t start, std::size_t end, const Sentence& sentence);
  bool finish(bool ended, Sentence& sentence);

  MarkupScanner m_scanner;
  StyleStack m_styles;
  MarkupEvent m_held;  // to be handled again, in the next piece
  bool m_isHeld = false;

  Token m_token;
  Stop m_stop = Stop::None;    // how the last token ended
  bool m_adjacent = false;     // no blank has come since the last token
  int m_newlines = 0;          // in the blanks since the last token
  bool m_afterReturn = false;  // the last character was a carriage return
  bool m_begun = false;        // the sentence has begun in an earlier piece

  // The piece being filled.
  std::size_t m_pieceStart = 0;
  bool m_hasTokens = false;
  bool m_hasWords = false;
  std::size_t m_tokensStart = 0;
  std::size_t m_tokensEnd = 0;

  // The phoneme element being read: the place of its item, and how much of the item's name is
  // there for good (blanks at the end are not).
  bool m_phonesOpen = false;
  std::size_t m_phonesItem = 0;
  std::size_t m_phonesName = 0;
};

}  // namespace kavrel
