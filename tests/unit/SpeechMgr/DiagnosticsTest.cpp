// SPDX-License-Identifier: Apache-2.0
//
// The diagnostic lines of the entry points and channels: their text, their order, the level above
// which they are written, and the four calls that make up each line.

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::Diagnostic;
using scripted::engine;
using scripted::Op;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned int kChannels = 0x800;
constexpr int kAll = 9;

class Lines : public ChannelTest {
 protected:
  // The line about opening the engine is written once per process; FirstLoadTest.cpp tests it.
  void SetUp() override { openBare(); }

  // The lines in the channels' area that `action` writes on this thread at `level`.
  static std::vector<std::string> linesOf(const std::function<void()>& action, int level = kAll) {
    engine().forgetDiagnostics();
    {
      const Diagnosing on(kChannels, level);
      action();
    }
    std::vector<std::string> texts;
    for (const Diagnostic& line : engine().diagnostics()) {
      if (line.thread == std::this_thread::get_id()) texts.push_back(line.text);
    }
    return texts;
  }

  // Runs `action` and returns the last line that it writes before the last call of `op`.
  static std::string lineBefore(Op op, const std::function<void()>& action) {
    std::string line;
    engine().during(op, [&] {
      const std::vector<std::string> messages = engine().messages();
      line = messages.empty() ? "(none)" : messages.back();
    });
    linesOf(action);
    engine().during(op, nullptr);
    return line;
  }

  static std::string with(const char* format, SpeechChannelIdentifier id) {
    std::string text = format;
    const std::size_t at = text.find("%d");
    if (at != std::string::npos) text.replace(at, 2, std::to_string(id));
    return text;
  }

  static std::string searching(SpeechChannelIdentifier id) {
    return with("Searching for Speech Channel with ID: %d.\n", id);
  }
  static std::string found(SpeechChannelIdentifier id) {
    return with("Found Speech Channel with ID: %d.\n", id);
  }
};

// ---- Words and order

TEST_F(Lines, OfOpening) {
  SpeechChannelIdentifier id = 0;
  const auto lines = linesOf([&] { id = openBare(); });
  EXPECT_THAT(lines,
              ElementsAre(with("Open Channel ID: %d\n", id), "New Speech Channel Requested.\n",
                          with("New Speech Channel Created. ID: %d.\n", id)));
}

TEST_F(Lines, OfClosing) {
  const SpeechChannelIdentifier id = openBare();
  EXPECT_THAT(
      linesOf([&] { close(id); }),
      ElementsAre(searching(id), found(id), with("Close Channel ID: %d\n", id),
                  with("Delete Requested for Channel ID: %d.\n", id),
                  with("Stop Requested for Channel: %d.\n", id), "Speech Channel Deleted.\n"));
}

TEST_F(Lines, OfClosingAClosedChannel) {
  const SpeechChannelIdentifier id = openBare();
  close(id);
  EXPECT_THAT(linesOf([&] { SECloseSpeechChannel(id); }), ElementsAre(searching(id)));
}

TEST_F(Lines, OfTheStatus) {
  const SpeechChannelIdentifier id = open();
  SpeechStatusInfo info{};
  EXPECT_THAT(linesOf([&] { SESpeechStatus(id, &info); }),
              ElementsAre(with("Status Channel ID: %d\n", id), searching(id), found(id),
                          "Status paused:0, usy:0, bytes left:0, phoneme:0\n"));
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).phoneme("ae", 7);
  const auto left = std::to_string(converted("Hello").size() - 7);
  EXPECT_EQ(linesOf([&] { SESpeechStatus(id, &info); }).back(),
            "Status paused:0, usy:1, bytes left:" + left + ", phoneme:2\n");
  ASSERT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(linesOf([&] { SESpeechStatus(id, &info); }).back(),
            "Status paused:1, usy:0, bytes left:0, phoneme:0\n");
}

TEST_F(Lines, OfTheStatusWithoutARecord) {
  const SpeechChannelIdentifier id = open();
  EXPECT_THAT(linesOf([&] { SESpeechStatus(id, nullptr); }),
              ElementsAre(with("Status Channel ID: %d\n", id), searching(id), found(id)));
}

TEST_F(Lines, OfStoppingPausingAndContinuing) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(linesOf([&] { SEPauseSpeechAt(id, 1); }),
              ElementsAre(with("Pause Channel ID: %d, whereToPause: 1\n", id), searching(id),
                          found(id), with("Pause Requested for Channel: %d.\n", id)));
  EXPECT_THAT(linesOf([&] { SEContinueSpeech(id); }),
              ElementsAre(with("Continue Channel ID: %d\n", id), searching(id), found(id),
                          with("Unpause Requested for Channel: %d.\n", id)));
  EXPECT_THAT(linesOf([&] { SEStopSpeechAt(id, 2); }),
              ElementsAre(with("Stop Channel ID: %d, whereToStop: 2\n", id), searching(id),
                          found(id), with("Stop Requested for Channel: %d.\n", id),
                          with("Finishing Job on Channel: %d.\n", id),
                          with("Waiting for Job to Finish on Channel: %d.\n", id),
                          with("Job Finished on Channel: %d.\n", id)));
}

TEST_F(Lines, OfInvalidBoundaries) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(linesOf([&] { SEStopSpeechAt(id, static_cast<unsigned long>(-1)); }).front(),
            with("Stop Channel ID: %d, whereToStop: -1\n", id));
}

TEST_F(Lines, OfTextToPhonemesAndDictionaries) {
  const SpeechChannelIdentifier id = open();
  EXPECT_THAT(linesOf([&] { SETextToPhonemes(id, nullptr, 0, nullptr, nullptr); }),
              ElementsAre(with("text2phonemes Channel ID: %d\n", id), searching(id), found(id)));
  EXPECT_THAT(linesOf([&] { SEUseDictionary(id, nullptr, 0); }),
              ElementsAre(with("UseDictionary Channel ID: %d\n", id), searching(id), found(id)));
}

TEST_F(Lines, OfSpeaking) {
  const SpeechChannelIdentifier id = open();
  const std::string text = converted("a&b");
  EXPECT_THAT(
      linesOf([&] { speak(id, "a&b", 0x1f); }),
      ElementsAre(with("Speak Channel ID: %d, length: 3, control flags: 1f, text:\na&b\n", id),
                  searching(id), found(id), "Converting: \"a&b\"\n",
                  "Converted: \"" + text + "\"\n", with("Wait Requested for Channel: %d.\n", id),
                  with("Speech requested for Channel ID: %d, text: \"", id) + text + "\"\n",
                  with("Opening Kavrel Port for Channel ID: %d.\n", id)));
}

TEST_F(Lines, OfSpeakingOnAPortThatIsOpen) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "one"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(linesOf([&] { speak(id, "two"); }).back(),
            with("Speech requested for Channel ID: %d, text: \"", id) + converted("two") + "\"\n");
}

TEST_F(Lines, OfABufferThatCannotBeSpoken) {
  const SpeechChannelIdentifier id = open();
  engine().fail(Op::Speak, 1);
  EXPECT_EQ(linesOf([&] { speak(id, "Hello"); }).back(),
            with("ERROR Generating Speech on Channel: %d.  Closing Kavrel Port.\n", id));
  engine().fail(Op::PortOpen, 1);
  EXPECT_EQ(linesOf([&] { speak(id, "Hello"); }).back(),
            with("Opening Kavrel Port for Channel ID: %d.\n", id));
}

TEST_F(Lines, OfAnErrorPrecedesTheClosingOfThePort) {
  const SpeechChannelIdentifier id = open();
  engine().fail(Op::Speak, 1);
  EXPECT_EQ(lineBefore(Op::PortClose, [&] { speak(id, "Hello"); }),
            with("ERROR Generating Speech on Channel: %d.  Closing Kavrel Port.\n", id));
}

TEST_F(Lines, OfOpeningFollowTheParameterSet) {
  SpeechChannelIdentifier id = 0;
  const std::string line = lineBefore(Op::ParamsNew, [&] { id = openBare(); });
  EXPECT_EQ(line, with("Open Channel ID: %d\n", id));
}

TEST_F(Lines, OfSpeakingFollowTheParameterSet) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(lineBefore(Op::ParamsNew, [&] { speak(id, "Hello"); }),
            with("Wait Requested for Channel: %d.\n", id));
}

TEST_F(Lines, OfABufferThatIsRefused) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(linesOf([&] { speak(id, "x"); }),
              ElementsAre(with("Speak Channel ID: %d, length: 1, control flags: 0, text:\nx\n", id),
                          searching(id), found(id)));
}

TEST_F(Lines, OfTheEndOfAJob) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().forgetDiagnostics();
  const Diagnosing on(kChannels, kAll);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  ASSERT_TRUE(eventually([&] { return engine().messages().size() >= 4; }));
  EXPECT_THAT(engine().messages(), testing::UnorderedElementsAre(
                                       with("Finishing Job on Channel: %d.\n", id),
                                       with("Waiting for Job to Finish on Channel: %d.\n", id),
                                       with("Job Finished on Channel: %d.\n", id),
                                       with("Calling speech done callback on Channel %d\n", id)));
}

TEST_F(Lines, OfASecondEnd) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_THAT(linesOf([&] { channel_finish_job(find_channel(id)); }),
              ElementsAre(searching(id), found(id), with("Finishing Job on Channel: %d.\n", id),
                          with("Job Finished on Channel: %d.\n", id)));
}

TEST_F(Lines, OfEvents) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(
      linesOf([&] { engine().port(1).word(22, 5).phoneme("ae", 22).bookmark("7x"); }),
      ElementsAre(with("Calling word callback on Channel %d at text pos 0 (22 , 22), "
                       "length 5\n",
                       id),
                  with("Calling phoneme callback on Channel %d for phoneme ae\n", id),
                  "Calling sync callback number 7 on Channel " + std::to_string(id) + "\n"));
}

TEST_F(Lines, OfABookmarkAreWrittenWithoutACallbackToo) {
  const SpeechChannelIdentifier id = openBare();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(
      linesOf([&] { engine().port(1).bookmark("7x"); }),
      ElementsAre("Calling sync callback number 7 on Channel " + std::to_string(id) + "\n"));
}

TEST_F(Lines, OfEventsWithoutCallbacks) {
  const SpeechChannelIdentifier id = openBare();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_THAT(linesOf([&] { engine().port(1).word(22, 5).phoneme("ae", 22).sentence(0, 5); }),
              IsEmpty());
}

TEST_F(Lines, OfAClientThatThrows) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  client().onWord = [](SpeechChannelIdentifier) { throw std::runtime_error("of the client"); };
  EXPECT_EQ(linesOf([&] { engine().port(1).word(22, 5); }).back(),
            "A client callback has thrown an exception; it is ignored.\n");
}

TEST_F(Lines, OfReadingSettings) {
  const SpeechChannelIdentifier id = open();
  struct Row {
    OSType selector;
    const char* name;
    const char* detail;  // null: none
  };
  for (const Row& row : {Row{soRate, "rate", "GetInfo selector soRate: 180.000000\n"},
                         Row{soPitchBase, "pbas", "GetInfo selector soPitchBase: 0\n"},
                         Row{soPitchMod, "pmod", "GetInfo selector soPitchMod: 0\n"},
                         Row{soVolume, "volm", "GetInfo selector soVolume: 100.000000\n"},
                         Row{soInputMode, "inpt", nullptr}, Row{soCharacterMode, "char", nullptr},
                         Row{soNumberMode, "nmbr", nullptr}, Row{soErrors, "erro", nullptr},
                         Row{soRecentSync, "sync", nullptr}, Row{soSynthType, "vers", nullptr},
                         Row{code("zzzz"), "zzzz", nullptr}}) {
    std::array<char, 64> value{};
    std::vector<std::string> expected = {
        with("GetInfo Channel ID: %d, selector: ", id) + row.name + '\n', searching(id), found(id)};
    if (row.detail) expected.emplace_back(row.detail);
    EXPECT_EQ(linesOf([&] { SEGetSpeechInfo(id, row.selector, value.data()); }), expected);
  }
}

TEST_F(Lines, OfReadingTheStatusAsASetting) {
  const SpeechChannelIdentifier id = open();
  SpeechStatusInfo info{};
  EXPECT_THAT(linesOf([&] { SEGetSpeechInfo(id, soStatus, &info); }),
              ElementsAre(with("GetInfo Channel ID: %d, selector: stat\n", id), searching(id),
                          found(id), with("Status Channel ID: %d\n", id), searching(id), found(id),
                          "Status paused:0, usy:0, bytes left:0, phoneme:0\n"));
}

TEST_F(Lines, OfWritingSettings) {
  const SpeechChannelIdentifier id = openBare();
  struct Row {
    OSType selector;
    const char* name;
    Fixed value;
    const char* detail;
  };
  for (const Row& row :
       {Row{soRate, "rate", 0x00C8C000, "SetInfo selector soRate: 200.000000\n"},
        Row{soPitchBase, "pbas", 0x00320000, "SetInfo selector soPitchBase: 50\n"},
        Row{soPitchMod, "pmod", 0x000C0000, "SetInfo selector soPitchMod: 12\n"},
        Row{soVolume, "volm", 0x00008000, "SetInfo selector soVolume: 50.000000\n"},
        Row{soInputMode, "inpt", 0, nullptr}, Row{soCharacterMode, "char", 0, nullptr},
        Row{soNumberMode, "nmbr", 0, nullptr}, Row{soCommandDelimiter, "dlim", 0, nullptr},
        Row{soReset, "rset", 0, nullptr}, Row{soWordCallBack, "wdcb", 0, nullptr},
        Row{soRefCon, "refc", 0, nullptr}, Row{code("zzzz"), "zzzz", 0, nullptr}}) {
    Fixed value = row.value;
    std::vector<std::string> expected = {
        with("SetInfo Channel ID: %d, selector: ", id) + row.name + '\n', searching(id), found(id)};
    if (row.detail) expected.emplace_back(row.detail);
    EXPECT_EQ(linesOf([&] { SESetSpeechInfo(id, row.selector, &value); }), expected);
  }
  set(id, soWordCallBack, nullptr);
  set(id, soRefCon, nullptr);
}

TEST_F(Lines, OfChoosingAVoice) {
  const SpeechChannelIdentifier id = open();
  VoiceSpec voice{code("BRVD"), code("AvaX")};
  const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
  const CFBundleRef bundle = CFBundleCreate(nullptr, url);
  testing::internal::CaptureStderr();
  CFShow(bundle);
  const std::string shown = testing::internal::GetCapturedStderr();
  testing::internal::CaptureStderr();
  EXPECT_THAT(linesOf([&] { SEUseVoice(id, &voice, bundle); }),
              ElementsAre(with("Use voice Channel ID: %d, voice creator: BRVD, voice identifier: "
                               "AvaX, voice bundle info: ",
                               id),
                          searching(id), found(id),
                          with("Setting Voice for Channel ID: %d to /tmp.\n", id)));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), shown);
  CFRelease(bundle);
  CFRelease(url);
}

TEST_F(Lines, OfChoosingANullVoiceAndBundle) {
  const SpeechChannelIdentifier id = open();
  testing::internal::CaptureStderr();
  const auto lines = linesOf([&] { SEUseVoice(id, nullptr, nullptr); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(lines.front(), with("Use voice Channel ID: %d, voice creator: , voice identifier: , "
                                "voice bundle info: ",
                                id));
}

TEST_F(Lines, TheBundleIsNotShownBelowTheLevel) {
  const SpeechChannelIdentifier id = open();
  const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
  const CFBundleRef bundle = CFBundleCreate(nullptr, url);
  testing::internal::CaptureStderr();
  EXPECT_THAT(linesOf([&] { SEUseVoice(id, nullptr, bundle); }, 1), IsEmpty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  CFRelease(bundle);
  CFRelease(url);
}

TEST_F(Lines, OfUnknownChannelsPrecedeTheSearch) {
  const SpeechChannelIdentifier id = openBare();
  close(id);
  Fixed value = 0;
  struct Row {
    const char* head;
    std::function<void()> call;
  };
  const std::vector<Row> rows = {
      {"Status Channel ID: %d\n", [&] { SESpeechStatus(id, nullptr); }},
      {"Stop Channel ID: %d, whereToStop: 0\n", [&] { SEStopSpeechAt(id, 0); }},
      {"Pause Channel ID: %d, whereToPause: 0\n", [&] { SEPauseSpeechAt(id, 0); }},
      {"Continue Channel ID: %d\n", [&] { SEContinueSpeech(id); }},
      {"text2phonemes Channel ID: %d\n",
       [&] { SETextToPhonemes(id, nullptr, 0, nullptr, nullptr); }},
      {"UseDictionary Channel ID: %d\n", [&] { SEUseDictionary(id, nullptr, 0); }},
      {"Speak Channel ID: %d, length: 1, control flags: 0, text:\nx\n", [&] { speak(id, "x"); }},
      {"GetInfo Channel ID: %d, selector: rate\n", [&] { SEGetSpeechInfo(id, soRate, &value); }},
      {"SetInfo Channel ID: %d, selector: rate\n", [&] { SESetSpeechInfo(id, soRate, &value); }},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(linesOf(row.call), ElementsAre(with(row.head, id), searching(id)));
  }
}

// ---- The gate

// Every line, the level above which it is written, and the function that it names if that is fixed.
struct Gate {
  const char* start;
  int above;
  const char* file;
  const char* function;  // null: not fixed
};

const std::vector<Gate>& gates() {
  static const std::vector<Gate> all = {
      {"Open Channel ID: ", 3, "KavrelSpeechEngine", "SEOpenSpeechChannel"},
      {"Close Channel ID: ", 3, "KavrelSpeechEngine", "SECloseSpeechChannel"},
      {"Status Channel ID: ", 3, "KavrelSpeechEngine", "SESpeechStatus"},
      {"Status paused:", 3, "KavrelSpeechEngine", "SESpeechStatus"},
      {"Stop Channel ID: ", 3, "KavrelSpeechEngine", "SEStopSpeechAt"},
      {"Pause Channel ID: ", 3, "KavrelSpeechEngine", "SEPauseSpeechAt"},
      {"Continue Channel ID: ", 3, "KavrelSpeechEngine", "SEContinueSpeech"},
      {"text2phonemes Channel ID: ", 3, "KavrelSpeechEngine", "SETextToPhonemes"},
      {"UseDictionary Channel ID: ", 3, "KavrelSpeechEngine", "SEUseDictionary"},
      {"Speak Channel ID: ", 1, "KavrelSpeechEngine", "SESpeakBuffer"},
      {"Converting: ", 2, "KavrelSpeechEngine", "SESpeakBuffer"},
      {"Converted: ", 2, "KavrelSpeechEngine", "SESpeakBuffer"},
      {"GetInfo Channel ID: ", 2, "KavrelSpeechEngine", "SEGetSpeechInfo"},
      {"GetInfo selector soRate: ", 3, "KavrelSpeechEngine", "SEGetSpeechInfo"},
      {"GetInfo selector soPitchBase: ", 3, "KavrelSpeechEngine", "SEGetSpeechInfo"},
      {"GetInfo selector soPitchMod: ", 3, "KavrelSpeechEngine", "SEGetSpeechInfo"},
      {"GetInfo selector soVolume: ", 3, "KavrelSpeechEngine", "SEGetSpeechInfo"},
      {"SetInfo Channel ID: ", 2, "KavrelSpeechEngine", "SESetSpeechInfo"},
      {"SetInfo selector soRate: ", 3, "KavrelSpeechEngine", "SESetSpeechInfo"},
      {"SetInfo selector soPitchBase: ", 3, "KavrelSpeechEngine", "SESetSpeechInfo"},
      {"SetInfo selector soPitchMod: ", 3, "KavrelSpeechEngine", "SESetSpeechInfo"},
      {"SetInfo selector soVolume: ", 3, "KavrelSpeechEngine", "SESetSpeechInfo"},
      {"Use voice Channel ID: ", 1, "KavrelSpeechEngine", "SEUseVoice"},
      {"New Speech Channel Requested.", 3, "SpeechChannel", nullptr},
      {"New Speech Channel Created. ID: ", 3, "SpeechChannel", nullptr},
      {"Searching for Speech Channel with ID: ", 3, "SpeechChannel", nullptr},
      {"Found Speech Channel with ID: ", 3, "SpeechChannel", nullptr},
      {"Setting Voice for Channel ID: ", 3, "SpeechChannel", nullptr},
      {"Delete Requested for Channel ID: ", 3, "SpeechChannel", nullptr},
      {"Speech Channel Deleted.", 3, "SpeechChannel", nullptr},
      {"Speech requested for Channel ID: ", 3, "SpeechChannel", nullptr},
      {"Opening Kavrel Port for Channel ID: ", 3, "SpeechChannel", nullptr},
      {"ERROR Generating Speech on Channel: ", 3, "SpeechChannel", nullptr},
      {"Pause Requested for Channel: ", 3, "SpeechChannel", nullptr},
      {"Unpause Requested for Channel: ", 3, "SpeechChannel", nullptr},
      {"Wait Requested for Channel: ", 3, "SpeechChannel", nullptr},
      {"Stop Requested for Channel: ", 3, "SpeechChannel", nullptr},
      {"Finishing Job on Channel: ", 3, "SpeechChannel", nullptr},
      {"Waiting for Job to Finish on Channel: ", 3, "SpeechChannel", nullptr},
      {"Job Finished on Channel: ", 3, "SpeechChannel", nullptr},
      {"Calling speech done callback on Channel ", 3, "SpeechChannel", nullptr},
      {"Calling sync callback number ", 3, "SpeechChannel", nullptr},
      {"Calling word callback on Channel ", 3, "SpeechChannel", nullptr},
      {"Calling phoneme callback on Channel ", 3, "SpeechChannel", nullptr},
  };
  return all;
}

class LineGates : public Lines {
 protected:
  // Calls everything that writes a line, once each.
  std::vector<Diagnostic> everything(unsigned int mask, int level) {
    engine().forgetDiagnostics();
    engine().setDiagnostics(mask, level);
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    VoiceSpec voice{code("BRVD"), 1};
    SEUseVoice(id, &voice, nullptr);
    SEUseDictionary(id, nullptr, 0);
    SETextToPhonemes(id, nullptr, 0, nullptr, nullptr);
    for (const OSType selector : {soRate, soPitchBase, soPitchMod, soVolume}) {
      Fixed value = Long2Fix(1);
      SESetSpeechInfo(id, selector, &value);
      SEGetSpeechInfo(id, selector, &value);
    }
    speak(id, "Hello");  // the voice has no folder, so this fails
    read(id, [](speech_channel& channel) { return channel.voice_changed = 0; });
    speak(id, "Hello");
    statusInfo(id);
    engine().port(engine().ports()).word(0, 1).phoneme("ae", 0).bookmark("1");
    SEPauseSpeechAt(id, kImmediate);
    SEContinueSpeech(id);
    SEStopSpeechAt(id, kImmediate);
    EXPECT_TRUE(own.waitForDone());
    close(id);
    // Finishing threads write lines until they exit.
    EXPECT_TRUE(eventually([&] { return threadCount() <= m_threads; }));
    engine().setDiagnostics(0, 0);
    return engine().diagnostics();
  }

  static std::vector<Diagnostic> gated(const std::vector<Diagnostic>& lines) {
    std::vector<Diagnostic> result;
    // Lines without a gate are written with a single call.
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(result),
                 [](const Diagnostic& line) { return line.calls.size() > 1; });
    return result;
  }

  const int m_threads = threadCount();

  static bool startsWith(const Diagnostic& line, const char* start) {
    return line.text.rfind(start, 0) == 0;
  }
};

TEST_F(LineGates, EveryLineIsWrittenAboveItsLevelAndNotAtIt) {
  for (int level = 0; level <= 5; ++level) {
    SCOPED_TRACE(level);
    const std::vector<Diagnostic> lines = everything(kChannels, level);
    for (const Gate& gate : gates()) {
      const bool written = std::any_of(lines.begin(), lines.end(), [&](const Diagnostic& line) {
        return startsWith(line, gate.start);
      });
      EXPECT_EQ(written, level > gate.above) << gate.start;
    }
  }
}

TEST_F(LineGates, OnlyListedLinesAreWritten) {
  for (const Diagnostic& line : gated(everything(kChannels, kAll))) {
    EXPECT_TRUE(std::any_of(gates().begin(), gates().end(), [&](const Gate& gate) {
      return startsWith(line, gate.start);
    })) << line.text;
  }
}

TEST_F(LineGates, WithoutTheAreasBitNoLineOfItIsWritten) {
  for (const Diagnostic& line : gated(everything(~kChannels, kAll))) {
    EXPECT_EQ(line.area, 0x1000u) << line.text;
  }
  EXPECT_THAT(gated(everything(0, kAll)), IsEmpty());
}

TEST_F(LineGates, OtherBitsOfTheMaskDoNotMatter) {
  EXPECT_EQ(gated(everything(kChannels | 0x2004, kAll)).size(),
            gated(everything(kChannels, kAll)).size());
}

TEST_F(LineGates, EveryLineIsFourCallsInOrderWithFileFunctionAndArea) {
  for (const Diagnostic& line : gated(everything(kChannels, kAll))) {
    SCOPED_TRACE(line.text);
    EXPECT_THAT(line.calls, ElementsAre("timestamp", "ffl", "context", "errmsg"));
    EXPECT_EQ(line.area, kChannels);
    EXPECT_GT(line.line, 0);
    const auto gate = std::find_if(gates().begin(), gates().end(),
                                   [&](const Gate& each) { return startsWith(line, each.start); });
    ASSERT_NE(gate, gates().end());
    EXPECT_EQ(line.file, gate->file);
    if (gate->function) {
      EXPECT_EQ(line.function, gate->function);
    }
    EXPECT_FALSE(line.function.empty());
  }
}

TEST_F(LineGates, EveryLineExceptTheVoiceLineEndsInALineFeed) {
  for (const Diagnostic& line : gated(everything(kChannels, kAll))) {
    if (!startsWith(line, "Use voice ")) {
      EXPECT_EQ(line.text.back(), '\n') << line.text;
    }
  }
}

}  // namespace
}  // namespace channels
