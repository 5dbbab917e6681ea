// SPDX-License-Identifier: Apache-2.0
//
// The diagnostic lines of the markup model and the converter: text, level, and the fixed line
// numbers.

#include <cstdio>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AppleMarkupConverter.h"
#include "OffsetMap.h"
#include "ScriptedEngine.h"

namespace {

using scripted::Diagnostic;
using scripted::engine;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned int kMarkup = 0x1000;

class MarkupLines : public testing::Test {
 protected:
  MarkupLines() { EXPECT_TRUE(engine().reset()); }
  ~MarkupLines() override { engine().setDiagnostics(0, 0); }

  // The lines that `action` writes.
  template <typename Action>
  static std::vector<Diagnostic> linesOf(unsigned int mask, int level, Action action) {
    engine().forgetDiagnostics();
    engine().setDiagnostics(mask, level);
    action();
    engine().setDiagnostics(0, 0);
    return engine().diagnostics();
  }

  // What `action` writes to standard output.
  template <typename Action>
  static std::string outputOf(unsigned int mask, int level, Action action) {
    testing::internal::CaptureStdout();
    linesOf(mask, level, action);
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }

  static void expectLine(const Diagnostic& line, const char* function, int number,
                         const std::string& text) {
    EXPECT_THAT(line.calls, ElementsAre("timestamp", "ffl", "context", "errmsg"));
    EXPECT_EQ(line.file, "AppleMarkupConverter");
    EXPECT_EQ(line.function, function);
    EXPECT_EQ(line.line, number);
    EXPECT_EQ(line.area, kMarkup);
    EXPECT_EQ(line.text, text);
  }
};

// ---- The converted text

TEST_F(MarkupLines, OfTheConvertedTextAreWrittenAboveLevelOne) {
  for (const int level : {0, 1, 2}) {
    const auto lines = linesOf(kMarkup, level, [] {
      AppleMarkupConverter("a[[slnc 5]]b", AppleMarkupConverter::SSML).getConvertedText();
    });
    ASSERT_EQ(lines.size(), level > 1 ? 1u : 0u) << level;
    if (level > 1) {
      expectLine(lines[0], "getConvertedText", 88, "converted to\na<break time='5ms'/>b\n");
    }
  }
}

TEST_F(MarkupLines, OfTheConvertedTextAreWrittenByEveryQuery) {
  AppleMarkupConverter converter("ab", AppleMarkupConverter::PLAINTEXT);
  const auto query = [&] { const std::unique_ptr<OffsetMap> offsets(converter.getOffsets()); };
  EXPECT_EQ(linesOf(kMarkup, 2, [&] { converter.getConvertedText(); }).size(), 1u);
  EXPECT_EQ(linesOf(kMarkup, 2, [&] { converter.getConvertedText(); }).size(), 1u);
  EXPECT_EQ(linesOf(kMarkup, 2, query).size(), 1u);
}

// ---- Rates

TEST_F(MarkupLines, OfRatesAreWrittenAboveLevelTwo) {
  for (const int level : {1, 2, 3}) {
    const auto lines =
        linesOf(kMarkup, level, [] { AppleMarkupConverter::convertRateUnits(212.5); });
    ASSERT_EQ(lines.size(), level > 2 ? 1u : 0u) << level;
    if (level > 2) expectLine(lines[0], "convertRateUnits", 596, "rate 212.500000\n");
  }
}

TEST_F(MarkupLines, OfRatesAreWrittenOncePerCommandAndConversion) {
  AppleMarkupConverter converter("[[rate 200]]a[[rate +20]]b", AppleMarkupConverter::SSML);
  const auto lines = linesOf(kMarkup, 3, [&] {
    converter.getConvertedText();
    converter.getConvertedText();
    const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
    converter.getPositions();
  });
  std::vector<std::string> rates;
  for (const Diagnostic& line : lines) {
    if (line.function == "convertRateUnits") rates.push_back(line.text);
  }
  EXPECT_THAT(rates, ElementsAre("rate 200.000000\n", "rate 220.000000\n"));
}

TEST_F(MarkupLines, OfOtherProsodyAreNotWritten) {
  EXPECT_THAT(linesOf(kMarkup, 9,
                      [] {
                        AppleMarkupConverter::convertVolumeUnits(1);
                        AppleMarkupConverter::midiToHz(60);
                      }),
              IsEmpty());
}

// ---- Records of the offset map

TEST_F(MarkupLines, OfRecordsAreWrittenAboveLevelFive) {
  for (const int level : {4, 5, 6}) {
    const std::string output = outputOf(kMarkup, level, [] {
      OffsetMap map;
      map.insert(3, 12, OffsetMap::APPLE_TOKEN, true);
      map.insert(7, -5, OffsetMap::SSML_TOKEN, false);
      map.insert(8, 1, OffsetMap::UNKNOWN_TOKEN, false);
    });
    EXPECT_EQ(output, level > 5 ? "INSERT NEW TOKEN pos: 3 amount: 12 token type: APPLE_TOKEN "
                                  "inserted: YES\n"
                                  "INSERT NEW TOKEN pos: 7 amount: -5 token type: SSML_TOKEN "
                                  "inserted: NO\n"
                                  "INSERT NEW TOKEN pos: 8 amount: 1 inserted: NO\n"
                                : "");
  }
}

TEST_F(MarkupLines, OfRecordsAreNotDiagnosticLines) {
  testing::internal::CaptureStdout();
  const auto lines = linesOf(kMarkup, 9, [] {
    OffsetMap map;
    map.insert(3, 12, OffsetMap::APPLE_TOKEN, true);
  });
  testing::internal::GetCapturedStdout();
  EXPECT_THAT(lines, IsEmpty());
}

// ---- The area's bit

TEST_F(MarkupLines, WithoutTheAreasBitNothingIsWritten) {
  const auto everything = [] {
    AppleMarkupConverter converter("[[rate 200]]a", AppleMarkupConverter::SSML);
    converter.getConvertedText();
  };
  EXPECT_EQ(outputOf(~kMarkup, 9, everything), "");
  EXPECT_THAT(engine().diagnostics(), IsEmpty());
  EXPECT_NE(outputOf(kMarkup, 9, everything), "");
  EXPECT_EQ(engine().diagnostics().size(), 2u);
}

}  // namespace
