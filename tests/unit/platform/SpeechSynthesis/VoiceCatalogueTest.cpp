// SPDX-License-Identifier: Apache-2.0
//
// Voice bundles: what is required, which errors are reported, and the order in which they are
// found.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "SpeechSynthesis/bundles/SearchPaths.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

namespace {

namespace fs = std::filesystem;
using platform::Voice;
using platform::VoiceCatalogue;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr OSType kCreator = 0x4B56524C;

// A property list's dictionary: key to the XML of the value.
using Dictionary = std::map<std::string, std::string>;

Dictionary goodVoice(int identifier) {
  return {{"VoiceCreator", "<string>KVRL</string>"},
          {"VoiceID", "<integer>" + std::to_string(identifier) + "</integer>"},
          {"VoiceName", "<string>Test</string>"},
          {"VoiceGender", "<string>female</string>"},
          {"VoiceLocaleIdentifier", "<string>en_GB</string>"},
          {"VoiceAge", "<integer>41</integer>"},
          {"VoiceVersion", "<integer>7</integer>"},
          {"VoiceDemoText", "<string>Caf\xC3\xA9 &amp; cr\xC3\xA8me.</string>"}};
}

class Bundles : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "voicesXXXXXX").native();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    m_folder = pattern;
  }
  void TearDown() override { fs::remove_all(m_folder); }

  void write(const std::string& file, const std::string& content) {
    const fs::path path = m_folder / file;
    fs::create_directories(path.parent_path());
    std::ofstream(path) << content;
  }

  void writeVoice(const std::string& bundle, const Dictionary& dictionary,
                  const std::string& file = "Info.plist") {
    std::string list =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n";
    for (const auto& [key, value] : dictionary) list += "<key>" + key + "</key>" + value + "\n";
    write(bundle + "/" + file, list + "</dict></plist>\n");
  }

  // The message when the only bundle, Broken.SpeechVoice, is skipped.
  std::string reasonFor(const Dictionary& dictionary) {
    writeVoice("Broken.SpeechVoice", dictionary);
    testing::internal::CaptureStderr();
    const VoiceCatalogue catalogue({m_folder});
    EXPECT_THAT(catalogue.voices(), IsEmpty());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_THAT(said, HasSubstr((m_folder / "Broken.SpeechVoice").native()));
    return said;
  }

  fs::path m_folder;
};

std::string pascalText(const unsigned char* string) {
  return {reinterpret_cast<const char*>(string) + 1, string[0]};
}

TEST_F(Bundles, HaveADescriptionInMacOSRoman) {
  writeVoice("Test.SpeechVoice", goodVoice(9));
  const VoiceCatalogue catalogue({m_folder});
  ASSERT_EQ(catalogue.voices().size(), 1U);
  const Voice& voice = catalogue.voices().front();
  EXPECT_EQ(OSType{voice.spec.creator}, kCreator);
  EXPECT_EQ(OSType{voice.spec.id}, 9U);
  EXPECT_EQ(voice.locale, "en_GB");
  EXPECT_EQ(voice.bundle, m_folder / "Test.SpeechVoice");
  EXPECT_EQ(OSType{voice.description.voice.id}, 9U);
  EXPECT_EQ(SInt32{voice.description.version}, 7);
  EXPECT_EQ(voice.description.age, 41);
  EXPECT_EQ(voice.description.gender, kFemale);
  EXPECT_EQ(voice.description.language, langEnglish);
  EXPECT_EQ(voice.description.region, verBritain);
  EXPECT_EQ(pascalText(voice.description.name), "Test");
  EXPECT_EQ(pascalText(voice.description.comment), "Caf\x8E & cr\x8Fme.");
}

TEST_F(Bundles, HaveTheCodesOfTheirLocale) {
  Dictionary dictionary = goodVoice(9);
  dictionary["VoiceLocaleIdentifier"] = "<string>sr_Latn_RS</string>";
  writeVoice("Test.SpeechVoice", dictionary);
  const VoiceCatalogue catalogue({m_folder});
  ASSERT_EQ(catalogue.voices().size(), 1U);
  const VoiceDescription& description = catalogue.voices().front().description;
  EXPECT_EQ(description.script, smRoman);
  EXPECT_EQ(description.language, langSerbian);
  EXPECT_EQ(description.region, -1);
}

TEST_F(Bundles, HaveADemoTextInUtf8IfMacOSRomanLacksACharacter) {
  Dictionary dictionary = goodVoice(9);
  dictionary["VoiceDemoText"] = "<string>Caf\xC3\xA9 \xD0\xB6.</string>";
  writeVoice("Test.SpeechVoice", dictionary);
  const VoiceCatalogue catalogue({m_folder});
  ASSERT_EQ(catalogue.voices().size(), 1U);
  EXPECT_EQ(pascalText(catalogue.voices().front().description.comment), "Caf\xC3\xA9 \xD0\xB6.");
}

// 127 letters of two bytes and one byte fit, not half of another letter.
TEST_F(Bundles, HaveADemoTextThatIsCutAfterACharacter) {
  std::string text;
  for (int i = 0; i < 200; ++i) text += "\xD0\xB6";
  Dictionary dictionary = goodVoice(9);
  dictionary["VoiceDemoText"] = "<string>" + text + "</string>";
  writeVoice("Test.SpeechVoice", dictionary);
  const VoiceCatalogue catalogue({m_folder});
  ASSERT_EQ(catalogue.voices().size(), 1U);
  const VoiceDescription& description = catalogue.voices().front().description;
  EXPECT_EQ(pascalText(description.comment), text.substr(0, 254));
  EXPECT_EQ(description.comment[255], 0);
}

// So that a client that speaks at once does not wait for all of them.
TEST_F(Bundles, AreReadUpToTheOneThatIsNeeded) {
  Dictionary american = goodVoice(2);
  american["VoiceGender"] = "<string>male</string>";
  american["VoiceLocaleIdentifier"] = "<string>en_US</string>";
  writeVoice("A.SpeechVoice", goodVoice(1));
  writeVoice("B.SpeechVoice", american);
  writeVoice("C.SpeechVoice", goodVoice(3));
  write("D.SpeechVoice/Info.plist", "malformed");
  const VoiceCatalogue catalogue({m_folder});
  testing::internal::CaptureStderr();
  EXPECT_EQ(catalogue.defaultVoice()->spec.id, 2U);
  EXPECT_EQ(catalogue.find({kCreator, 1})->spec.id, 1U);
  // This would be malformed if it were read only now.
  write("A.SpeechVoice/Info.plist", "malformed");
  EXPECT_EQ(catalogue.find({kCreator, 3})->spec.id, 3U);
  EXPECT_EQ(catalogue.defaultVoice(), &catalogue.voices()[1]);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Voice " + (m_folder / "D.SpeechVoice").native() +
                " is skipped: Info.plist cannot be read: No document element found at byte 9.\n");
}

TEST_F(Bundles, MayKeepTheListUnderContents) {
  writeVoice("Test.SpeechVoice", goodVoice(9), "Contents/Info.plist");
  EXPECT_EQ(VoiceCatalogue({m_folder}).voices().size(), 1U);
}

TEST_F(Bundles, NeedOnlyWhatIsRequired) {
  Dictionary dictionary = goodVoice(9);
  for (const char* const key : {"VoiceAge", "VoiceVersion", "VoiceDemoText"}) dictionary.erase(key);
  writeVoice("Test.SpeechVoice", dictionary);
  EXPECT_EQ(VoiceCatalogue({m_folder}).voices().size(), 1U);
}

TEST_F(Bundles, AreSkippedWithTheNameOfAMissingKey) {
  for (const char* const key :
       {"VoiceCreator", "VoiceID", "VoiceName", "VoiceGender", "VoiceLocaleIdentifier"}) {
    Dictionary dictionary = goodVoice(9);
    dictionary.erase(key);
    EXPECT_THAT(reasonFor(dictionary), HasSubstr(std::string(key) + " is missing"));
  }
}

TEST_F(Bundles, AreSkippedWithTheNameOfAnInvalidKey) {
  const struct {
    const char* key;
    std::string value;
    const char* reason;
  } table[] = {
      {"VoiceCreator", "<string>KVR</string>", "VoiceCreator is not four ASCII characters"},
      {"VoiceCreator", "<integer>4</integer>", "VoiceCreator is not a string"},
      {"VoiceID", "<string>12</string>", "VoiceID is not an integer"},
      {"VoiceID", "<integer>12x</integer>", "VoiceID is not an integer"},
      {"VoiceID", "<integer>-1</integer>", "VoiceID is out of range"},
      {"VoiceID", "<integer>4294967296</integer>", "VoiceID is out of range"},
      {"VoiceID", "<integer>99999999999999999999</integer>", "VoiceID is out of range"},
      {"VoiceAge", "<integer>40000</integer>", "VoiceAge is out of range"},
      {"VoiceName", "<string></string>", "VoiceName is empty"},
      {"VoiceName", "<string>" + std::string(64, 'n') + "</string>", "VoiceName is longer than 63"},
      {"VoiceName", "<string>\xE4\xB8\x80</string>", "VoiceName is longer than 63"},
      {"VoiceDemoText", "<string>" + std::string(256, 'n') + "</string>",
       "VoiceDemoText is longer than 255"},
      {"VoiceDemoText", "<string>\xD0\xB6\xFF</string>", "VoiceDemoText is longer than 255"},
      {"VoiceDemoText", "<string>\xD0\xB6" + std::string(255, 'n') + "</string>",
       "VoiceDemoText is longer than 255"},
      {"VoiceGender", "<string>robot</string>", "VoiceGender is not male, female or neuter"},
      {"VoiceLocaleIdentifier", "<string>english</string>", "VoiceLocaleIdentifier is not"}};
  for (const auto& row : table) {
    Dictionary dictionary = goodVoice(9);
    dictionary[row.key] = row.value;
    EXPECT_THAT(reasonFor(dictionary), HasSubstr(row.reason));
  }
}

TEST_F(Bundles, AreSkippedWhenTheListIsMalformed) {
  write("Cut.SpeechVoice/Info.plist", "<plist><dict><key>VoiceID");
  write("Empty.SpeechVoice/Info.plist", "");
  write("Other.SpeechVoice/Info.plist", "<plist><array/></plist>");
  write("Without.SpeechVoice/readme", "");
  write("File.SpeechVoice", "not a folder");
  writeVoice("Good.SpeechVoice", goodVoice(9));
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({m_folder});
  EXPECT_EQ(catalogue.voices().size(), 1U);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 5) << said;
  EXPECT_THAT(said, HasSubstr("Cut.SpeechVoice is skipped: Info.plist cannot be read"));
  EXPECT_THAT(said, HasSubstr("Empty.SpeechVoice is skipped: Info.plist cannot be read"));
  EXPECT_THAT(said, HasSubstr("Other.SpeechVoice is skipped: Info.plist has no dictionary"));
  EXPECT_THAT(said, HasSubstr("Without.SpeechVoice is skipped: it has no Info.plist"));
  EXPECT_THAT(said, HasSubstr("File.SpeechVoice is skipped: it is not a folder"));
}

TEST_F(Bundles, AreSkippedWhenTheListIsLongerThan64KiB) {
  const auto writeWith = [this](const std::string& bundle, std::size_t size) {
    writeVoice(bundle, goodVoice(static_cast<int>(size)));
    std::ofstream(m_folder / bundle / "Info.plist", std::ios::app)
        << std::string(size - fs::file_size(m_folder / bundle / "Info.plist"), ' ');
  };
  writeWith("Long.SpeechVoice", 65536);
  writeWith("Longer.SpeechVoice", 65537);
  // Other files of a bundle may have any size.
  std::ofstream(m_folder / "Long.SpeechVoice/other") << std::string(100'000, ' ');
  fs::create_directory(m_folder / "Pipe.SpeechVoice");
  ASSERT_EQ(::mkfifo((m_folder / "Pipe.SpeechVoice/Info.plist").c_str(), 0644), 0);
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({m_folder});
  ASSERT_EQ(catalogue.voices().size(), 1U);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Voice " + (m_folder / "Longer.SpeechVoice").native() +
                " is skipped: Info.plist is longer than 65536 bytes.\nVoice " +
                (m_folder / "Pipe.SpeechVoice").native() + " is skipped: it has no Info.plist.\n");
  EXPECT_EQ(catalogue.voices().front().bundle, m_folder / "Long.SpeechVoice");
}

// Elements in elements, as many as fit.
TEST_F(Bundles, MayNestElementsDeeply) {
  std::string nested;
  for (int depth = 0; depth < 20'000; ++depth) nested += "<a>";
  write("Deep.SpeechVoice/Info.plist", "<plist><dict>" + nested);
  writeVoice("Good.SpeechVoice", goodVoice(9));
  testing::internal::CaptureStderr();
  EXPECT_EQ(VoiceCatalogue({m_folder}).voices().size(), 1U);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Deep.SpeechVoice is skipped: "));
}

TEST_F(Bundles, AreSkippedWhenOthersCanChangeThem) {
  writeVoice("File.SpeechVoice", goodVoice(1));
  writeVoice("Folder.SpeechVoice", goodVoice(2));
  writeVoice("Good.SpeechVoice", goodVoice(3));
  // The folder that a link leads to is not a part of the bundle.
  writeVoice("elsewhere", goodVoice(4));
  fs::create_directory(m_folder / "Linked.SpeechVoice");
  fs::create_directory_symlink("../elsewhere", m_folder / "Linked.SpeechVoice/Contents");
  for (const char* const open :
       {"File.SpeechVoice/Info.plist", "Folder.SpeechVoice", "elsewhere/Info.plist"}) {
    fs::permissions(m_folder / open, fs::perms::others_write, fs::perm_options::add);
  }
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({m_folder}, platform::TrustedPaths("/"));
  ASSERT_EQ(catalogue.voices().size(), 1U);
  const std::string in = m_folder.native();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Voice " + in + "/File.SpeechVoice is skipped: everybody can write to " + in +
                "/File.SpeechVoice/Info.plist.\n" + "Voice " + in +
                "/Folder.SpeechVoice is skipped: everybody can write to " + in +
                "/Folder.SpeechVoice.\n" + "Voice " + in +
                "/Linked.SpeechVoice is skipped: everybody can write to " + in +
                "/elsewhere/Info.plist.\n");
  EXPECT_EQ(catalogue.voices().front().bundle, m_folder / "Good.SpeechVoice");
}

// One line for all of them; none for a folder without voices.
TEST_F(Bundles, AreSkippedTogetherWhenOthersCanChangeTheirFolder) {
  writeVoice("open/A.SpeechVoice", goodVoice(1));
  writeVoice("open/B.SpeechVoice", goodVoice(2));
  writeVoice("safe/C.SpeechVoice", goodVoice(3));
  fs::create_directory(m_folder / "empty");
  for (const char* const open : {"open", "empty"}) {
    fs::permissions(m_folder / open, fs::perms(01777));
  }
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({m_folder / "open", m_folder / "empty", m_folder / "safe"},
                                 platform::TrustedPaths("/"));
  const std::string open = (m_folder / "open").native();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "The voices in " + open + " are skipped: everybody can write to " + open + ".\n");
  EXPECT_EQ(catalogue.voices().size(), 1U);
}

TEST_F(Bundles, WithOtherNamesAreIgnored) {
  writeVoice("Test.voice", goodVoice(9));
  testing::internal::CaptureStderr();
  EXPECT_THAT(VoiceCatalogue({m_folder, m_folder / "nowhere"}).voices(), IsEmpty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Bundles, AreOrderedByFolderAndName) {
  writeVoice("late/A.SpeechVoice", goodVoice(1));
  writeVoice("early/Y.SpeechVoice", goodVoice(2));
  writeVoice("early/X.SpeechVoice", goodVoice(3));
  const VoiceCatalogue catalogue({m_folder / "early", m_folder / "late"});
  std::vector<OSType> order;
  for (const Voice& voice : catalogue.voices()) order.push_back(voice.spec.id);
  EXPECT_EQ(order, (std::vector<OSType>{3, 2, 1}));
  EXPECT_EQ(catalogue.find({kCreator, 1}), &catalogue.voices()[2]);
  EXPECT_EQ(catalogue.find({kCreator, 4}), nullptr);
  EXPECT_EQ(catalogue.find({kCreator + 1, 1}), nullptr);
}

TEST_F(Bundles, ReplaceThoseOfLaterFoldersSilently) {
  writeVoice("early/Mine.SpeechVoice", goodVoice(1));
  writeVoice("late/Theirs.SpeechVoice", goodVoice(1));
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({m_folder / "early", m_folder / "late"});
  ASSERT_EQ(catalogue.voices().size(), 1U);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(catalogue.voices().front().bundle, m_folder / "early/Mine.SpeechVoice");
}

TEST_F(Bundles, AreReportedWhenTwoInOneFolderHaveOneIdentifier) {
  writeVoice("A.SpeechVoice", goodVoice(1));
  writeVoice("B.SpeechVoice", goodVoice(1));
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({m_folder});
  EXPECT_EQ(catalogue.voices().size(), 1U);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("B.SpeechVoice is skipped: its VoiceCreator and VoiceID are those of " +
                        (m_folder / "A.SpeechVoice").native()));
}

TEST_F(Bundles, DefaultToTheFirstAmericanManElseTheFirstEnglishVoice) {
  EXPECT_EQ(VoiceCatalogue({m_folder}).defaultVoice(), nullptr);

  writeVoice("A.SpeechVoice", goodVoice(1));
  EXPECT_EQ(VoiceCatalogue({m_folder}).defaultVoice()->spec.id, 1U);

  Dictionary german = goodVoice(2);
  german["VoiceGender"] = "<string>male</string>";
  german["VoiceLocaleIdentifier"] = "<string>de_DE</string>";
  writeVoice("B.SpeechVoice", german);
  Dictionary english = goodVoice(3);
  english["VoiceGender"] = "<string>male</string>";
  writeVoice("C.SpeechVoice", english);
  EXPECT_EQ(VoiceCatalogue({m_folder}).defaultVoice()->spec.id, 3U);

  Dictionary american = english;
  american["VoiceID"] = "<integer>4</integer>";
  american["VoiceLocaleIdentifier"] = "<string>en_US</string>";
  writeVoice("D.SpeechVoice", american);
  EXPECT_EQ(VoiceCatalogue({m_folder}).defaultVoice()->spec.id, 4U);
}

TEST(VoiceCatalogue, ReadsTheVoicesOfTheProject) {
  testing::internal::CaptureStderr();
  const VoiceCatalogue catalogue({VOICES_DIR});
  EXPECT_FALSE(catalogue.voices().empty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  for (const Voice& voice : catalogue.voices()) {
    EXPECT_EQ(voice.bundle.stem(), pascalText(voice.description.name));
    EXPECT_TRUE(fs::exists(voice.bundle / "kavrel.voice"));
  }
  EXPECT_EQ(pascalText(catalogue.defaultVoice()->description.name), "Corin");
}

TEST(SearchPaths, ListTheFoldersOfAVariableInOrder) {
  ASSERT_EQ(setenv("SEARCH_PATHS_TEST", ":/first::/second dir:", 1), 0);
  EXPECT_EQ(platform::foldersInVariable("SEARCH_PATHS_TEST"),
            (std::vector<fs::path>{"/first", "/second dir"}));
  ASSERT_EQ(unsetenv("SEARCH_PATHS_TEST"), 0);
  EXPECT_THAT(platform::foldersInVariable("SEARCH_PATHS_TEST"), IsEmpty());
}

}  // namespace
