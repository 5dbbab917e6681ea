// SPDX-License-Identifier: Apache-2.0
//
// Styles of speech: numbers, elements and their nesting.
#include "text/style.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "text/markup.h"

namespace kavrel {
namespace {

// The style at the end of the text.
Style styleAfter(std::string_view text) {
  StyleStack styles;
  MarkupScanner scanner(text);
  for (MarkupEvent event = scanner.next(); event.kind != MarkupEvent::Kind::End;
       event = scanner.next()) {
    if (event.kind == MarkupEvent::Kind::StartTag && !event.empty) styles.open(event);
    if (event.kind == MarkupEvent::Kind::EndTag) styles.close(event.name);
  }
  return styles.style();
}

Style prosody(std::string_view attributes) {
  return styleAfter("<prosody volume='33' rate='111' pitch='77Hz' range='22Hz'><prosody " +
                    std::string(attributes) + ">");
}

TEST(Style, IsUnsetAtFirst) {
  EXPECT_EQ(styleAfter(""), Style());
  EXPECT_EQ(Style().rate, Style::kUnset);
}

TEST(Style, ReadsProsody) {
  EXPECT_EQ(prosody("volume='50'").volume, 50);
  EXPECT_EQ(prosody("rate='200'").rate, 200);
  EXPECT_EQ(prosody("pitch='146.832Hz'").pitch, 146.832);
  EXPECT_EQ(prosody("range='98.0128Hz'").range, 98.0128);
  const Style all = prosody("rate=1 volume=\"2\" range='3Hz' pitch=4Hz");
  EXPECT_EQ(all.rate, 1);
  EXPECT_EQ(all.volume, 2);
  EXPECT_EQ(all.range, 3);
  EXPECT_EQ(all.pitch, 4);
}

TEST(Style, ReadsVolume) {
  struct Row {
    const char* text;
    double volume;
  };
  for (const Row& row :
       {Row{"0", 0},    Row{"-0", 0},     Row{"100", 100},   Row{"250", 250}, Row{"+50", 50},
        Row{"-50", 0},  Row{"5e1", 50},   Row{"1e+06", 1e6}, Row{" 50 ", 50}, Row{"50%", 50},
        Row{".5", 0.5}, Row{"", 33},      Row{"loud", 33},   Row{"50x", 33},  Row{"nan", 33},
        Row{"inf", 33}, Row{"1e999", 33}, Row{"--5", 33},    Row{"+-5", 33},  Row{"5,5", 33}}) {
    EXPECT_EQ(prosody("volume='" + std::string(row.text) + "'").volume, row.volume) << row.text;
  }
}

TEST(Style, KeepsTheOuterRateForInvalidValues) {
  for (const char* text : {"0", "-200", "fast", "", "inf", "nan", "200wpm", "0x10"}) {
    EXPECT_EQ(prosody("rate='" + std::string(text) + "'").rate, 111) << text;
  }
}

TEST(Style, KeepsTheOuterPitchForInvalidValues) {
  for (const char* text : {"high", "", "Hz", "-5Hz", "0Hz", "infHz", "12kHz", "5 %"}) {
    EXPECT_EQ(prosody("pitch='" + std::string(text) + "'").pitch, 77) << text;
  }
  EXPECT_EQ(prosody("pitch='1.5e2Hz'").pitch, 150);
  EXPECT_EQ(prosody("pitch='120 Hz'").pitch, 120);
  EXPECT_EQ(prosody("range='0Hz'").range, 0);
  EXPECT_EQ(prosody("range='-1Hz'").range, 22);
}

TEST(Style, ReadsSayAsInEitherForm) {
  EXPECT_TRUE(styleAfter("<say-as type='spell-out'>").spellOut);
  EXPECT_TRUE(styleAfter("<say-as interpret-as='spell-out'>").spellOut);
  EXPECT_TRUE(styleAfter("<say-as interpret-as='digits'>").digits);
  EXPECT_TRUE(styleAfter("<say-as type='digits'>").digits);
  EXPECT_FALSE(styleAfter("<say-as type='digits'>").spellOut);
  EXPECT_EQ(styleAfter("<say-as type='date'>"), Style());
  const Style both = styleAfter("<say-as type='digits' interpret-as='spell-out'>");
  EXPECT_TRUE(both.digits && both.spellOut);
}

TEST(Style, ReadsStrongEmphasisOnly) {
  EXPECT_TRUE(styleAfter("<emphasis strength='strong'>").emphasis);
  for (const char* tag :
       {"<emphasis>", "<emphasis strength='none'>", "<emphasis level='strong'>"}) {
    EXPECT_FALSE(styleAfter(tag).emphasis) << tag;
  }
  EXPECT_FALSE(styleAfter("<emphasis strength='strong'><emphasis strength='none'>").emphasis);
}

TEST(Style, IsRestoredWhenElementsClose) {
  const std::string open = "<prosody rate='1'><prosody rate='2' volume='5'>";
  EXPECT_EQ(styleAfter(open).rate, 2);
  EXPECT_EQ(styleAfter(open + "</prosody>").rate, 1);
  EXPECT_EQ(styleAfter(open + "</prosody>").volume, Style::kUnset);
  EXPECT_EQ(styleAfter(open + "</prosody></prosody>"), Style());
  EXPECT_EQ(styleAfter(open + "</prosody></prosody></prosody>"), Style());
}

TEST(Style, IgnoresTagsThatSetNothing) {
  const std::string open = "<prosody rate='1'>";
  for (const char* tags : {"</emphasis>", "</say-as>", "</phoneme>", "<b>", "</b>", "<speak>",
                           "<prosody rate='9'/>", "<PROSODY rate='9'>", "</x><x></y>"}) {
    EXPECT_EQ(styleAfter(open + tags).rate, 1) << tags;
  }
}

TEST(Style, ClosesElementsThatAreOpenInsideAClosedOne) {
  const std::string open = "<prosody rate='1'><emphasis strength='strong'><say-as type='digits'>";
  EXPECT_EQ(styleAfter(open + "</prosody>"), Style());
  EXPECT_EQ(styleAfter(open + "</prosody></say-as></emphasis>"), Style());
  const Style inner = styleAfter(open + "</emphasis>");
  EXPECT_EQ(inner.rate, 1);
  EXPECT_FALSE(inner.emphasis);
  EXPECT_FALSE(inner.digits);
}

TEST(Style, NestsAMillionDeep) {
  std::string text;
  for (int i = 0; i < 1'000'000; ++i) text += "<emphasis>";
  // None of these end tags matches an open element, and none may search for one.
  for (int i = 0; i < 1'000'000; ++i) text += "</prosody>";
  text += "<prosody rate='7'>";
  EXPECT_EQ(styleAfter(text).rate, 7);
  for (int i = 0; i < 1'000'000; ++i) text += "</emphasis>";
  EXPECT_EQ(styleAfter(text), Style());
}

TEST(BreakTime, IsReadInBothUnits) {
  struct Row {
    const char* text;
    std::uint32_t milliseconds;
  };
  for (const Row& row :
       {Row{"500ms", 500},     Row{"0ms", 0},     Row{"1.5e3ms", 1500}, Row{"2s", 2000},
        Row{"2 s", 2000},      Row{"0.25s", 250}, Row{"1.5ms", 2},      Row{"+5ms", 5},
        Row{"1e3 ms", 1000},   Row{"-5ms", 0},    Row{"", 0},           Row{"ms", 0},
        Row{"s", 0},           Row{"500", 0},     Row{"500m", 0},       Row{"soon", 0},
        Row{"5'00ms", 0},      Row{"infs", 0},    Row{"nanms", 0},      Row{"601000ms", 600000},
        Row{"1e308s", 600000}, Row{"1e999s", 0}}) {
    EXPECT_EQ(readBreakTime(row.text, 600000), row.milliseconds) << row.text;
  }
}

}  // namespace
}  // namespace kavrel
