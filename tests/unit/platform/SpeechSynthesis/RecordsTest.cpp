// SPDX-License-Identifier: Apache-2.0
//
// The layout of records in memory, which compiled clients and synthesizers rely on.
#include <ApplicationServices/ApplicationServices.h>

#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

// The ranges of non-zero bytes in a record, as "offset+length offset+length".
template <typename Record>
std::string nonZeroRuns(const Record& record) {
  std::string runs;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&record);
  for (std::size_t at = 0; at < sizeof record;) {
    std::size_t end = at;
    while (end < sizeof record && bytes[end] != 0) ++end;
    if (end > at) {
      if (!runs.empty()) runs += ' ';
      runs += std::to_string(at) + '+' + std::to_string(end - at);
    }
    at = end + 1;
  }
  return runs;
}

TEST(Records, VoiceDescriptionHasItsFieldsAtThePublishedOffsets) {
  VoiceDescription description{};
  ASSERT_EQ(sizeof description, 362U);
  description.version = -1;
  description.comment[0] = 1;
  description.age = -1;
  description.reserved[0] = -1;
  EXPECT_EQ(nonZeroRuns(description), "12+4 80+1 338+2 346+4");
}

TEST(Records, StatusHas32BitsForTheBytesLeft) {
  SpeechStatusInfo status{};
  ASSERT_EQ(sizeof status, 8U);
  status.outputPaused = 1;
  status.phonemeCode = -1;
  EXPECT_EQ(nonZeroRuns(status), "1+1 6+2");
}

TEST(Records, FilesOfVoicesHaveThePublishedLayout) {
  VoiceFileInfo info{};
  ASSERT_EQ(sizeof info, 72U);
  info.fileSpec.vRefNum = -1;
  info.fileSpec.name[0] = 1;
  info.resID = -1;
  EXPECT_EQ(nonZeroRuns(info), "0+2 6+1 70+2");
}

TEST(Records, ErrorsAndVersionsHaveThePublishedLayout) {
  SpeechErrorInfo errors{};
  ASSERT_EQ(sizeof errors, 14U);
  errors.oldPos = -1;
  errors.newPos = -1;
  EXPECT_EQ(nonZeroRuns(errors), "4+4 10+4");

  SpeechVersionInfo version{};
  ASSERT_EQ(sizeof version, 20U);
  version.synthVersion = {4, 0x04, finalStage, 0};
  EXPECT_EQ(nonZeroRuns(version), "16+3");
}

TEST(Records, SelectorsAreTheirFourCharacters) {
  const auto characters = [](OSType code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift);
    return text;
  };
  const struct {
    OSType code;
    const char* characters;
  } table[] = {{soStatus, "stat"},
               {soErrors, "erro"},
               {soInputMode, "inpt"},
               {soCharacterMode, "char"},
               {soNumberMode, "nmbr"},
               {soRate, "rate"},
               {soPitchBase, "pbas"},
               {soPitchMod, "pmod"},
               {soVolume, "volm"},
               {soSynthType, "vers"},
               {soRecentSync, "sync"},
               {soPhonemeSymbols, "phsy"},
               {soCurrentVoice, "cvox"},
               {soCommandDelimiter, "dlim"},
               {soReset, "rset"},
               {soRefCon, "refc"},
               {soTextDoneCallBack, "tdcb"},
               {soSpeechDoneCallBack, "sdcb"},
               {soSyncCallBack, "sycb"},
               {soErrorCallBack, "ercb"},
               {soPhonemeCallBack, "phcb"},
               {soWordCallBack, "wdcb"},
               {soSynthExtension, "xtnd"},
               {soOutputToFileWithCFURL, "opaf"},
               {modeText, "TEXT"},
               {modePhonemes, "PHON"},
               {modeTune, "TUNE"},
               {modeNormal, "NORM"},
               {modeLiteral, "LTRL"},
               {soCurrentA5, "myA5"},
               {soSoundOutput, "sndo"},
               {soOutputToExtAudioFile, "opax"},
               {soOutputToAudioDevice, "opad"},
               {soPhonemeOptions, "popt"},
               {soVoiceFile, "fref"},
               {gestaltSpeechAttr, "ttsc"}};
  for (const auto& row : table) EXPECT_EQ(characters(row.code), row.characters);
}

}  // namespace
