// SPDX-License-Identifier: Apache-2.0
//
// Voices: which folders are voices, the messages about those that are not, and when a voice takes
// effect.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "acoustics/Pitch.h"
#include "acoustics/Sound.h"
#include "cst.h"
#include "speakers/PortSpeaker.h"

using test::Folder;
using test::kProse;
using test::readSamples;
using test::Speaker;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

const std::string kFile = "kavrel.voice";

const std::string kVoice =
    "# A voice\nformat = 1\nname = Test   # for people\nlanguage = en-us\nvariant = f2\n\n"
    "pitch.offset = 37.9\npitch.range = 0.506\npitch.scale = 65.8\npitch.spread = 1.2\n"
    "pitch.lowest = 129\npitch.highest = 323\n";

// The voice with `from` replaced by `to`.
std::string changed(const std::string& from, const std::string& to) {
  std::string voice = kVoice;
  const std::size_t at = voice.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return voice.replace(at, from.size(), to);
}

kavrel_voice_struct* load(const std::string& folder) {
  Speaker speaker({}, KAVREL_EVENT_NONE);
  return kavrel_port_set_voice_from_dir(speaker.port(), folder.c_str());
}

// The one diagnostic line about `folder`, which must fail to load.
std::string refusal(const std::string& folder) {
  const auto before = std::pair(cst_diag_mask, cst_diag_level);
  cst_diag_mask = CST_DIAG_ENGINE;
  cst_diag_level = 1;
  testing::internal::CaptureStderr();
  EXPECT_EQ(load(folder), nullptr);
  const std::string line = testing::internal::GetCapturedStderr();
  std::tie(cst_diag_mask, cst_diag_level) = before;
  EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
  return line;
}

// The results of a job.
struct Heard {
  std::vector<test::Event> events;
  std::vector<std::int16_t> samples;
};

Heard spoken(const std::string& text, const std::string& language) {
  const Folder folder;
  folder.write(kFile, changed("en-us", language));
  Speaker speaker(folder.path("out.aiff"));
  EXPECT_NE(kavrel_port_set_voice_from_dir(speaker.port(), folder.path().c_str()), nullptr);
  std::vector<test::Event> events = speaker.speakAll(text);
  return {std::move(events), readSamples(folder.path("out.aiff"))};
}

// The synthesiser continues its waves from one speech to the next, so no two have the same samples
// or exactly the same number of them. Everything else must be equal.
void expectSame(const Heard& one, const Heard& other) {
  EXPECT_EQ(one.events, other.events);
  const auto length = static_cast<double>(other.samples.size());
  EXPECT_NEAR(static_cast<double>(one.samples.size()), length, 0.03 * length);
  const double loudness = acoustics::level({other.samples});
  EXPECT_NEAR(acoustics::level({one.samples}), loudness, 0.05 * loudness);
  const double pitch = acoustics::medianPitch({other.samples});
  EXPECT_NEAR(acoustics::medianPitch({one.samples}), pitch, 0.03 * pitch);
}

}  // namespace

TEST(VoiceFolder, IsLoadedOnce) {
  const Folder folder;
  folder.write(kFile, kVoice);
  kavrel_voice_struct* const voice = load(folder.path());
  EXPECT_NE(voice, nullptr);
  EXPECT_EQ(load(folder.path()), voice);
}

TEST(VoiceFolder, IsLoadedAgainWhenItsFileHasChanged) {
  const Folder folder;
  folder.write(kFile, kVoice);
  kavrel_voice_struct* const voice = load(folder.path());
  folder.write(kFile, changed("variant = f2", "variant = f3"));
  EXPECT_NE(load(folder.path()), nullptr);
  EXPECT_NE(load(folder.path()), voice);
}

TEST(VoiceFolder, IsLoadedWithoutAVariantAndWithCarriageReturns) {
  const Folder folder;
  folder.write(kFile, changed("variant = f2\n\n", "\r\n"));
  EXPECT_NE(load(folder.path()), nullptr);
}

TEST(VoiceFolder, IsRejectedWithTheInvalidLineOrKey) {
  const std::vector<std::pair<std::string, std::string>> wrong = {
      {"", "missing key format"},
      {changed("format = 1", "format = 2"), "line 2: format is out of range"},
      {changed("format = 1\n", ""), "missing key format"},
      {changed("language = en-us\n", ""), "missing key language"},
      {changed("pitch.scale = 65.8\n", ""), "missing key pitch.scale"},
      {changed("pitch.highest = 323\n", ""), "missing key pitch.highest"},
      {changed("Test   # for people", ""), "name is empty"},
      {changed("Test", std::string(64, 'a')), "line 3: name is not a line of text"},
      {changed("Test", "a\x01"), "line 3: name is not a line of text"},
      {changed("en-us", ""), "language or variant is invalid"},
      {changed("en-us", "../en-us"), "language or variant is invalid"},
      {changed("en-us", "xx-nowhere"), "the synthesiser does not know the language"},
      {changed("f2", "nobody"), "the synthesiser does not know the variant"},
      {changed("65.8", "0"), "line 9: pitch.scale is out of range"},
      {changed("65.8", "1e300"), "line 9: pitch.scale is out of range"},
      {changed("65.8", "-65.8"), "line 9: pitch.scale is out of range"},
      {changed("37.9", "high"), "line 7: pitch.offset is not a number"},
      {changed("37.9", "37.9 Hz"), "line 7: pitch.offset is not a number"},
      {changed("0.506", "inf"), "line 8: pitch.range is not a number"},
      {changed("1.2", "0"), "line 10: pitch.spread is out of range"},
      {changed("323", "900"), "pitch.lowest or pitch.highest does not match the other constants"},
      {changed("129", "30"), "pitch.lowest or pitch.highest does not match the other constants"},
      {kVoice + "nonsense\n", "line 13: missing \"=\""},
      {kVoice + "unheard.of = 1\n", "line 13: unknown key \"unheard.of\""},
      {kVoice + "variant = m3\n", "line 13: duplicate key variant"},
      {kVoice + "level = loud\n", "line 13: level is not a number"},
      {kVoice + "level = 0\n", "line 13: level is out of range"},
      {kVoice + "level = 2.1\n", "line 13: level is out of range"},
      {kVoice + "scripts =\n", "scripts is not a list of codes such as Latn"},
      {kVoice + "scripts = Latn cyrl\n", "scripts is not a list of codes such as Latn"},
      {kVoice + "scripts = Cyrillic\n", "scripts is not a list of codes such as Latn"},
      {kVoice + "voice.cyrl = ../A/kavrel.voice\n", "line 13: unknown key \"voice.cyrl\""},
      {kVoice + "voice. = ../A/kavrel.voice\n", "line 13: unknown key \"voice.\""},
      {kVoice + "voice.Grek = a/kavrel.voice\nvoice.Grek = b/kavrel.voice\n",
       "line 14: duplicate key voice.Grek"},
      {std::string("\x7f"
                   "ELF\x02\x01\0\0= \xFF",
                   12),
       "line 1: unknown key \"?ELF????\""},
      {std::string(100'000, '#'), "is too large for a voice"},
  };
  const Folder folder;
  for (const auto& [content, complaint] : wrong) {
    folder.write(kFile, content);
    EXPECT_THAT(refusal(folder.path()), HasSubstr(folder.path(kFile) + ": " + complaint));
  }
}

TEST(VoiceFolder, IsRejectedWhereverItsFileIsTruncated) {
  const Folder folder;
  // Only the last line end may be missing.
  for (std::size_t length = 0; length + 1 < kVoice.size(); ++length) {
    folder.write(kFile, kVoice.substr(0, length));
    EXPECT_EQ(load(folder.path()), nullptr) << length;
  }
  folder.write(kFile, kVoice.substr(0, kVoice.size() - 1));
  EXPECT_NE(load(folder.path()), nullptr);
}

TEST(VoiceFolder, IsRejectedWhenItIsNotAVoice) {
  const Folder folder;
  folder.write("file", kVoice);
  EXPECT_THAT(refusal(""), HasSubstr("the folder name is empty"));
  EXPECT_THAT(refusal(folder.path()), HasSubstr("kavrel.voice: No such file or directory"));
  EXPECT_THAT(refusal(folder.path("none")), HasSubstr("No such file or directory"));
  EXPECT_THAT(refusal(folder.path("file")), HasSubstr("Not a directory"));
  EXPECT_THAT(refusal(std::string(5000, 'a')), HasSubstr("File name too long"));
  EXPECT_THAT(refusal(folder.path("two\nlines")), HasSubstr("two?lines/kavrel.voice"));
}

// The engine must neither wait for these nor read from them.
TEST(VoiceFolder, IsRejectedWhenItsFileIsNotARegularFile) {
  const Folder folder;
  const std::string file = folder.path(kFile);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_THAT(refusal(folder.path()), HasSubstr("kavrel.voice: is not a regular file"));
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_THAT(refusal(folder.path()), HasSubstr("kavrel.voice: is not a regular file"));
  fs::remove(file);
  fs::create_symlink("/dev/zero", file);
  EXPECT_THAT(refusal(folder.path()), HasSubstr("kavrel.voice: is not a regular file"));
}

TEST(VoiceFolder, IsRejectedWhenItsFileCannotBeRead) {
  const Folder folder;
  const std::string file = folder.path(kFile);
  fs::create_symlink(file, file);
  EXPECT_THAT(refusal(folder.path()), HasSubstr("Too many levels of symbolic links"));
  fs::remove(file);
  // It can be opened, but nothing can be read at its beginning.
  fs::create_symlink("/proc/self/mem", file);
  EXPECT_THAT(refusal(folder.path()), HasSubstr("kavrel.voice: Input/output error"));
}

TEST(VoiceFolder, IsRejectedWhenItsFileIsHuge) {
  const Folder folder;
  folder.write(kFile, kVoice);
  fs::resize_file(folder.path(kFile), std::uintmax_t{1} << 40U);
  EXPECT_THAT(refusal(folder.path()), HasSubstr("is too large for a voice"));
}

TEST(VoiceFolder, ThatIsInvalidLeavesTheVoiceUnchanged) {
  const Folder folder;
  folder.write(kFile, changed("en-us", "de"));
  Speaker speaker(folder.path("out.aiff"));
  ASSERT_NE(kavrel_port_set_voice_from_dir(speaker.port(), folder.path().c_str()), nullptr);
  EXPECT_EQ(kavrel_port_set_voice_from_dir(speaker.port(), folder.path("no").c_str()), nullptr);
  const auto events = speaker.speakAll(kProse);
  expectSame({events, readSamples(folder.path("out.aiff"))}, spoken(kProse, "de"));
}

// ---- Loudness

TEST(VoiceLevel, IsAFactorOfTheSamples) {
  const auto loudness = [](const std::string& lines, const std::string& text) {
    const Folder folder;
    folder.write(kFile, kVoice + lines);
    Speaker speaker(folder.path("out.aiff"));
    EXPECT_NE(kavrel_port_set_voice_from_dir(speaker.port(), folder.path().c_str()), nullptr);
    speaker.speakAll(text);
    const std::vector<std::int16_t> samples = readSamples(folder.path("out.aiff"));
    return acoustics::level({samples});
  };
  const std::string half = "<prosody volume=\"50%\">" + std::string(kProse) + "</prosody>";
  const double full = loudness("", kProse);
  EXPECT_NEAR(loudness("level = 1\n", kProse), full, 0.05 * full);
  EXPECT_NEAR(loudness("level = 0.4\n", kProse), 0.4 * full, 0.02 * full);
  EXPECT_NEAR(loudness("level = 0.4\n", half), 0.2 * full, 0.01 * full);
}

// ---- When a voice takes effect

TEST(PortVoice, TakesEffectWithTheNextJob) {
  const Folder folder;
  folder.write(kFile, changed("en-us", "fi"));
  Speaker speaker(folder.path("out.aiff"));
  // In the middle of the first job.
  speaker.onEvent = [&](const test::Event& event) {
    if (event.text != "harbour") return;
    EXPECT_NE(kavrel_port_set_voice_from_dir(speaker.port(), folder.path().c_str()), nullptr);
  };
  const auto before = speaker.speakAll(kProse);
  const Heard first = {before, readSamples(folder.path("out.aiff"))};
  auto events = speaker.speakAll(kProse);
  events.erase(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(before.size()));

  Speaker plain(folder.path("plain.aiff"));
  const auto expected = plain.speakAll(kProse);
  expectSame(first, {expected, readSamples(folder.path("plain.aiff"))});
  expectSame({events, readSamples(folder.path("out.aiff"))}, spoken(kProse, "fi"));
}

// The synthesiser treats some words as English, and marks that among the phones.
TEST(PortVoice, NamesThePhonesOfEnglishWordsAsEnglish) {
  const Heard heard = spoken("Tanto jazz nella casa.", "it");
  std::map<int, std::string> phones;
  for (const test::Event& event : test::ofType(heard.events, KAVREL_EVENT_PHONEME)) {
    phones[event.start] += ' ' + event.text;
  }
  EXPECT_EQ(phones[0], " t aa n t ao");
  EXPECT_EQ(phones[6], " jh ae z");
  EXPECT_EQ(phones[11], " n eh l l aa");
}

TEST(PortVoice, SoundsTheSameWhileOtherPortsSpeakOtherLanguages) {
  const std::vector<std::string> languages = {"en-us", "de", "fr", "fi"};
  std::string text;
  for (int i = 0; i < 4; ++i) text += kProse + std::string(" ");
  std::vector<Heard> alone;
  for (const std::string& language : languages) alone.push_back(spoken(text, language));
  std::vector<Heard> together(languages.size());
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < languages.size(); ++i) {
      threads.emplace_back([&, i] { together[i] = spoken(text, languages[i]); });
    }
  }
  for (std::size_t i = 0; i < languages.size(); ++i) {
    SCOPED_TRACE(languages[i]);
    expectSame(together[i], alone[i]);
    if (i > 0) {
      EXPECT_NE(alone[i].events, alone[0].events);
    }
  }
}
