// SPDX-License-Identifier: Apache-2.0
//
// Speech to files: the contents of the file after success and after failures.
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "speakers/PortSpeaker.h"

using test::Event;
using test::Folder;
using test::kProse;
using test::ofType;
using test::readSamples;
using test::Speaker;

TEST(PortOutput, IsAnAiffFileOfTheSpokenText) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll("Hello world.");
  const std::vector<std::int16_t> samples = readSamples(folder.path("out.aiff"));
  EXPECT_GT(samples.size(), 22050u / 2);
  EXPECT_LT(samples.size(), 22050u * 2);
  EXPECT_TRUE(std::any_of(samples.begin(), samples.end(), [](int s) { return s > 3000; }));
}

TEST(PortOutput, IsAnEmptyAiffFileForATextWithoutWords) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll("");
  EXPECT_TRUE(readSamples(folder.path("out.aiff")).empty());
}

TEST(PortOutput, ExistsOnceTheJobHasStarted) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  ASSERT_EQ(speaker.speak("Hello."), KAVREL_SUCCESS);
  EXPECT_TRUE(std::filesystem::exists(folder.path("out.aiff")));
}

TEST(PortOutput, IsOverwrittenByTheNextJob) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll(kProse);
  const std::size_t size = readSamples(folder.path("out.aiff")).size();
  speaker.speakAll("Hello.");
  EXPECT_LT(readSamples(folder.path("out.aiff")).size(), size / 2);
}

TEST(PortOutput, KeepsTheOldContentsUntilThereAreSamples) {
  const Folder folder;
  folder.write("out.aiff", "precious");
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_START);
  std::uintmax_t sizeAtStart = 0;
  speaker.onEvent = [&](const Event&) {
    sizeAtStart = std::filesystem::file_size(folder.path("out.aiff"));
  };
  speaker.speakAll("Hello.");
  EXPECT_EQ(sizeAtStart, 8u);
  EXPECT_FALSE(readSamples(folder.path("out.aiff")).empty());
}

TEST(PortOutput, RejectsAFileThatCannotBeWritten) {
  const Folder folder;
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  for (const std::string& file :
       {folder.path("missing/out.aiff"), folder.path(), folder.path("pipe")}) {
    Speaker speaker(file);
    EXPECT_EQ(speaker.speak("Hello."), KAVREL_FILE_ERROR) << file;
    EXPECT_EQ(speaker.job(), nullptr);
    EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
    EXPECT_TRUE(speaker.events().empty());
  }
}

TEST(PortOutput, RejectsAnUnknownFormat) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_OUTPUT_FORMAT, kavrel_val_string("mp3"));
  kavrel_background_t job = nullptr;
  EXPECT_EQ(kavrel_port_speak_text(speaker.port(), "a", 1, nullptr, &job, params),
            KAVREL_FILE_ERROR);
  kavrel_params_delete(params);
}

TEST(PortOutput, ReportsAFullDiskAsAnErrorAndThenEnds) {
  Speaker speaker("/dev/full");
  const std::vector<Event> events = speaker.speakAll(kProse);
  ASSERT_GE(events.size(), 2u);
  EXPECT_EQ(events.back().type, KAVREL_EVENT_END);
  EXPECT_EQ(events[events.size() - 2].type, KAVREL_EVENT_ERROR);
  EXPECT_FALSE(events[events.size() - 2].text.empty());
  EXPECT_EQ(ofType(events, KAVREL_EVENT_ERROR).size(), 1u);
}

TEST(PortOutput, KeepsWhatFitsWhenTheFileCannotGrow) {
  const Folder folder;
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit{100'000, 100'000};
    setrlimit(RLIMIT_FSIZE, &limit);
    Speaker speaker(folder.path("out.aiff"));
    const std::vector<Event> events = speaker.speakAll(kProse);
    _exit(ofType(events, KAVREL_EVENT_ERROR).size() == 1 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_GT(readSamples(folder.path("out.aiff")).size(), 30'000u);
}

TEST(PortOutput, CanBeReadWhenTheProcessIsKilled) {
  const Folder folder;
  const pid_t child = fork();
  if (child == 0) {
    Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_WORD);
    speaker.onEvent = [](const Event& event) {
      if (event.text == "rain") raise(SIGKILL);
    };
    speaker.speakAll(kProse);
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_GT(readSamples(folder.path("out.aiff")).size(), 22050u * 4);
}

TEST(PortOutput, HoldsTheSilenceOfABreak) {
  const Folder folder;
  Speaker plain(folder.path("plain.aiff"));
  plain.speakAll("One. Two.");
  Speaker broken(folder.path("broken.aiff"));
  broken.speakAll("One. <break time=\"5s\"/> Two.");
  const std::size_t without = readSamples(folder.path("plain.aiff")).size();
  const std::size_t with = readSamples(folder.path("broken.aiff")).size();
  EXPECT_NEAR(static_cast<double>(with - without), 22050.0 * 5, 22050.0 / 2);
}
