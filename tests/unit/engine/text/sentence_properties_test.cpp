// SPDX-License-Identifier: Apache-2.0
//
// Properties of every text: no word or mark is lost, doubled or misplaced, and no text takes more
// than linear time. Random texts come from numbered seeds, which a failure prints.
#include <cctype>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "text/markup.h"
#include "text/sentence.h"

namespace kavrel {
namespace {

struct Location {
  std::size_t start = 0;
  std::size_t length = 0;
  std::string name;

  bool operator==(const Location&) const = default;
  friend void PrintTo(const Location& location, std::ostream* out) {
    *out << location.start << '+' << location.length << ' ' << location.name;
  }
};

Location locationOf(const Item& item) {
  return {item.start, item.length, item.name};
}

// A random text, with the words and marks that a reader must find in it.
class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : m_random(seed) {}

  void make(std::size_t pieces) {
    for (std::size_t i = 0; i < pieces; ++i) addPiece();
  }

  const std::string& text() const { return m_text; }
  const std::vector<Location>& words() const { return m_words; }
  const std::vector<Location>& marks() const { return m_marks; }

 private:
  template <std::size_t N>
  const char* oneOf(const char* const (&choices)[N]) {
    return choices[m_random() % N];
  }

  void addPiece() {
    switch (m_random() % 8) {
      case 0:
        addMark();
        break;
      case 1:
        m_text += oneOf({"<prosody rate='200'>", "</prosody>", "<emphasis strength=\"strong\">",
                         "</emphasis>", "<b>", "</b>", "<say-as type='spell-out'>", "</say-as>",
                         "<break time='5ms'/>", "<!-- a <b> c -->", "<?x y?>", "<unknown a=b/>"});
        break;
      case 2:
        m_text += oneOf({" ", "\n", "\r\n", "\n\n", "\t", "\x01", " \x85 "});
        break;
      default:
        addToken();
    }
  }

  // A token, possibly with tags inside. A blank or a break is always on both sides of it.
  void addToken() {
    m_text += oneOf({"", "(", "\"", "&quot;", "&#8220;", "[", "\xAB"});
    const std::size_t start = m_text.size();
    std::string name;
    const std::size_t letters = 1 + m_random() % 6;
    for (std::size_t i = 0; i < letters; ++i) {
      if (i > 0 && m_random() % 4 == 0) addTagInside();
      addLetter(name);
    }
    m_words.push_back({start, m_text.size() - start, name});
    m_text += oneOf({"", ",", ".", "!", "...", ")", ".\"", "&quot;", ".&#x201D;", ";", ":", "?)"});
    m_text += oneOf({" ", "  ", "\n", "\r\n\r\n", " <b>", "<!----> ", "<break/>"});
  }

  void addTagInside() {
    if (m_random() % 3 == 0) return addMark();
    m_text +=
        oneOf({"<b>", "</b>", "<!-- x y -->", "<emphasis strength='strong'>", "</emphasis>",
               "<prosody rate='300'>", "</prosody>", "<say-as type='spell-out'>", "</say-as>"});
  }

  void addLetter(std::string& name) {
    static constexpr struct {
      const char* written;
      const char* name;
    } kLetters[] = {{"a", "a"},     {"B", "B"},      {"7", "7"},    {"\xE9", "\xE9"},
                    {"&amp;", "&"}, {"&#65;", "A"},  {"&lt;", "<"}, {"&#x20AC;", "\xA4"},
                    {"+", "+"},     {"&#337;", "?"}, {"%", "%"},    {"z", "z"}};
    const auto& letter = kLetters[m_random() % std::size(kLetters)];
    m_text += letter.written;
    name += letter.name;
  }

  void addMark() {
    const std::string name = std::to_string(m_marks.size());
    const std::size_t start = m_text.size();
    m_text += "<mark name='" + name + "'/>";
    m_marks.push_back({start, m_text.size() - start, name});
  }

  std::mt19937 m_random;
  std::string m_text;
  std::vector<Location> m_words;
  std::vector<Location> m_marks;
};

TEST(EveryText, HasItsWordsAndMarksAtTheirPositions) {
  for (unsigned seed = 0; seed < 2000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TextMaker maker(seed);
    maker.make(1 + seed % 200);
    std::vector<Location> words;
    std::vector<Location> marks;
    SentenceReader reader(maker.text());
    Sentence sentence;
    while (reader.next(sentence)) {
      for (const Item& item : sentence.items) {
        if (item.kind == Item::Kind::Word && item.reported) words.push_back(locationOf(item));
        if (item.kind == Item::Kind::Mark) marks.push_back(locationOf(item));
      }
    }
    ASSERT_EQ(words, maker.words()) << maker.text();
    ASSERT_EQ(marks, maker.marks()) << maker.text();
  }
}

// A text of fragments of markup, most of it broken.
std::string brokenText(unsigned seed) {
  static constexpr const char* kPieces[] = {"<",
                                            ">",
                                            "/",
                                            "</",
                                            "/>",
                                            "'",
                                            "\"",
                                            "=",
                                            " ",
                                            "\n",
                                            "word",
                                            "It",
                                            "7",
                                            "x",
                                            ".",
                                            "!",
                                            "&",
                                            "&amp;",
                                            "&#",
                                            ";",
                                            "<b",
                                            "<b>",
                                            "</b>",
                                            "<!--",
                                            "-->",
                                            "<![CDATA[",
                                            "]]>",
                                            "<?x",
                                            "?>",
                                            "<!D",
                                            "<mark ",
                                            "name",
                                            "='1'",
                                            "=\"2",
                                            "<prosody rate=",
                                            "<say-as type='digits'>",
                                            "</prosody>",
                                            "[",
                                            "]>",
                                            "\x80",
                                            "\xE9",
                                            "etc.",
                                            "Mr. ",
                                            "\r"};
  std::mt19937 random(seed);
  std::string text;
  const std::size_t count = random() % 60;
  for (std::size_t i = 0; i < count; ++i) text += kPieces[random() % std::size(kPieces)];
  return text;
}

// Collects runs of letters and digits; any other character ends a run.
class Runs {
 public:
  void add(char32_t character) {
    const bool part =
        (character < 0x80 && std::isalnum(static_cast<int>(character)) != 0) || character >= 0xC0;
    if (part) {
      m_run += character;
    } else {
      cut();
    }
  }

  void cut() {
    if (!m_run.empty()) m_runs.push_back(m_run);
    m_run.clear();
  }

  const std::vector<std::u32string>& all() const { return m_runs; }

 private:
  std::u32string m_run;
  std::vector<std::u32string> m_runs;
};

TEST(EveryText, HasAllWordsOutsideTagsSpokenOnce) {
  for (unsigned seed = 0; seed < 20000; ++seed) {
    const std::string text = brokenText(seed);
    Runs expected;
    MarkupScanner scanner(text);
    for (MarkupEvent event = scanner.next(); event.kind != MarkupEvent::Kind::End;
         event = scanner.next()) {
      if (event.kind == MarkupEvent::Kind::Character) expected.add(event.character);
    }
    expected.cut();

    Runs spoken;
    SentenceReader reader(text);
    Sentence sentence;
    while (reader.next(sentence)) {
      for (const Item& item : sentence.items) {
        // An item that is not reported is a part of a word, or punctuation.
        if (item.kind == Item::Kind::Word && item.reported) spoken.cut();
        for (const wchar_t character : item.text) spoken.add(static_cast<char32_t>(character));
      }
    }
    spoken.cut();
    ASSERT_EQ(spoken.all(), expected.all()) << "seed " << seed << ": " << text;
  }
}

TEST(EveryText, LosesToMarkupOnlyWhatLooksLikeMarkup) {
  for (unsigned seed = 0; seed < 20000; ++seed) {
    const std::string text = brokenText(seed);
    MarkupScanner scanner(text);
    std::size_t covered = 0;
    for (MarkupEvent event = scanner.next(); event.kind != MarkupEvent::Kind::End;
         event = scanner.next()) {
      ASSERT_EQ(event.start, covered) << "seed " << seed << ": " << text;
      covered = event.end;
      const std::string piece = text.substr(event.start, event.end - event.start);
      switch (event.kind) {
        case MarkupEvent::Kind::Character:
          ASSERT_TRUE(piece.size() == 1 || (piece.front() == '&' && piece.back() == ';')) << piece;
          break;
        case MarkupEvent::Kind::Other:
          ASSERT_TRUE(piece.starts_with("<!") || piece.starts_with("<?") || piece == "]]>")
              << piece;
          break;
        default:
          ASSERT_TRUE(piece.starts_with('<') && piece.ends_with('>')) << piece;
          ASSERT_EQ(piece.find('<', 1), std::string::npos) << piece;
      }
    }
    ASSERT_EQ(covered, text.size()) << "seed " << seed;
  }
}

TEST(EveryText, HasItsItemsInOrderInsideTheirSentences) {
  for (unsigned seed = 0; seed < 5000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const std::string text = brokenText(seed) + "<phoneme ph='b'>" + brokenText(seed + 1);
    SentenceReader reader(text);
    Sentence sentence;
    std::size_t lastItem = 0;
    std::size_t lastSentence = 0;
    while (reader.next(sentence)) {
      ASSERT_FALSE(sentence.items.empty());
      ASSERT_GE(sentence.start, lastSentence) << text;
      lastSentence = sentence.start + sentence.length;
      ASSERT_LE(lastSentence, text.size());
      for (const Item& item : sentence.items) {
        ASSERT_LE(item.start + item.length, text.size());
        // Phones precede the marks in their element, and their content may begin after those marks.
        // The same applies to all parts of a word except the first.
        if (item.kind == Item::Kind::Phones) continue;
        if (item.kind == Item::Kind::Word && !item.reported) continue;
        ASSERT_GE(item.start, lastItem) << text;
        lastItem = item.start;
        if (item.kind != Item::Kind::Word) continue;
        ASSERT_FALSE(item.text.empty());
        ASSERT_GE(item.start, sentence.start) << text;
        ASSERT_LE(item.start + item.length, lastSentence) << text;
      }
    }
  }
}

std::string repeated(std::string_view piece, std::size_t bytes = 1 << 20) {
  std::string text;
  while (text.size() < bytes) text += piece;
  return text;
}

struct Sizes {
  std::size_t sentences = 0;
  std::size_t words = 0;
  std::size_t marks = 0;
  std::size_t mostItems = 0;
  std::size_t mostBytes = 0;
};

Sizes sizesOf(std::string_view text) {
  Sizes sizes;
  SentenceReader reader(text);
  Sentence sentence;
  while (reader.next(sentence)) {
    ++sizes.sentences;
    sizes.mostItems = std::max(sizes.mostItems, sentence.items.size());
    sizes.mostBytes = std::max<std::size_t>(sizes.mostBytes, sentence.length);
    for (const Item& item : sentence.items) {
      if (item.kind == Item::Kind::Word) ++sizes.words;
      if (item.kind == Item::Kind::Mark) ++sizes.marks;
    }
  }
  return sizes;
}

// A reader that takes more than linear time exceeds the time limit of the test; one that reads too
// much at once fails the checks of the sizes.
TEST(HostileTexts, AreReadInPiecesOfLimitedSize) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
  const std::string pieces[] = {"<",
                                "&",
                                "a",
                                " ",
                                "7",
                                ".",
                                "\"",
                                "\n",
                                "a ",
                                ". ",
                                "a. ",
                                "Mr. ",
                                "etc. ",
                                "&amp;",
                                "<b>",
                                "</b>",
                                "<a b='",
                                "<!--",
                                "<mark name='1'/>",
                                "<break time='1ms'/>",
                                "<prosody rate='1'>",
                                "<phoneme ph='b'>",
                                "<phoneme ph='b'/>",
                                "<phoneme ph='b'>a<mark/></phoneme>",
                                "a<phoneme ph='b'><mark/>",
                                "[[",
                                "OS X",
                                "\xF0",
                                allBytes};
  for (const std::string& piece : pieces) {
    SCOPED_TRACE(piece);
    const Sizes sizes = sizesOf(repeated(piece));
    EXPECT_LE(sizes.mostItems, SentenceReader::kMaxSentenceBytes / 2);
    EXPECT_LE(sizes.mostBytes, SentenceReader::kMaxSentenceBytes);
  }
}

TEST(HostileTexts, LoseNoWord) {
  EXPECT_EQ(sizesOf(repeated("a ")).words, std::size_t{1} << 19);
  EXPECT_EQ(sizesOf(repeated("a")).words, (std::size_t{1} << 20) / SentenceReader::kMaxTokenBytes);
  EXPECT_EQ(sizesOf(repeated("<mark name='12'/>", 170000)).marks, 10000u);
  EXPECT_EQ(sizesOf("<phoneme ph='b'>" + repeated("<mark name='12'/>", 170000)).marks, 10000u);
}

TEST(LongTexts, AreReadSentenceBySentence) {
  constexpr std::size_t kBytes = 10 << 20;
  const std::string text = repeated("The quick brown fox jumps over Mr. Dog. ", kBytes);
  const Sizes sizes = sizesOf(text);
  EXPECT_EQ(sizes.sentences, text.size() / 40);
  EXPECT_EQ(sizes.words, sizes.sentences * 8);
  EXPECT_EQ(sizes.mostItems, 8u);
}

}  // namespace
}  // namespace kavrel
