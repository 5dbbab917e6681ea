// SPDX-License-Identifier: Apache-2.0
//
// Splits marked-up text into sentences. A sentence is a list of items (words, phones, marks and
// breaks), and is what the text side of the engine passes to the synthesis side.
//
// Positions and lengths count bytes of the text given to kavrel_port_speak_text. Everything here is
// plain data, used by one thread at a time.
//
// Words. A token is a run of characters that are not blank, including the tags inside it; only a
// break element and a phoneme element end a token as a blank does. Control characters are blanks.
// In scripts that are written without blanks, a token is cut into its words
// (base/text/WordBreaks.h). A word is a token without the punctuation around it. Signs that are
// spoken (& % + = @ # and the like) are not punctuation. If settings change inside a token, the
// token is still spoken in one go: in the style that most of its characters have, with emphasis if
// any character has it. Only spelled parts are spoken separately from parts that are not. Marks
// inside a token are reported on the way.
//
// Sentences. A sentence ends after ". ! ?" or "..." at the end of a token, closing quotes and
// brackets included, unless the token is an abbreviation. Between such a stop and a capital letter,
// a tag separates as a blank does. An empty line ends a sentence, too. Marks and breaks belong to
// the sentence that they touch, else to the next one.
//
// Who decides the end of a sentence. Three files decide together:
//  text/words.cpp     looks at one token: does it end with a stop, and is the stop certain (Full),
//                     impossible (None, an abbreviation) or dependent on what follows?
//  text/sentence.cpp  looks at what follows the token (blanks, tags, quotes, an empty line, a
//                     character) and decides whether the stop holds; it also splits sentences that
//                     are too long. The result is Sentence::begins and Sentence::ends.
//  synth/plan.cpp     acts on it: ends the last synthesiser call of the sentence with a sentence
//                     pause if Sentence::ends is set. It never decides, nor does the synthesiser,
//                     which is given a sentence or less at a time.
// job/segment_builder.cpp reports the result: a SENTENCE event at the beginning, a boundary at the
// end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/text/WordBreaks.h"
#include "text/language_rules.h"
#include "text/markup.h"
#include "text/style.h"
#include "text/words.h"

namespace kavrel {

// A phone of the engine's phone set ("ae", "dh", "pau"). Stress is 1 or 0 for a vowel with a digit,
// else -1.
struct Phone {
  std::string name;
  int stress = -1;

  bool operator==(const Phone&) const = default;
};

// One thing to do, and the position to report for it.
struct Item {
  // The longest break, in milliseconds.
  static constexpr std::uint32_t kMaxBreak = 10 * 60 * 1000;

  enum class Kind {
    Word,    // speak `text`, report a word (if `reported`) and its phones
    Mark,    // report the bookmark `name`
    Break,   // be silent for `milliseconds`
    Phones,  // speak `phones`, report one word (if `reported`) and the phones
  };

  Kind kind = Kind::Word;
  // The position to report. Word: the word without the punctuation around it, tags inside included.
  // Mark, Break: the whole tag. Phones: the content of the element without the blanks around it.
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  // Word: the characters to speak (text/spoken_form.h), with punctuation, without blanks, entities
  // resolved. Empty if the word has no sound.
  std::wstring text;
  // Word: false for a token of punctuation only, which is spoken but is not a word, and for a part
  // of a word that another item reports. Phones: false for an element without content.
  bool reported = true;
  // Mark: the name, entities resolved. Word and Phones: the text from `start` on, `length` bytes
  // long, without tags, entities resolved, in the encoding of the text (for kavrel_event_get_text).
  std::string name;
  // Mark: the share of the preceding word, 0 to 1, that has been spoken when the mark is reached.
  // Less than 1 for a mark inside a word.
  double share = 1;
  std::uint32_t milliseconds = 0;  // Break: 0 to kMaxBreak; 0 if the text gives no time
  std::vector<Phone> phones;       // Phones: at least one
  Style style;
};

// A sentence, or a piece of one that is too long.
struct Sentence {
  // From the first token to the last; from the first item to the last if there is no token.
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  // A sentence begins here. False for a later piece of a sentence that was too long for one, and
  // for items without a word (marks after the last sentence).
  bool begins = true;
  // The sentence ends here and is followed by a sentence pause. False if it continues in the next
  // piece, or if none had begun.
  bool ends = true;
  std::vector<Item> items;
};

// Reads a marked-up text sentence by sentence, with the least possible look-ahead. Never fails:
// broken markup is text, and no word is lost.
class SentenceReader {
 public:
  // The maximum number of bytes of text in one Sentence. A longer sentence is split into pieces, at
  // a blank if there is one.
  static constexpr std::size_t kMaxSentenceBytes = std::size_t{64} * 1024;

  // The maximum number of bytes of text, without tags, and of marks in one word. A longer token is
  // split into several words.
  static constexpr std::size_t kMaxTokenBytes = 512;
  static constexpr std::size_t kMaxTokenMarks = 64;

  // `text` and `language` must outlive the reader. `language` is that of the voice, as for
  // rulesOf().
  explicit SentenceReader(std::string_view text, Encoding encoding = Encoding::Latin9,
                          std::string_view language = {});

  // Fills `sentence` and returns true; returns false at the end of the text. A text without any
  // item has no sentence.
  bool next(Sentence& sentence);

 private:
  // What an event of the markup scanner means for the piece being filled.
  enum class ReadResult {
    Continue,
    End,          // the sentence ends; the event has been handled
    EndBefore,    // the sentence ends before the event, which is handled again in the next one
    SplitBefore,  // the piece is full; the sentence continues in the next piece with the event
  };
  // The token being read.
  struct Token {
    // A run of letters in one style.
    struct StyleRun {
      std::size_t end = 0;  // index after its last letter
      Style style;
    };
    struct Mark {
      std::size_t letter = 0;  // index of the letter after it
      Item item;
    };

    void clear();
    std::size_t runAt(std::size_t letter) const;
    std::size_t endOfPart(std::size_t first, std::size_t end) const;
    Style styleOf(std::size_t first, std::size_t end) const;

    std::vector<Letter> letters;
    std::vector<StyleRun> runs;
    std::vector<Mark> marks;
    std::size_t marksAdded = 0;  // to the sentence
    std::size_t bytes = 0;       // of the letters
    bool afterTag = false;       // a tag follows the last letter
    bool afterWideStop = false;  // the last letter is a wide stop, or closes a quote after one
  };

  // Each handles one kind of event, and adds to `sentence` what it completes.
  ReadResult handle(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleBlank(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleLetter(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleStartTag(const MarkupEvent& event, Sentence& sentence);
  ReadResult handlePhoneme(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleContent(const MarkupEvent& event, Sentence& sentence);
  ReadResult handleMark(Item item, const MarkupEvent& event, Sentence& sentence);
  bool stopIsCertain() const;
  bool stopHolds(char32_t following);
  bool fits(std::size_t end, const Sentence& sentence) const;
  void addLetter(const MarkupEvent& event);
  void endToken(Sentence& sentence);
  void addToken(Sentence& sentence);
  void addWord(std::size_t first, std::size_t end, Sentence& sentence);
  void closePhones(Sentence& sentence);
  ReadResult add(Item item, const MarkupEvent& tag, Sentence& sentence);
  void extendRange(std::size_t start, std::size_t end, const Sentence& sentence);
  bool finish(bool ended, Sentence& sentence);

  MarkupScanner m_scanner;
  const Encoding m_encoding;
  const LanguageRules m_rules;
  base::WordBreaks m_wordBreaks;
  StyleStack m_styles;
  MarkupEvent m_held;  // to be handled again in the next piece
  bool m_isHeld = false;

  Token m_token;
  Stop m_stop = Stop::None;    // how the last token ended, if that is not decided yet
  bool m_adjacent = false;     // no blank since the last token
  int m_newlines = 0;          // in the blanks since the last token
  bool m_afterReturn = false;  // the last character was a carriage return
  bool m_begun = false;        // the sentence has begun in an earlier piece

  // The piece being filled.
  std::size_t m_pieceStart = 0;
  bool m_hasTokens = false;
  bool m_hasWords = false;
  std::size_t m_tokensStart = 0;
  std::size_t m_tokensEnd = 0;

  // The phoneme element being read: the index of its item, and the length of the item's name
  // without blanks at its end.
  bool m_phonesOpen = false;
  std::size_t m_phonesItem = 0;
  std::size_t m_phonesName = 0;
};

}  // namespace kavrel
