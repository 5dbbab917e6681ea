// SPDX-License-Identifier: Apache-2.0
//
// Parameters, style, and null arguments.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <malloc.h>

#include "cst.h"
#include "speakers/PortSpeaker.h"

using test::Folder;
using test::kProse;
using test::readSamples;
using test::Speaker;

namespace {

std::vector<std::int16_t> spoken(const std::string& text) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_NONE);
  speaker.speakAll(text);
  return readSamples(folder.path("out.aiff"));
}

double loudness(const std::vector<std::int16_t>& samples) {
  double sum = 0;
  for (const double sample : samples) sum += sample * sample;
  return std::sqrt(sum / static_cast<double>(samples.size() + 1));
}

std::string styled(const std::string& attribute) {
  return "<prosody " + attribute + ">" + kProse + "</prosody>";
}

}  // namespace

TEST(PortStyle, RateChangesTheLength) {
  const auto slow = static_cast<double>(spoken(styled("rate=\"100\"")).size());
  const auto normal = static_cast<double>(spoken(styled("rate=\"180\"")).size());
  const auto fast = static_cast<double>(spoken(styled("rate=\"360\"")).size());
  EXPECT_NEAR(slow / normal, 1.8, 0.3);
  EXPECT_NEAR(normal / fast, 2.0, 0.4);
  EXPECT_NEAR(static_cast<double>(spoken(kProse).size()) / normal, 1.0, 0.02);
}

TEST(PortStyle, VolumeChangesTheLoudness) {
  const double full = loudness(spoken(kProse));
  EXPECT_NEAR(loudness(spoken(styled("volume=\"50\""))) / full, 0.5, 0.1);
  EXPECT_LT(loudness(spoken(styled("volume=\"0\""))), 1.0);
}

TEST(PortStyle, OfOneJobDoesNotAffectTheNext) {
  const double before = loudness(spoken("Hello world."));
  spoken("<emphasis level=\"strong\">" + std::string(kProse) + "</emphasis>");
  spoken(styled("volume=\"20\""));
  EXPECT_NEAR(loudness(spoken("Hello world.")) / before, 1.0, 0.1);
}

TEST(PortStyle, OfAStoppedJobDoesNotAffectTheNext) {
  const double before = loudness(spoken("Hello world."));
  Speaker speaker({}, KAVREL_EVENT_WORD);
  for (int job = 0; job < 10; ++job) {
    ASSERT_EQ(speaker.speak("<emphasis level=\"strong\">" + std::string(kProse) + "</emphasis>"),
              KAVREL_SUCCESS);
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
  }
  kavrel_port_wait(speaker.port(), nullptr);
  EXPECT_NEAR(loudness(spoken("Hello world.")) / before, 1.0, 0.1);
}

TEST(PortParameters, ReplaceEarlierValuesAndAreCopied) {
  const Folder folder;
  kavrel_params* const params = kavrel_params_new(nullptr);
  for (const char* const name : {"wrong.aiff", "right.aiff"}) {
    EXPECT_EQ(kavrel_params_set_val(params, KAVREL_KEY_OUTPUT_FILE,
                                    kavrel_val_string(folder.path(name).c_str())),
              KAVREL_SUCCESS);
  }
  EXPECT_EQ(kavrel_params_set_val(params, "of/another", kavrel_val_string("text")), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_params_set_val(params, "of/another", kavrel_val_int(4)), KAVREL_SUCCESS);
  kavrel_params* const copy = kavrel_params_new(params);
  kavrel_params_delete(params);
  kavrel_port_struct* const port = kavrel_port_open(kavrel_engine_open(nullptr), copy);
  kavrel_params_delete(copy);
  kavrel_background_t job = nullptr;
  ASSERT_EQ(kavrel_port_speak_text(port, "Hello", 5, nullptr, &job, nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_close(port), KAVREL_SUCCESS);
  EXPECT_TRUE(std::filesystem::exists(folder.path("right.aiff")));
  EXPECT_FALSE(std::filesystem::exists(folder.path("wrong.aiff")));
}

TEST(PortParameters, CheckTheirArguments) {
  kavrel_params* const params = kavrel_params_new(nullptr);
  EXPECT_EQ(kavrel_val_string(nullptr), nullptr);
  EXPECT_EQ(kavrel_params_set_val(nullptr, "key", kavrel_val_int(1)), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_params_set_val(params, nullptr, kavrel_val_int(1)), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_params_set_val(params, "key", nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_params_set_val(params, "", kavrel_val_int(1)), KAVREL_INVALID_KEY);
  kavrel_params_delete(params);
  kavrel_params_delete(nullptr);
}

TEST(PortParameters, StartTheSynthesiserOnRequest) {
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_CACHE_POLICY, kavrel_val_string("preload"));
  EXPECT_NE(kavrel_engine_open(params), nullptr);
  kavrel_params_delete(params);
}

TEST(PortArguments, ThatAreNullReturnResults) {
  Speaker speaker;
  kavrel_background_t job = nullptr;
  char* text = nullptr;
  EXPECT_EQ(kavrel_port_open(nullptr, nullptr), nullptr);
  EXPECT_EQ(kavrel_port_close(nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_set_callback(nullptr, nullptr, 0, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_set_voice_from_dir(nullptr, "/"), nullptr);
  EXPECT_EQ(kavrel_port_set_voice_from_dir(speaker.port(), nullptr), nullptr);
  EXPECT_EQ(kavrel_port_speak_text(nullptr, "a", 1, nullptr, &job, nullptr),
            KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_speak_text(speaker.port(), nullptr, 1, nullptr, &job, nullptr),
            KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_speak_text(speaker.port(), "a", 1, nullptr, nullptr, nullptr),
            KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_speak_text(speaker.port(), "a", 1, "utf-16", &job, nullptr),
            KAVREL_UNKNOWN_ENCODING);
  EXPECT_EQ(kavrel_port_pause(nullptr, nullptr, KAVREL_EVENT_NOW), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_OBJECT_NOT_FOUND);
  EXPECT_EQ(kavrel_port_stop(nullptr, nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(nullptr, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_event_get_text(nullptr, &text), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_event_get_textpos(nullptr, nullptr, nullptr), KAVREL_INVALID_POINTER);
}

TEST(PortArguments, ResultsHaveMessages) {
  EXPECT_STREQ(kavrel_strerror(KAVREL_SUCCESS), "success");
  EXPECT_STREQ(kavrel_strerror(KAVREL_FILE_ERROR), "file error");
  EXPECT_STREQ(kavrel_strerror(KAVREL_QUEUE_FULL), "queue is full");
  for (const int number : {1, -16, -1000000}) {
    EXPECT_STREQ(kavrel_strerror(static_cast<kavrel_result_t>(number)), "unknown error");
  }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(PortArguments, IdlePortsAndUnreleasedParametersAreSmall) {
  const Folder folder;
  kavrel_engine_struct* const engine = kavrel_engine_open(nullptr);
  constexpr std::size_t kCount = 1000;
  std::vector<kavrel_port_struct*> ports(kCount);
  std::vector<kavrel_params*> sets(kCount);
  const auto used = [] { return mallinfo2().uordblks; };

  const std::size_t atFirst = used();
  for (kavrel_params*& set : sets) {
    set = kavrel_params_new(nullptr);
    kavrel_params_set_val(set, KAVREL_KEY_OUTPUT_FILE,
                          kavrel_val_string("/tmp/a/name/of/usual/length.aiff"));
    kavrel_params_set_val(set, KAVREL_KEY_OUTPUT_FORMAT, kavrel_val_string("aiff"));
    kavrel_params_set_val(set, KAVREL_KEY_EVENTS_IMMEDIATE, kavrel_val_int(1));
  }
  const std::size_t withSets = used();
  for (kavrel_port_struct*& port : ports) port = kavrel_port_open(engine, sets[0]);
  const std::size_t withPorts = used();

  EXPECT_LT((withSets - atFirst) / kCount, 200u);
  EXPECT_LT((withPorts - withSets) / kCount, 1024u);
  for (kavrel_params* const set : sets) kavrel_params_delete(set);
  for (kavrel_port_struct* const port : ports) kavrel_port_close(port);
}
#endif
