// SPDX-License-Identifier: Apache-2.0
//
// How engine events become client callbacks.

#include <cstdio>
#include <memory>
#include <utility>

#include "AppleMarkupConverter.h"
#include "SpeechMgrUtils.h"
#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Event;
using scripted::Op;
using testing::ElementsAre;
using testing::IsEmpty;

class Events : public ChannelTest {
 protected:
  SpeechChannelIdentifier openSpeaking(const std::string& text) {
    const SpeechChannelIdentifier id = open();
    EXPECT_EQ(speak(id, text), noErr);
    engine().forgetCalls();
    return id;
  }

  // The position of `word` in the text that the engine received.
  static int positionOf(const std::string& word) {
    return static_cast<int>(engine().port(1).text().find(word));
  }
};

// ---- Words

TEST_F(Events, AWordIsReportedAtItsPositionInTheCallersText) {
  openSpeaking("Hello world");
  engine().port(1).word(positionOf("world"), 5);
  EXPECT_THAT(client().texts(), ElementsAre("word 6 5"));
}

TEST_F(Events, AWordAtConvertedPosition57WithAShiftOf40IsReportedAt17) {
  const SpeechChannelIdentifier id = open();
  // 22 bytes of a start tag and 18 more bytes of markup precede the word.
  speech_channel* const channel = find_channel(id);
  ASSERT_EQ(speak(id, std::string(100, 'x')), noErr);
  mutex_lock(&channel->mtx);
  auto offsets = std::make_unique<OffsetMap>();
  offsets->insert(0, 11, OffsetMap::APPLE_TOKEN, true);
  offsets->insert(11, 40, OffsetMap::SSML_TOKEN, false);
  offsets->insert(111, 10, OffsetMap::APPLE_TOKEN, true);
  std::unique_ptr<OffsetMap> given(std::exchange(channel->text_offsets, offsets.release()));
  mutex_unlock(&channel->mtx);
  ASSERT_EQ(channel->text_offsets->offset(57), 40u);
  engine().port(1).word(57, 5);
  EXPECT_THAT(client().texts(), ElementsAre("word 17 5"));
}

TEST_F(Events, EveryPositionIsReportedMinusItsShift) {
  const std::string text = "one [[rate 200]] two & three [[emph +]] four [[volm 0.5]] five";
  openSpeaking(text);
  std::string copy = text;
  AppleMarkupConverter converter(PreprocessText(reinterpret_cast<unsigned char*>(copy.data())),
                                 AppleMarkupConverter::SSML, SpeechMgrEnv());
  const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
  std::vector<std::string> expected;
  const int length = static_cast<int>(engine().port(1).text().size());
  for (int at = 0; at <= length; ++at) {
    const auto shift = static_cast<int>(offsets->offset(static_cast<unsigned int>(at)));
    expected.push_back("word " + std::to_string(at - shift) + " 1");
    engine().port(1).word(at, 1);
  }
  EXPECT_EQ(client().texts(), expected);
}

TEST_F(Events, AWordWithoutACallbackDoesNothing) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  set(id, soWordCallBack, nullptr);
  {
    const Diagnosing all(0x800, 9);
    engine().forgetDiagnostics();
    engine().port(1).word(0, 5);
  }
  EXPECT_THAT(engine().calls(), IsEmpty());
  EXPECT_THAT(engine().messages(), IsEmpty());
}

TEST_F(Events, ALongWordIsReportedWithTheLow16BitsOfItsLength) {
  openSpeaking("Hello");
  struct Row {
    int length;
    const char* reported;
  };
  const int at = positionOf("Hello");
  for (const Row& row : {Row{65535, "word 0 65535"}, Row{65536, "word 0 0"},
                         Row{70000, "word 0 4464"}, Row{0, "word 0 0"}, Row{-1, "word 0 65535"}}) {
    engine().port(1).word(at, row.length);
    EXPECT_EQ(client().texts().back(), row.reported);
  }
}

TEST_F(Events, OddPositionsDoNoHarm) {
  openSpeaking("Hello");
  for (const int at : {-1, 0, 1'000'000, INT32_MAX, INT32_MIN}) {
    engine().port(1).word(at, 1);
    engine().port(1).phoneme("ae", at);
  }
  EXPECT_EQ(client().count("phoneme 2"), 5);
}

TEST_F(Events, AWordOfAJobThatIsFinishedIsSkipped) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  engine().port(1).word(0, 5);
  EXPECT_THAT(client().texts(), ElementsAre("done"));
  EXPECT_EQ(status(id), STATUS_IDLE);
}

// ---- Phonemes

TEST_F(Events, PhonesAreReportedAsApplesCodes) {
  openSpeaking("Hello");
  struct Row {
    const char* phone;
    int code;
  };
  const std::vector<Row> rows = {
      {"pau", 1}, {"ae", 2},  {"ey", 3},  {"ao", 4},  {"ah", 14}, {"i", 6},       {"eh", 7},
      {"ih", 10}, {"ay", 9},  {"aa", 11}, {"uw", 12}, {"uh", 13}, {"ow", 15},     {"aw", 16},
      {"oy", 17}, {"b", 18},  {"ch", 19}, {"d", 20},  {"dh", 21}, {"f", 22},      {"g", 23},
      {"h", 24},  {"jh", 25}, {"k", 26},  {"l", 27},  {"m", 28},  {"n", 29},      {"ng", 30},
      {"p", 31},  {"r", 32},  {"s", 33},  {"sh", 34}, {"t", 35},  {"th", 36},     {"v", 37},
      {"w", 38},  {"j", 39},  {"z", 40},  {"zh", 0},  {"", 0},    {"nonsense", 0}};
  for (const Row& row : rows) {
    engine().port(1).phoneme(row.phone, 0);
    EXPECT_EQ(client().texts().back(), "phoneme " + std::to_string(row.code)) << row.phone;
  }
}

TEST_F(Events, AnUnknownPhoneIsAddedToTheMap) {
  openSpeaking("Hello");
  engine().port(1).phoneme("qq", 0);
  ASSERT_TRUE(gApplePhoneCodes.contains("qq"));
  EXPECT_EQ(gApplePhoneCodes["qq"], 0);
  BuildPhoneTranslationTables();
  EXPECT_TRUE(gApplePhoneCodes.contains("qq"));
}

TEST_F(Events, OfAPhoneThePositionIsReadBeforeTheName) {
  openSpeaking("Hello");
  engine().port(1).phoneme("ae", 3);
  EXPECT_THAT(engine().calls(), ElementsAre("kavrel_event_get_textpos(event, start, length) = 0",
                                            "kavrel_event_get_text(\"ae\") = 0"));
}

TEST_F(Events, APhoneWithoutACallbackStillUpdatesTheStatus) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  set(id, soPhonemeCallBack, nullptr);
  engine().port(1).phoneme("z", 9);
  EXPECT_THAT(client().texts(), IsEmpty());
  EXPECT_EQ(statusInfo(id).phonemeCode, 40);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.curr_pos; }), 9);
}

TEST_F(Events, TheStatusIsUpdatedBeforeTheClientIsCalled) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  Status info{};
  client().onPhoneme = [&](auto channel) { info = statusInfo(channel); };
  engine().port(1).phoneme("z", 9);
  EXPECT_EQ(info.phonemeCode, 40);
  EXPECT_EQ(info.inputBytesLeft, statusInfo(id).inputBytesLeft);
}

// ---- Bookmarks

TEST_F(Events, ABookmarkIsReadAsADecimalNumber) {
  openSpeaking("Hello");
  struct Row {
    const char* name;
    const char* reported;
  };
  for (const Row& row :
       {Row{"42", "sync 42"}, Row{"7x", "sync 7"}, Row{"", "sync 0"}, Row{"x7", "sync 0"},
        Row{"-1", "sync -1"}, Row{"  12", "sync 12"}, Row{"+5", "sync 5"}, Row{"0x10", "sync 0"},
        Row{"010", "sync 10"}, Row{"2147483647", "sync 2147483647"}, Row{"- 1", "sync 0"}}) {
    engine().port(1).bookmark(row.name);
    EXPECT_EQ(client().texts().back(), row.reported) << row.name;
  }
}

TEST_F(Events, ABookmarkOfTwentyDigitsDoesNoHarm) {
  openSpeaking("Hello");
  engine().port(1).bookmark("99999999999999999999").bookmark("-99999999999999999999");
  EXPECT_EQ(client().events().size(), 2u);
}

TEST_F(Events, ABookmarkWithoutACallbackIsSkipped) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  set(id, soSyncCallBack, nullptr);
  engine().port(1).bookmark("42");
  EXPECT_THAT(client().texts(), IsEmpty());
}

TEST_F(Events, AnAppleSyncMarkIsReportedAsItsNumber) {
  openSpeaking("a [[sync 42]] b");
  const std::string text = engine().port(1).text();
  const std::size_t name = text.find("<mark name='") + 12;
  engine().port(1).bookmark(text.substr(name, text.find('\'', name) - name));
  // The command's number is in the upper half.
  EXPECT_EQ(client().texts().back(), "sync " + std::to_string(42 << 16));
}

// ---- Other events

TEST_F(Events, OtherTypesAreIgnoredWhetherSubscribedToOrNot) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  EXPECT_EQ(engine().port(1).mask(), 0x564u);
  engine().port(1).sentence(0, 5).error("no");
  for (const kavrel_event_t type : {KAVREL_EVENT_SENTENCE, KAVREL_EVENT_ERROR, KAVREL_EVENT_START,
                                    KAVREL_EVENT_AUDIO, KAVREL_EVENT_NONE, KAVREL_EVENT_ALL}) {
    EXPECT_EQ(channel_stream_callback(nullptr, type, find_channel(id)), KAVREL_SUCCESS);
  }
  EXPECT_THAT(client().texts(), IsEmpty());
  EXPECT_THAT(engine().calls(), IsEmpty());
}

TEST_F(Events, ACallbackForNoChannelReturnsSuccess) {
  for (const kavrel_event_t type :
       {KAVREL_EVENT_WORD, KAVREL_EVENT_PHONEME, KAVREL_EVENT_BOOKMARK, KAVREL_EVENT_END}) {
    EXPECT_EQ(channel_stream_callback(nullptr, type, nullptr), KAVREL_SUCCESS);
  }
}

TEST_F(Events, EventsWithoutATextOrAPositionDoNoHarm) {
  openSpeaking("Hello");
  Event nameless{KAVREL_EVENT_BOOKMARK};
  nameless.nullText = true;
  engine().port(1).event(nameless);
  nameless.type = KAVREL_EVENT_PHONEME;
  engine().port(1).event(nameless);
  engine().setResult(Op::EventText, KAVREL_WRONG_EVENT);
  engine().setResult(Op::EventTextpos, KAVREL_WRONG_EVENT);
  engine().port(1).word(3, 2).phoneme("ae", 3).bookmark("3");
  EXPECT_EQ(client().events().size(), 5u);
}

TEST_F(Events, AMegabyteOfEventTextDoesNoHarm) {
  openSpeaking("Hello");
  const std::string text(1'000'000, '1');
  engine().port(1).phoneme(text, 0).bookmark(text);
  EXPECT_EQ(client().texts().front(), "phoneme 0");
}

TEST_F(Events, CallbacksGetTheIdentifierAndRunOnTheEnginesThread) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  std::thread other([] { engine().port(1).word(0, 1).phoneme("ae", 0).bookmark("1"); });
  const std::thread::id thread = other.get_id();
  other.join();
  ASSERT_EQ(client().events().size(), 3u);
  for (const Client::Event& event : client().events()) {
    EXPECT_EQ(event.channel, id);
    EXPECT_EQ(event.thread, thread);
  }
}

TEST_F(Events, TheCallbackTakesNoLockOfTheChannel) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  speech_channel* const channel = find_channel(id);
  mutex_lock(&channel->mtx);
  std::thread other([] { engine().port(1).word(0, 1).phoneme("ae", 0).bookmark("1").end(); });
  other.join();  // hangs if the callback takes the lock
  EXPECT_EQ(client().events().size(), 3u);
  mutex_unlock(&channel->mtx);
  EXPECT_TRUE(client().waitForDone());
}

TEST_F(Events, OfTwoChannelsReachEachChannelsClient) {
  Client& one = newClient();
  Client& two = newClient();
  ASSERT_EQ(speak(open(one), "Hello"), noErr);
  ASSERT_EQ(speak(open(two), "Hello"), noErr);
  engine().port(1).bookmark("1");
  engine().port(2).bookmark("2");
  EXPECT_THAT(one.texts(), ElementsAre("sync 1"));
  EXPECT_THAT(two.texts(), ElementsAre("sync 2"));
}

TEST_F(Events, TwoThreadsMayPlayEventsOfOneChannel) {
  openSpeaking("Hello");
  const auto play = [] {
    for (int i = 0; i < 500; ++i) {
      engine().port(1).word(i % 20, 1).phoneme("new" + std::to_string(i), i).bookmark("1");
    }
  };
  engine().recordCalls(false);
  std::thread one(play);
  std::thread two(play);
  one.join();
  two.join();
  EXPECT_EQ(client().events().size(), 3000u);
}

TEST_F(Events, ACallbackChangedDuringAJobAppliesFromTheNextEvent) {
  const SpeechChannelIdentifier id = openSpeaking("Hello");
  engine().port(1).bookmark("1");
  Client& other = newClient();
  set(id, soRefCon, &other);
  engine().port(1).bookmark("2");
  EXPECT_THAT(client().texts(), ElementsAre("sync 1"));
  EXPECT_THAT(other.texts(), ElementsAre("sync 2"));
}

// ---- Exact positions of words

TEST_F(Events, AnEngineErrorIsNotReportedByDefault) {
  openSpeaking("one two");
  EXPECT_EQ(engine().port(1).mask() & KAVREL_EVENT_ERROR, 0u);
}

TEST_F(Events, AnEngineErrorIsReportedAtItsPositionToAHostThatWantsIt) {
  const SpeechChannelIdentifier id = open();
  int wanted = 0;
  ASSERT_EQ(set(id, kEngineErrors, &wanted), noErr);
  ASSERT_EQ(speak(id, "one two"), noErr);
  EXPECT_EQ(engine().port(1).mask(), kChannelEvents | KAVREL_EVENT_ERROR);
  engine().port(1).event({KAVREL_EVENT_ERROR, "the disk is full", positionOf("two"), 3});
  EXPECT_THAT(client().texts(), ElementsAre("error -36 4"));
  set(id, soErrorCallBack, nullptr);
  engine().port(1).event({KAVREL_EVENT_ERROR, "the disk is full", positionOf("two"), 3});
  EXPECT_EQ(client().texts().size(), 1u);
}

class CallerPositions : public Events {
 protected:
  // Speaks `text` with exact positions enabled.
  void speakExactly(const std::string& text) {
    const SpeechChannelIdentifier id = open();
    EXPECT_EQ(set(id, kCallerPositions, &m_anything), noErr);
    EXPECT_EQ(speak(id, text), noErr);
  }

  int m_anything = 0;
};

TEST_F(CallerPositions, EveryWordIsReportedAtItsPositionInTheCallersBuffer) {
  for (const std::string text :
       {"Hello world", "fish & chips", "<a> b", "OS X runs", "a OS X b OS X c",
        "one [[rate 200]] two [[volm +0.1]] three", "say [[emph +]] this [[emph -]] word",
        "a [[slnc 500]] b [[sync 3]] c", "[[rset 0]]first", "\xF0 logo",
        "dash \xD1 ellipsis \xC9 end", "x [[cmnt nothing]] y", "q & r [[rate +10]] & s"}) {
    SCOPED_TRACE(text);
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    set(id, kCallerPositions, &m_anything);
    ASSERT_EQ(speak(id, text), noErr);
    const scripted::Port port = engine().port(engine().ports());
    for (const std::string word : {"Hello", "world", "chips", "runs", "one", "two", "three", "this",
                                   "word", "first", "logo", "ellipsis", "end"}) {
      const std::size_t at = port.text().find(word);
      const std::size_t origin = text.find(word);
      if (at == std::string::npos || origin == std::string::npos) continue;
      engine().port(engine().ports()).word(static_cast<int>(at), static_cast<int>(word.size()));
      EXPECT_EQ(own.texts().back(),
                "word " + std::to_string(origin) + ' ' + std::to_string(word.size()));
    }
    close(id);
  }
}

TEST_F(CallerPositions, AWordThatPreparationMadeLongerHasTheCallersLength) {
  speakExactly("fish & chips OS X");
  engine().port(1).word(positionOf("&amp;"), 5);
  EXPECT_EQ(client().texts().back(), "word 5 1");
  engine().port(1).word(positionOf("OS 10"), 5);
  EXPECT_EQ(client().texts().back(), "word 13 4");
}

TEST_F(CallerPositions, NeverLeaveTheBuffer) {
  const std::string text = "one & [[rate 200]] two OS X [[inpt TUNE]] x";
  speakExactly(text);
  const int end = static_cast<int>(engine().port(1).text().size());
  for (int at = -1; at <= end + 1; ++at) {
    for (const int length : {-1, 0, 1, 5, 1000, INT32_MAX}) {
      engine().port(1).word(at, length);
      int position = -1;
      int size = -1;
      ASSERT_EQ(std::sscanf(client().texts().back().c_str(), "word %d %d", &position, &size), 2);
      EXPECT_GE(position, 0);
      EXPECT_LE(position + size, static_cast<int>(text.size())) << at << ' ' << length;
    }
  }
}

TEST_F(CallerPositions, AreOffUntilTheSelectorIsSetAndAfterItIsCleared) {
  const std::string text = "fish & chips";
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, text), noErr);
  const int at = positionOf("chips");
  engine().port(1).word(at, 5).end();
  ASSERT_TRUE(client().waitForDone(1));
  EXPECT_EQ(client().texts().front(), "word 11 5");
  set(id, kCallerPositions, &m_anything);
  ASSERT_EQ(speak(id, text), noErr);
  engine().port(1).word(at, 5).end();
  ASSERT_TRUE(client().waitForDone(2));
  EXPECT_EQ(client().count("word 7 5"), 1);
  set(id, kCallerPositions, nullptr);
  ASSERT_EQ(speak(id, text), noErr);
  engine().port(1).word(at, 5);
  EXPECT_EQ(client().texts().back(), "word 11 5");
}

}  // namespace
}  // namespace channels
