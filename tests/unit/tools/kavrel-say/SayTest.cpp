// SPDX-License-Identifier: Apache-2.0
//
// kavrel-say, run as a user runs it. Speech is written to files only.
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "programs/Program.h"

namespace {

using program::eventsOf;
using program::Folder;
using program::Result;
using program::Running;
using program::say;
using program::secondsIn;
using program::valuesOf;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using Strings = std::vector<std::string>;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

class Say : public testing::Test {
 protected:
  // The events of `text`, spoken to a file.
  std::vector<nlohmann::json> eventsFor(const std::string& text) {
    const Result result = say({"--events", "-o", m_sound, "-f", "-"}, text);
    EXPECT_EQ(result.status, 0) << result.err;
    return eventsOf(result.out);
  }

  Strings wordsOf(const std::string& text) {
    return valuesOf<std::string>(eventsFor(text), "word", "text");
  }

  Folder m_folder;
  std::string m_sound = m_folder.file("speech.aiff");
};

// Matches one line that begins with the program's name.
testing::Matcher<std::string> complaint(const std::string& about) {
  return AllOf(MatchesRegex("kavrel-say: [^\n]*\n"), HasSubstr(about));
}

// ---- Text

TEST_F(Say, SpeaksTheWordsOfTheCommandLine) {
  const Result result = say({"--events", "-o", m_sound, "good", "morning"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(valuesOf<std::string>(eventsOf(result.out), "word", "text"),
              ElementsAre("good", "morning"));
  EXPECT_GT(secondsIn(m_sound), 0.3);
}

TEST_F(Say, WritesNothingToStandardOutputWithoutEvents) {
  const Result result = say({"-o", m_sound, "hello"});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST_F(Say, ReadsStandardInputWithoutAText) {
  const Result result = say({"--events", "-o", m_sound}, "from a pipe\n");
  EXPECT_THAT(valuesOf<std::string>(eventsOf(result.out), "word", "text"),
              ElementsAre("from", "a", "pipe"));
}

TEST_F(Say, ReadsStandardInputForAHyphen) {
  EXPECT_THAT(wordsOf("one two"), ElementsAre("one", "two"));
}

TEST_F(Say, ReadsAFile) {
  const std::string file = m_folder.write("letter.txt", "dear friend");
  const Result result = say({"--events", "-o", m_sound, "-f", file}, "not this");
  EXPECT_THAT(valuesOf<std::string>(eventsOf(result.out), "word", "text"),
              ElementsAre("dear", "friend"));
}

TEST_F(Say, TakesEverythingAfterTwoHyphensAsText) {
  const Result result = say({"--events", "-o", m_sound, "--", "-v", "is", "--bogus"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(valuesOf<int>(eventsOf(result.out), "word", "position"), Contains(3));
}

TEST_F(Say, SpeaksATextInBracketsUnchanged) {
  const Result result = say({"--events", "-o", m_sound, "[[rate 300]] red, green [[rset 0]]"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(valuesOf<int>(eventsOf(result.out), "word", "position"), ElementsAre(13, 18));
}

TEST_F(Say, WritesASilentFileForAnEmptyText) {
  EXPECT_EQ(say({"-o", m_sound, ""}).status, 0);
  EXPECT_EQ(secondsIn(m_sound), 0);
}

TEST_F(Say, SpeaksInvalidUtf8WithoutAborting) {
  EXPECT_THAT(wordsOf(std::string("a\xFF \0one\xC3", 8)), ElementsAre("a", "one"));
}

// ---- Events

TEST_F(Say, EndsTheEventsWithDone) {
  const auto events = eventsFor("hello");
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.back().at("event"), "done");
  EXPECT_EQ(valuesOf<std::string>(events, "done", "event").size(), 1U);
}

TEST_F(Say, DescribesEveryEventInFull) {
  for (const auto& event : eventsFor("one [[sync 9]] two")) {
    const std::string kind = event.at("event");
    EXPECT_TRUE(event.at("time").is_number()) << event;
    if (kind == "word") {
      EXPECT_EQ(event.size(), 5U) << event;
      EXPECT_TRUE(event.at("position").is_number_unsigned()) << event;
      EXPECT_TRUE(event.at("length").is_number_unsigned()) << event;
      EXPECT_TRUE(event.at("text").is_string()) << event;
    } else if (kind == "phoneme") {
      EXPECT_EQ(event.size(), 3U) << event;
      EXPECT_GE(event.at("code"), 0) << event;
      EXPECT_LE(event.at("code"), 41) << event;
    } else if (kind == "sync") {
      EXPECT_EQ(event.size(), 3U) << event;
      EXPECT_EQ(event.at("number"), 9);
    } else {
      EXPECT_EQ(kind, "done");
      EXPECT_EQ(event.size(), 2U) << event;
    }
  }
}

TEST_F(Say, ReportsThePositionOfEveryEventInTheAudio) {
  double last = 0;
  for (const auto& event : eventsFor("one two. [[sync 9]] three")) {
    EXPECT_GE(event.at("time").get<double>(), last) << event;
    last = event.at("time");
  }
  constexpr double kRounding = 0.0001;
  EXPECT_NEAR(last, secondsIn(m_sound), kRounding);
}

TEST_F(Say, CountsSilenceInTheTimes) {
  const auto times = valuesOf<double>(
      eventsFor("[[slnc 2000]] [[sync 1]] [[slnc 1500]] [[sync 2]]"), "sync", "time");
  EXPECT_THAT(times, ElementsAre(2.0, 3.5));
}

TEST_F(Say, ReportsMarksWithTheNumbersThatTheTextGivesThem) {
  EXPECT_THAT(
      valuesOf<int>(eventsFor("[[sync 1]] a [[sync 65535]] b [[sync 65539]]"), "sync", "number"),
      ElementsAre(1, 65535, 65539));
  EXPECT_THAT(valuesOf<unsigned>(eventsFor("[[sync 0xFFFFFFFF]] a [[sync 'four']] b [[sync $A]]"),
                                 "sync", "number"),
              ElementsAre(0xFFFFFFFFU, 0x666F7572U, 10U));
}

TEST_F(Say, ReportsTheLowerHalfOfDecimalMarksIfStrict) {
  const Result result = say({"--strict", "--events", "-o", m_sound, "-f", "-"},
                            "[[sync 1]] a [[sync 0x41]] b [[sync 65539]]");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(valuesOf<int>(eventsOf(result.out), "sync", "number"), ElementsAre(1, 0, 3));
}

TEST_F(Say, SpeaksTextsThatStrictRefuses) {
  const std::string text = "a [[inpt PHON]]hAY, q.[[inpt TEXT]] b [[ c";
  EXPECT_THAT(wordsOf(text), ElementsAre("a", "hAY, q.", "b", "c"));
  const Result refused = say({"--strict", "-o", m_sound, "-f", "-"}, text);
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, complaint("a phoneme is unknown"));
}

TEST_F(Say, WritesTheMarkupOfTheAdaptedText) {
  const std::string text = "a [[RATE 200]]b [[sync 0x41]]c";
  EXPECT_THAT(say({"--ssml", "-f", "-"}, text).out,
              AllOf(HasSubstr("rate='200'"), HasSubstr("<mark name='65536'/>")));
  EXPECT_THAT(say({"--ssml", "--strict", "-f", "-"}, text).out,
              AllOf(testing::Not(HasSubstr("rate=")), HasSubstr("<mark name='0'/>")));
}

TEST_F(Say, ReportsMarksBetweenTheirWords) {
  Strings order;
  for (const auto& event : eventsFor("before [[sync 5]] after")) {
    if (event.at("event") == "word") order.push_back(event.at("text"));
    if (event.at("event") == "sync") order.push_back("mark");
  }
  EXPECT_THAT(order, ElementsAre("before", "mark", "after"));
}

struct Sentence {
  const char* text;
  Strings words;  // as the user wrote them, in order
};

void PrintTo(const Sentence& sentence, std::ostream* out) {
  *out << sentence.text;
}

class SayWords : public Say, public testing::WithParamInterface<Sentence> {};

TEST_P(SayWords, AreReportedOnceInOrderAsTheUserWroteThem) {
  const std::string text = GetParam().text;
  std::size_t end = 0;
  for (const auto& event : eventsFor(text)) {
    if (event.at("event") != "word") continue;
    const std::size_t position = event.at("position");
    const std::size_t length = event.at("length");
    EXPECT_GE(position, end) << event;
    end = position + length;
    ASSERT_LE(end, text.size()) << event;
    EXPECT_EQ(text.substr(position, length), event.at("text"));
  }
  EXPECT_EQ(wordsOf(text), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SayWords,
    testing::Values(
        Sentence{"salt & pepper", {"salt", "&", "pepper"}},
        Sentence{"if a<b then b>a holds", {"if", "a<b", "then", "b>a", "holds"}},
        Sentence{"the new OS X is here", {"the", "new", "OS", "X", "is", "here"}},
        Sentence{"\u201CCome in,\u201D she said", {"Come", "in", "she", "said"}},
        Sentence{"it isn\u2019t", {"it", "isn\u2019t"}},
        Sentence{"na\u00EFve caf\u00E9 owner", {"na\u00EFve", "caf\u00E9", "owner"}},
        Sentence{"cafe\u0301 time", {"cafe\u0301", "time"}},
        Sentence{"well \U0001F600\U0001F44D done", {"well", "\U0001F600\U0001F44D", "done"}},
        Sentence{"\uFEFFfirst word", {"first", "word"}},
        Sentence{"[[rate 250]]quick [[pbas +2]]brown [[slnc 10]]fox", {"quick", "brown", "fox"}},
        Sentence{"two\n\nlines\tof text", {"two", "lines", "of", "text"}}));

TEST_F(Say, ReportsNoWordThatHasNoBytesInTheText) {
  EXPECT_THAT(wordsOf("a [[ctxt WSKP]]skip [[ctxt TEXT]]x [[ctxt WORD]]b"), Not(Contains("")));
}

TEST_F(Say, ReportsEveryWordOfALongText) {
  std::string text;
  for (int i = 0; i < 300; ++i) text += "r\u00E9sum\u00E9 & more. ";
  const auto positions = valuesOf<std::size_t>(eventsFor(text), "word", "position");
  ASSERT_EQ(positions.size(), 900U);
  constexpr std::size_t kPeriod = 17;
  for (std::size_t i = 0; i < positions.size(); i += 3) {
    ASSERT_EQ(positions[i], i / 3 * kPeriod);
    ASSERT_EQ(positions[i + 1], i / 3 * kPeriod + 9);
    ASSERT_EQ(positions[i + 2], i / 3 * kPeriod + 11);
  }
}

TEST_F(Say, WritesEventsAsTheyHappen) {
  Running running({"--events", "first. [[slnc 600000]] last"});
  EXPECT_THAT(running.readUntil("first"), Not(HasSubstr("last")));
  running.sendSignal(SIGINT);
  EXPECT_EQ(running.finish().signal, SIGINT);
}

// ---- Voices and rate

TEST_F(Say, ListsTheVoicesInColumns) {
  const Result result = say({"-v", "?"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, MatchesRegex("([A-Z][a-z]+ +[a-z]+(_[A-Za-z0-9_]+)? +# [^\n]+\n)+"));
  EXPECT_THAT(result.out, HasSubstr("Maren               en_US           # If you"));
  EXPECT_THAT(result.out, HasSubstr("Fergus              en_GB_scotland  # The ferry"));
  EXPECT_THAT(result.out, HasSubstr("Almaz               am_ET           # \u120D\u1306\u1279"));
}

TEST_F(Say, FindsAVoiceWhateverItsCapitalLetters) {
  EXPECT_EQ(say({"-v", "mAREN", "-o", m_sound, "hello"}).status, 0);
}

TEST_F(Say, FindsAVoiceByItsLocaleOrLanguage) {
  const auto audioOf = [&](const char* voice) {
    EXPECT_EQ(say({"-v", voice, "-o", m_sound, "guten Tag"}).status, 0) << voice;
    return program::contentsOf(m_sound);
  };
  const std::string german = audioOf("Gernot");
  EXPECT_NE(german, audioOf("Corin"));
  for (const char* const name : {"de_DE", "de-de", "DE", "de_AT", "German", "deutsch"}) {
    EXPECT_EQ(audioOf(name), german) << name;
  }
  // The default voice first.
  EXPECT_EQ(audioOf("en"), audioOf("Corin"));
}

TEST_F(Say, ListsSimilarNamesWhenAVoiceIsUnknown) {
  const Result result = say({"-v", "winifret", "-o", m_sound, "hello"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, AllOf(complaint("\"winifret\""), HasSubstr("similar names: Winifred\n")));
}

TEST_F(Say, SpeaksTheWholeTextWithOneVoiceOnRequest) {
  EXPECT_EQ(wordsOf("Tea и чай"), (Strings{"Tea", "и", "чай"}));
  const Result result = say({"--one-voice", "--events", "-o", m_sound, "Tea и чай"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(valuesOf<std::string>(eventsOf(result.out), "word", "text"),
            (Strings{"Tea", "и", "чай"}));
}

TEST_F(Say, SpeaksDifferentlyWithAnotherVoice) {
  const std::string other = m_folder.file("other.aiff");
  ASSERT_EQ(say({"-v", "Corin", "-o", m_sound, "[[sync 1]] a b c"}).status, 0);
  ASSERT_EQ(say({"-v", "Maren", "-o", other, "[[sync 1]] a b c"}).status, 0);
  EXPECT_NE(program::contentsOf(m_sound), program::contentsOf(other));
}

TEST_F(Say, ListsTheVoicesWhenOneIsUnknown) {
  const Result result = say({"-v", "Nobody", "-o", m_sound, "hello"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err,
              AllOf(complaint("\"Nobody\""), HasSubstr("Corin, "), HasSubstr(", Maren, ")));
  EXPECT_FALSE(std::filesystem::exists(m_sound));
}

TEST_F(Say, SpeaksFasterAtAHigherRate) {
  const std::string fast = m_folder.file("fast.aiff");
  const std::string text = "a fairly long sentence, so that the rate can be heard";
  ASSERT_EQ(say({"-r", "120", "-o", m_sound, text}).status, 0);
  ASSERT_EQ(say({"-r", "360", "-o", fast, text}).status, 0);
  EXPECT_GT(secondsIn(m_sound), 2 * secondsIn(fast));
}

TEST_F(Say, ReportsEveryWordAndEndsAtEveryRate) {
  for (const char* const rate : {"20", "180", "449", "450", "700", "1000"}) {
    const Result result = say({"--events", "-r", rate, "-o", m_sound, "one, two three. Four five"});
    EXPECT_EQ(result.status, 0) << rate;
    EXPECT_THAT(valuesOf<std::string>(eventsOf(result.out), "word", "text"),
                ElementsAre("one", "two", "three", "Four", "five"))
        << rate;
  }
}

TEST_F(Say, KeepsTheRateWhenAVoiceIsAlsoGiven) {
  const std::string slow = m_folder.file("slow.aiff");
  ASSERT_EQ(say({"-r", "360", "-v", "Quill", "-o", m_sound, "one two three four"}).status, 0);
  ASSERT_EQ(say({"-v", "Quill", "-o", slow, "one two three four"}).status, 0);
  EXPECT_LT(secondsIn(m_sound), 0.8 * secondsIn(slow));
}

// ---- Files

TEST_F(Say, ReportsWhyAFileCannotBeWritten) {
  const struct {
    std::string path;
    std::string reason;
  } cases[] = {{m_folder.file("missing/speech.aiff"), "No such file or directory"},
               {m_folder.file("."), "Is a directory"},
               {"/dev/full", "No space left on device"}};
  for (const auto& [path, reason] : cases) {
    const Result result = say({"-o", path, "hello"});
    EXPECT_EQ(result.status, kFailure) << path;
    EXPECT_THAT(result.err, AllOf(complaint(path), HasSubstr(reason)));
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(Say, FailsWhenThereIsNoRoomForAllOfTheSpeech) {
  struct rlimit before {};
  getrlimit(RLIMIT_FSIZE, &before);
  const struct rlimit small { 64 * 1024, before.rlim_max };
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const Result result = say({"-o", m_sound, "one two three four five six seven eight nine ten"});
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, AllOf(HasSubstr(m_sound), HasSubstr("File too large")));
}

TEST_F(Say, OverwritesALongerFile) {
  ASSERT_EQ(say({"-o", m_sound, "a long sentence with many words"}).status, 0);
  ASSERT_EQ(say({"-o", m_sound, "short"}).status, 0);
  EXPECT_GT(secondsIn(m_sound), 0.1);
}

TEST_F(Say, ReportsWhichInputFileIsMissing) {
  const std::string path = m_folder.file("nothing.txt");
  const Result result = say({"-f", path, "-o", m_sound});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, AllOf(complaint(path), HasSubstr("No such file")));
}

TEST_F(Say, RejectsAnInputFileThatIsAFolder) {
  const Result result = say({"-f", m_folder.file("."), "-o", m_sound});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, complaint("Is a directory"));
}

TEST_F(Say, LeavesNoFileForARejectedText) {
  const Result result = say({"--strict", "-o", m_sound, "[[inpt PHON]]qqq[[inpt TEXT]]"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, complaint("cannot speak the text"));
  EXPECT_FALSE(std::filesystem::exists(m_sound));
}

TEST_F(Say, LeavesAValidFileWhenItIsInterrupted) {
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "on and on it goes. ";
  Running running({"--events", "-o", m_sound, "-f", "-"}, text);
  running.readUntil("goes");
  running.sendSignal(SIGINT);
  const Result result = running.finish();
  EXPECT_EQ(result.signal, SIGINT);
  EXPECT_EQ(result.err, "");
  EXPECT_GE(secondsIn(m_sound), 0);
}

// ---- Untrusted text

TEST_F(Say, ExecutesNoCommandInPlainText) {
  const std::string text = "so [[slnc 9000]] [[volm 0]]x ]] y[[[inpt PHON]] \uFF3B[z [";
  const Result result = say({"--plain", "--events", "-o", m_sound, "-f", "-"}, text);
  EXPECT_EQ(result.status, 0) << result.err;
  std::size_t end = 0;
  for (const auto& event : eventsOf(result.out)) {
    if (event.at("event") != "word") continue;
    const std::size_t position = event.at("position");
    EXPECT_GE(position, end);
    end = position + event.at("length").get<std::size_t>();
    EXPECT_EQ(text.substr(position, end - position), event.at("text"));
  }
  EXPECT_THAT(valuesOf<std::string>(eventsOf(result.out), "word", "text"),
              ElementsAre("so", "slnc", "9000", "volm", HasSubstr("0"), "y[[[inpt", "PHON", "z"));
  EXPECT_LT(secondsIn(m_sound), 9);
}

TEST_F(Say, CountsPositionsInCharactersOnRequest) {
  const Result result = say({"--events", "--positions=characters", "-o", m_sound, "-f", "-"},
                            "na\u00EFve \U0001F600 caf\u00E9");
  EXPECT_THAT(valuesOf<int>(eventsOf(result.out), "word", "position"), ElementsAre(0, 6, 8));
  EXPECT_THAT(valuesOf<int>(eventsOf(result.out), "word", "length"), ElementsAre(5, 1, 4));
}

TEST_F(Say, ShowsTheTextForTheEngine) {
  const Result result = say({"--ssml", "-r", "220", "a & b [[emph +]] c"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(HasSubstr("rate='220'"), HasSubstr("a &amp; b")));
  EXPECT_THAT(say({"--ssml", "--plain", "[[emph +]]"}).out, HasSubstr("[(emph +]]"));
}

struct Input {
  const char* name;
  std::string text;
  Strings words;
};

void PrintTo(const Input& input, std::ostream* out) {
  *out << input.name;
}

class SayInput : public Say, public testing::WithParamInterface<Input> {};

TEST_P(SayInput, IsSpokenAsFarAsPossible) {
  const auto& [name, text, words] = GetParam();
  const std::string file = m_folder.write("input", text);
  const std::string vtt = m_folder.file("captions");
  const Result result = say({"--events", "-o", m_sound, "-f", file, "--vtt", vtt});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(valuesOf<std::string>(eventsOf(result.out), "word", "text"), words);
  EXPECT_GE(secondsIn(m_sound), 0);
  EXPECT_THAT(program::contentsOf(vtt), StartsWith("WEBVTT\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Odd, SayInput,
    testing::Values(Input{"empty", "", {}}, Input{"blanks", " \t\r\n ", {}},
                    Input{"only commands", "[[rate 300]][[slnc 10]][[emph +]]", {}},
                    Input{"a byte order mark", "\xEF\xBB\xBFone", {"one"}},
                    Input{"Windows lines", "one\r\ntwo\r\n", {"one", "two"}},
                    Input{"NUL bytes", std::string("one\0two\0", 8), {"one", "two"}},
                    Input{"broken UTF-8", "one \xC3( \xFF\xFE two", {"one", "two"}},
                    Input{"other scripts",
                          "\u65E5\u672C \u0142\u00F3d\u017A",
                          {"\u65E5\u672C", "\u0142\u00F3d\u017A"}}));

TEST_F(Say, StartsAndStopsATextOfTenMegabytesAtOnce) {
  std::string text;
  while (text.size() < 10'000'000) text += "A line of a very long letter.\n";
  const std::string file = m_folder.write("letter.txt", text);
  Running running({"--events", "-o", m_sound, "-f", file});
  EXPECT_THAT(running.readUntil("letter"), Not(HasSubstr("done")));
  running.sendSignal(SIGTERM);
  EXPECT_EQ(running.finish().signal, SIGTERM);
  EXPECT_GT(secondsIn(m_sound), 0);
}

// ---- Other file formats

TEST_F(Say, WritesTheFormatOfTheFileNameExtension) {
  const struct {
    const char* name;
    const char* front;
  } cases[] = {{"a.wav", "RIFF"}, {"a.flac", "fLaC"}, {"a.ogg", "OggS"}, {"a.opus", "OggS"},
               {"a.caf", "caff"}, {"a.au", ".snd"},   {"a.aiff", "FORM"}};
  for (const auto& [name, front] : cases) {
    const std::string file = m_folder.file(name);
    const Result result = say({"-o", file, "hello"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(program::contentsOf(file), StartsWith(front)) << name;
  }
}

TEST_F(Say, KeepsEverySampleInAWaveFile) {
  const std::string wave = m_folder.file("speech.wav");
  ASSERT_EQ(say({"-o", m_sound, "the same"}).status, 0);
  ASSERT_EQ(say({"-o", wave, "the same"}).status, 0);
  const std::string aiff = program::contentsOf(m_sound);
  std::string samples = program::contentsOf(wave).substr(44);
  for (std::size_t i = 0; i + 1 < samples.size(); i += 2) std::swap(samples[i], samples[i + 1]);
  EXPECT_EQ(aiff.substr(aiff.size() - samples.size()), samples);
}

TEST_F(Say, WritesAnotherRateWithTheSameDuration) {
  const std::string fast = m_folder.file("fast.aiff");
  ASSERT_EQ(say({"-o", m_sound, "the same"}).status, 0);
  ASSERT_EQ(say({"-o", fast, "--data-format=BEI16@44100", "the same"}).status, 0);
  EXPECT_NEAR(secondsIn(fast), secondsIn(m_sound), 0.01);
  EXPECT_NEAR(static_cast<double>(program::contentsOf(fast).size()),
              2.0 * static_cast<double>(program::contentsOf(m_sound).size()), 400);
}

TEST_F(Say, WritesAudioToStandardOutput) {
  const Result aiff = say({"-o", "-", "hello"});
  EXPECT_EQ(aiff.status, 0) << aiff.err;
  ASSERT_EQ(say({"-o", m_sound, "hello"}).status, 0);
  EXPECT_EQ(aiff.out, program::contentsOf(m_sound));
  EXPECT_THAT(say({"-o", "-", "--file-format=wav", "hello"}).out, StartsWith("RIFF"));
}

TEST_F(Say, LeavesAValidFileOfAnotherFormatWhenItIsInterrupted) {
  const std::string wave = m_folder.file("speech.wav");
  const std::string vtt = m_folder.file("speech.vtt");
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "on and on it goes. ";
  Running running({"--events", "-o", wave, "--vtt", vtt, "-f", "-"}, text);
  running.readUntil("goes");
  running.sendSignal(SIGINT);
  EXPECT_EQ(running.finish().signal, SIGINT);
  const std::string bytes = program::contentsOf(wave);
  ASSERT_GT(bytes.size(), 44U);
  std::uint32_t length = 0;
  std::memcpy(&length, bytes.data() + 4, 4);
  EXPECT_EQ(length + 8, bytes.size());
  EXPECT_THAT(program::contentsOf(vtt), HasSubstr("on and on it goes."));
}

TEST_F(Say, DoesNotOverwriteItsOwnText) {
  const std::string file = m_folder.write("letter.txt", "dear friend");
  std::filesystem::create_symlink(file, m_folder.file("link.aiff"));
  for (const Strings& output :
       {Strings{"-o", m_folder.file("link.aiff")}, Strings{"--vtt", file}}) {
    Strings arguments = {"-f", file};
    arguments.insert(arguments.end(), output.begin(), output.end());
    const Result result = say(arguments);
    EXPECT_EQ(result.status, kFailure);
    EXPECT_THAT(result.err, complaint("is the input file"));
    EXPECT_EQ(program::contentsOf(file), "dear friend");
  }
}

TEST_F(Say, WritesCaptionsWithTheTimesOfTheWords) {
  const std::string vtt = m_folder.file("speech.vtt");
  const std::string srt = m_folder.file("speech.srt");
  const Result result = say({"--events", "-o", m_sound, "--vtt", vtt, "--srt", srt, "-f", "-"},
                            "Here is salt & pepper. [[slnc 3000]]\u201CCaf\u00E9 <time>!\u201D");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(
      program::contentsOf(vtt),
      MatchesRegex("WEBVTT\n\n00:00:00.000 --> 00:00:0[1-3].[0-9]+\nHere is salt &amp; "
                   "pepper.\n\n00:00:0[4-6].[0-9]+ --> 00:00:0[4-7].[0-9]+\n\u201CCaf\u00E9 "
                   "&lt;time&gt;!\u201D\n"));
  EXPECT_THAT(program::contentsOf(srt),
              AllOf(StartsWith("1\n00:00:00,000 --> "), HasSubstr("\n\n2\n00:00:0"),
                    HasSubstr("\u201CCaf\u00E9 <time>!\u201D\n")));
}

TEST_F(Say, LeavesNoCaptionsForARejectedText) {
  const std::string vtt = m_folder.file("speech.vtt");
  EXPECT_EQ(say({"--strict", "-o", m_sound, "--vtt", vtt, "[[inpt PHON]]qqq[[inpt TEXT]]"}).status,
            kFailure);
  EXPECT_FALSE(std::filesystem::exists(vtt));
}

// ---- Without a device or a terminal

TEST_F(Say, ReportsAnUnknownDevice) {
  const Result result = say({"-a", "nothing like it", "hello"});
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, complaint("\"nothing like it\""));
  EXPECT_EQ(say({"-a", "?"}).status, 0);
}

TEST_F(Say, WritesTheTextAsItIsSpokenWithoutATerminal) {
  Running running({"-i", "first. [[slnc 600000]] last"});
  EXPECT_EQ(running.readUntil("first"), "first");
  running.sendSignal(SIGINT);
  EXPECT_EQ(running.finish().out, "first\n");
  const Result result = say({"-i", "--progress", "-o", m_sound, "Tea, \x1B or so.\n"});
  EXPECT_EQ(result.out, "Tea, \x1B or so.\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(Say, DoesNotWaitForABlockedReaderWhenTerminated) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "word after word ";
  Running running({"--events", "-o", m_sound, "-f", "-"}, text, ends[1]);
  close(ends[1]);
  // As many bytes as the pipe holds.
  int waiting = 0;
  while (waiting < 60000) ASSERT_EQ(ioctl(ends[0], FIONREAD, &waiting), 0);
  running.sendSignal(SIGINT);
  EXPECT_EQ(running.finish().signal, SIGINT);
  close(ends[0]);
  EXPECT_GE(secondsIn(m_sound), 0);
}

// ---- A second signal

// Sends the signal twice, with a pause in which the program takes the first one. Returns how the
// program ends, and checks that the second one ends it at once.
Result resultOfTwo(int signal, Running& running) {
  EXPECT_TRUE(running.waitUntilItTakes(signal));
  running.sendSignal(signal);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const auto second = std::chrono::steady_clock::now();
  running.sendSignal(signal);
  Result result = running.finish();
  EXPECT_LT(std::chrono::steady_clock::now() - second, std::chrono::seconds(1));
  return result;
}

// Connections to the sound server are taken by nobody, so it never responds.
TEST_F(Say, EndsAtTheSecondSignalWhileTheSoundServerHangs) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = m_folder.file("server");
  ASSERT_LT(path.size(), sizeof(address.sun_path));
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  ASSERT_EQ(listen(server, 16), 0);
  const std::string usual = getenv("KAVREL_AUDIO") != nullptr ? getenv("KAVREL_AUDIO") : "";
  unsetenv("KAVREL_AUDIO");
  setenv("PULSE_SERVER", ("unix:" + path).c_str(), 1);
  for (const int signal : {SIGINT, SIGTERM}) {
    Running running({"hello [[slnc 600000]]"});
    EXPECT_EQ(resultOfTwo(signal, running).signal, signal);
  }
  unsetenv("PULSE_SERVER");
  setenv("KAVREL_AUDIO", usual.c_str(), 1);
  close(server);
}

// ---- Standard output

TEST_F(Say, EndsQuietlyWhenTheReaderOfEventsIsClosed) {
  Running running({"--events", "-o", m_sound, "-f", "-"}, std::string(40000, 'a') + " b c d e f");
  running.closeItsOutput();
  const Result result = running.finish();
  EXPECT_EQ(result.status, kFailure);
  EXPECT_EQ(result.err, "");
}

TEST_F(Say, ReportsThatEventsCannotBeWritten) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  const Result result = Running({"--events", "-o", m_sound, "hello"}, "", full).finish();
  close(full);
  EXPECT_EQ(result.status, kFailure);
  EXPECT_THAT(result.err, complaint("standard output: No space left on device"));
}

TEST_F(Say, DoesNotWriteEventsIntoAnotherFileWhenStandardOutputIsClosed) {
  const std::string command =
      std::string(KAVREL_SAY) + " --events -o " + m_sound + " hello 2>/dev/null >&-";
  const Result result = program::run("/bin/sh", {"-c", "exec 3>&2; " + command + "; echo $? >&3"});
  EXPECT_EQ(result.err, "1\n");
  EXPECT_GE(secondsIn(m_sound), 0);
}

// ---- Usage

TEST_F(Say, RejectsWrongUsageWithItsOwnStatus) {
  const Strings cases[] = {{"-r", "fast", "hello"},
                           {"-r", "19", "hello"},
                           {"-r", "1001", "hello"},
                           {"-r", "", "hello"},
                           {"--bogus", "hello"},
                           {"-x"},
                           {"-o"},
                           {"-f", "file", "hello"},
                           {"--positions=words", "hello"},
                           {"-o", "speech.m4a", "hello"},
                           {"--data-format=LEI16", "hello"},
                           {"--interactive=pink", "hello"},
                           {"--events", "-i", "hello"},
                           {"--events", "-o", "-", "hello"},
                           {"-o", "a.wav", "--vtt", "a.wav", "hello"},
                           {"-v"}};
  for (const Strings& arguments : cases) {
    const Result result = say(arguments);
    EXPECT_EQ(result.status, kUsage) << arguments.front();
    EXPECT_THAT(result.err, complaint(""));
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(Say, NamesAnUnknownOption) {
  EXPECT_THAT(say({"--bogus", "hello"}).err, complaint("--bogus"));
}

TEST_F(Say, ListsSupportedValues) {
  EXPECT_THAT(say({"--file-format=?"}).out, HasSubstr("WAVE    .wav"));
  EXPECT_THAT(say({"-o", "x.flac", "--data-format", "?"}).out, StartsWith("I8 "));
  EXPECT_THAT(say({"--interactive=?"}).out, HasSubstr("smul"));
  EXPECT_THAT(say({"--version"}).out, MatchesRegex("kavrel-say [0-9.]+\n"));
}

TEST_F(Say, PrintsItsHelp) {
  const Result result = say({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("Speaks text"));
  EXPECT_EQ(result.err, "");
}

}  // namespace
