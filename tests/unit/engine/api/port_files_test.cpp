// SPDX-License-Identifier: Apache-2.0
//
// Audio files under adverse conditions: killed processes, full disks, unusable file names. Tests
// that change the state of the whole process run in a child.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
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

namespace {

constexpr std::size_t kHeadSize = 54;
// In bytes. The header of a shorter file may not count its samples yet.
constexpr std::uintmax_t kFirstBlock = 32768 + kHeadSize;

// The exit status of a child that runs `work`: 0 if `work` returns true.
int statusOfChild(const std::function<bool()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work() ? 0 : 1);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

bool limitFilesTo(rlim_t size) {
  const rlimit limit{size, size};
  return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

// Gives up the superuser's rights; other users keep theirs.
bool becomeNobody() {
  constexpr id_t kNobody = 65534;
  return geteuid() != 0 || (setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

std::string contentsOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// The last event but one.
Event errorOf(const std::vector<Event>& events) {
  EXPECT_EQ(ofType(events, KAVREL_EVENT_ERROR).size(), 1u);
  EXPECT_EQ(events.back().type, KAVREL_EVENT_END);
  return events.size() < 2 ? Event() : events[events.size() - 2];
}

std::string longText() {
  std::string text;
  for (int i = 0; i < 100; ++i) text += kProse;
  return text;
}

}  // namespace

TEST(PortFiles, CanBeReadWheneverTheProcessIsKilled) {
  const std::string text = longText();
  for (const std::uintmax_t size : {1u, 40'000u, 100'000u, 400'000u, 1'000'000u, 1'000'001u}) {
    const Folder folder;
    const std::string file = folder.path("out.aiff");
    const pid_t child = fork();
    if (child == 0) {
      for (;;) Speaker(file, KAVREL_EVENT_NONE).speakAll(text);
    }
    std::error_code notThere;
    while (std::filesystem::file_size(file, notThere) < size || notThere) {
      std::this_thread::yield();
    }
    ASSERT_EQ(kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    const std::size_t samples = readSamples(file).size();
    if (size > kFirstBlock) {
      EXPECT_GT(samples, 0u);
    }
    EXPECT_LE(kHeadSize + 2 * samples, std::filesystem::file_size(file));
  }
}

TEST(PortFiles, KeepTheirOldContentsWhenThereIsNoRoomForSamples) {
  const Folder folder;
  folder.write("out.aiff", "precious");
  EXPECT_EQ(statusOfChild([&] {
              limitFilesTo(8);
              Speaker speaker(folder.path("out.aiff"));
              const Event error = errorOf(speaker.speakAll(kProse));
              return error.text == folder.path("out.aiff") + ": File too large";
            }),
            0);
  EXPECT_EQ(contentsOf(folder.path("out.aiff")), "precious");
}

TEST(PortFiles, HoldAllSamplesThatFit) {
  constexpr std::size_t kRoom = 100'001;
  const Folder folder;
  EXPECT_EQ(statusOfChild([&] {
              limitFilesTo(kRoom);
              Speaker speaker(folder.path("out.aiff"));
              return !errorOf(speaker.speakAll(kProse)).text.empty();
            }),
            0);
  EXPECT_EQ(readSamples(folder.path("out.aiff")).size(), (kRoom - kHeadSize) / 2);
}

TEST(PortFiles, AreRejectedWithoutWritePermission) {
  const Folder folder;
  folder.write("locked.aiff", "precious");
  std::filesystem::permissions(folder.path("locked.aiff"), std::filesystem::perms::owner_read);
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
  EXPECT_EQ(statusOfChild([&] {
              if (!becomeNobody()) return false;
              Speaker locked(folder.path("locked.aiff"));
              Speaker inLocked(folder.path("new.aiff"));
              return locked.speak("One.") == KAVREL_FILE_ERROR &&
                     inLocked.speak("One.") == KAVREL_FILE_ERROR;
            }),
            0);
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  EXPECT_EQ(contentsOf(folder.path("locked.aiff")), "precious");
}

TEST(PortFiles, MayBeSymbolicLinks) {
  const Folder folder;
  folder.write("old.aiff", "old");
  for (const char* const target : {"old.aiff", "new.aiff"}) {
    const std::string link = folder.path("link.aiff");
    std::filesystem::create_symlink(folder.path(target), link);
    Speaker(link).speakAll("One.");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_FALSE(readSamples(folder.path(target)).empty());
    std::filesystem::remove(link);
  }
}

TEST(PortFiles, MayBeStandardOutputRedirectedToAFile) {
  const Folder folder;
  EXPECT_EQ(statusOfChild([&] {
              const int file = open(folder.path("out.aiff").c_str(), O_RDWR | O_CREAT, 0600);
              dup2(file, STDOUT_FILENO);
              return ofType(Speaker("/dev/stdout").speakAll("One."), KAVREL_EVENT_ERROR).empty();
            }),
            0);
  EXPECT_FALSE(readSamples(folder.path("out.aiff")).empty());
}

TEST(PortFiles, MayNotBeAPipe) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(statusOfChild([&] {
              dup2(ends[1], STDOUT_FILENO);
              Speaker speaker("/dev/stdout");
              return speaker.speak("One.") == KAVREL_FILE_ERROR;
            }),
            0);
  close(ends[0]);
  close(ends[1]);
}

TEST(PortFiles, MayBeADevice) {
  Speaker speaker("/dev/null");
  EXPECT_TRUE(ofType(speaker.speakAll("One."), KAVREL_EVENT_ERROR).empty());
}

TEST(PortFiles, AcceptOneJobAtATime) {
  const Folder folder;
  const std::string file = folder.path("out.aiff");
  Speaker first(file);
  Speaker second(file);
  std::vector<Event> refused;
  // The first job has written a block by then.
  first.onEvent = [&](const Event& event) {
    if (event.text == "rain") refused = second.speakAll("One.");
  };
  EXPECT_TRUE(ofType(first.speakAll(kProse), KAVREL_EVENT_ERROR).empty());
  EXPECT_EQ(errorOf(refused).text, file + ": is being written by another job");
  EXPECT_GT(readSamples(file).size(), 22050u * 5);
  second.speakAll("One.");
  EXPECT_LT(readSamples(file).size(), 22050u * 2);
}
