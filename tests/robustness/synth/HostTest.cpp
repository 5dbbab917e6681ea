// SPDX-License-Identifier: Apache-2.0
//
// Hosts that treat their processes, descriptors, signals and folders as programs do that know
// nothing of a synthesiser in other processes: they speak, and nothing of the synthesiser is left
// in them or after them. Each host is a process of its own; synth_host.cpp describes its steps.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "Disturber.h"

namespace {

using namespace hosts;
namespace fs = std::filesystem;

// What a host has spoken, and the results of its "count" steps.
struct Outcome {
  std::vector<std::string> events;
  std::string audio;
  std::vector<int> zombies;
  std::vector<int> descriptors;
};

Outcome outcomeOf(const program::Result& result, const std::string& audio) {
  Outcome outcome;
  EXPECT_EQ(result.status, 0) << result.signal << ' ' << result.err;
  outcome.audio = program::contentsOf(audio);
  for (const std::string& line : linesOf(result.out)) {
    int zombies = 0;
    int descriptors = 0;
    if (std::sscanf(line.c_str(), "count %d %d", &zombies, &descriptors) == 2) {
      outcome.zombies.push_back(zombies);
      outcome.descriptors.push_back(descriptors);
    } else {
      outcome.events.push_back(line);
    }
  }
  return outcome;
}

// A host of one kind speaks two times; the same as a host that does nothing unusual.
void expectSpeaks(const std::vector<std::string>& kind, const std::string& preparation = ":") {
  const HostFolder folder;
  const std::string audio = folder.file("audio");
  const std::vector<std::string> speaking = {"file=" + audio, "speak", "speak", "count"};
  const Outcome usual = outcomeOf(folder.run(speaking), audio);
  EXPECT_EQ(std::ranges::count(usual.events, "1024 53 0 "), 2);
  std::vector<std::string> steps = kind;
  steps.insert(steps.end(), speaking.begin(), speaking.end());
  const Outcome outcome = outcomeOf(folder.runAfter(preparation, steps), audio);
  EXPECT_EQ(outcome.events, usual.events);
  EXPECT_TRUE(outcome.audio == usual.audio);
  EXPECT_EQ(outcome.zombies, usual.zombies);
  EXPECT_TRUE(folder.processesEnd());
}

// The descriptors of a process, by what they refer to.
std::vector<std::string> filesOf(pid_t process) {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
    std::error_code ignored;
    files.push_back(entry.path().filename().string() + ' ' +
                    fs::read_symlink(entry.path(), ignored).string());
  }
  std::ranges::sort(files);
  return files;
}

bool waitUntil(const std::function<bool()>& condition) {
  const Clock::time_point limit = Clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (Clock::now() > limit) return false;
    std::this_thread::sleep_for(milliseconds(2));
  }
  return true;
}

// A long text without pauses, of which the host has spoken a part when it is needed.
std::string longText(int sentences = 60) {
  std::string text = "text=";
  for (int number = 0; number < sentences; ++number)
    text += "This is a sentence of several words. ";
  return text;
}

}  // namespace

// ---- Kinds of hosts

TEST(Host, MayIgnoreItsChildren) {
  expectSpeaks({"ignore-children"});
}

TEST(Host, MayWaitForAnyChildInAHandler) {
  expectSpeaks({"handle-children"});
}

TEST(Host, MayWaitForAnyChildOnAThread) {
  expectSpeaks({"reap-on-thread"});
}

TEST(Host, MayAdoptOrphans) {
  expectSpeaks({"adopt-orphans"});
}

TEST(Host, MayBlockAllSignals) {
  expectSpeaks({"block-signals"});
}

TEST(Host, MayTakeTheDefaultActionForSignals) {
  expectSpeaks({"default-signals"});
}

TEST(Host, MayHaveFewDescriptors) {
  expectSpeaks({"few-descriptors"});
}

TEST(Host, MayHaveSmallStacks) {
  expectSpeaks({}, "ulimit -s 256");
}

TEST(Host, MayHaveNoWorkingDirectory) {
  expectSpeaks({"remove-folder"});
}

TEST(Host, MayHaveNoStandardError) {
  expectSpeaks({"close-errors"});
}

TEST(Host, MayHaveAnyEnvironment) {
  expectSpeaks({},
               "export ESPEAK_DATA_PATH=/nowhere LD_LIBRARY_PATH=/nowhere LC_ALL=tlh "
               "PULSE_SERVER=/nowhere HOME=/nowhere PATH=/nowhere");
}

// It is not one that waits for a process of the synthesiser.
TEST(Host, MayWaitForAllItsChildrenAfterSpeaking) {
  const HostFolder folder;
  const Clock::time_point begin = Clock::now();
  const program::Result result =
      folder.run({"file=" + folder.file("audio"), "speak", "wait-for-children", "speak"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(linesOf(result.out, "1024").size(), 2u);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
}

// Standard error is closed, so an audio file could get its number.
TEST(Host, HasNoDiagnosticsInItsFiles) {
  const HostFolder folder(HostFolder::Synthesiser::Scripted);
  std::string text = "text=";
  for (int number = 0; number < 200; ++number) text += "One two three. ";
  const std::vector<std::string> speaking = {text + "CRASH four.", "file=" + folder.file("audio"),
                                             "speak"};
  const program::Result usual = folder.run(speaking);
  const std::string audio = program::contentsOf(folder.file("audio"));
  std::vector<std::string> steps = {"diagnose", "close-errors"};
  steps.insert(steps.end(), speaking.begin(), speaking.end());
  EXPECT_EQ(folder.run(steps).out, usual.out);
  EXPECT_TRUE(program::contentsOf(folder.file("audio")) == audio);
}

TEST(Host, MayCloseAllItsDescriptors) {
  const HostFolder folder;
  const std::string audio = folder.file("audio");
  const Outcome outcome = outcomeOf(
      folder.run({"file=" + audio, "speak", "count", "close-all", "count", "speak", "speak"}),
      audio);
  EXPECT_EQ(std::ranges::count(outcome.events, "1024 53 0 "), 3);
  // Of the 61 descriptors that it opens, none is lost to the engine.
  const Outcome again = outcomeOf(
      folder.run({"file=" + audio, "speak", "close-all", "count", "speak", "close-all"}), audio);
  EXPECT_EQ(again.descriptors.at(0), outcome.descriptors.at(1));
  EXPECT_TRUE(folder.processesEnd());
}

// The file of the job is closed, too, so the job may fail.
TEST(Host, MayCloseAllItsDescriptorsWhileItSpeaks) {
  const HostFolder folder;
  for (int round = 0; round < 5; ++round) {
    const program::Result result =
        folder.run({longText(), "file=" + folder.file("audio"), "begin", "close-all", "finish",
                    "text=One two three. Four five, six! Seven?", "speak"});
    EXPECT_EQ(result.status, 0) << result.signal << ' ' << result.err;
    EXPECT_EQ(linesOf(result.out, "1024").size(), 2u);
    EXPECT_EQ(linesOf(result.out).back(), "1024 37 0 ");
  }
  EXPECT_TRUE(folder.processesEnd());
}

// ---- Fork

TEST(Host, MaySpeakInTheChildOfAFork) {
  const HostFolder folder;
  const std::string audio = folder.file("audio");
  const program::Result result = folder.run({"file=" + audio, "speak", "fork-speak", "speak"});
  EXPECT_EQ(linesOf(result.out, "child"), std::vector<std::string>{"child 0"}) << result.err;
  EXPECT_TRUE(program::contentsOf(audio + ".child") == program::contentsOf(audio));
  EXPECT_TRUE(folder.processesEnd());
}

// The allocator of AddressSanitizer takes no lock for fork(): a child of a process in which another
// thread allocates at that moment hangs at its next allocation.
#ifdef __SANITIZE_ADDRESS__
constexpr bool kMayAllocateInChild = false;
#else
constexpr bool kMayAllocateInChild = true;
#endif

TEST(Host, MayForkAndSpeakInTheChildWhileItSpeaks) {
  if (!kMayAllocateInChild) GTEST_SKIP() << "a child may hang in the sanitizer's allocator";
  const HostFolder folder;
  const std::string audio = folder.file("audio");
  for (int round = 0; round < 3; ++round) {
    const program::Result result =
        folder.run({longText(), "file=" + audio, "begin", "text=One two three. Four five.",
                    "fork-speak", "finish", "speak"});
    EXPECT_EQ(linesOf(result.out, "child"), std::vector<std::string>{"child 0"}) << result.err;
    EXPECT_TRUE(program::contentsOf(audio + ".child") == program::contentsOf(audio));
    EXPECT_EQ(linesOf(result.out).back(), "1024 25 0 ");
  }
  EXPECT_TRUE(folder.processesEnd());
}

// The child has copies of everything that the host had open.
TEST(Host, LeavesNoProcessToAChildThatOutlivesIt) {
  const HostFolder folder;
  RunningHost host(folder, {longText(), "file=" + folder.file("audio"), "begin", "fork-sleep"});
  const program::Result result = host.finish();
  const std::vector<std::string> lines = linesOf(result.out, "sleeper");
  ASSERT_EQ(lines.size(), 1u);
  const pid_t sleeper = std::stoi(lines[0].substr(8));
  EXPECT_TRUE(folder.processesEnd());
  EXPECT_EQ(stateOf(sleeper), 'S');
  ::kill(sleeper, SIGKILL);
}

// ---- End of the host

TEST(Host, LeavesNoProcessWhenItIsKilledWhileItSpeaks) {
  const HostFolder folder;
  std::mt19937 random(5);
  // So much that it still speaks, however late this test goes on.
  const std::string text = longText(3000);
  for (int round = 0; round < 10; ++round) {
    program::Running host(folder.host(), {text, "file=" + folder.file("audio"), "speak"}, {}, -1);
    host.readUntil("32 ");
    EXPECT_FALSE(folder.processes().empty());
    std::this_thread::sleep_for(milliseconds(random() % 50));
    host.sendSignal(SIGKILL);
    host.finish();
    EXPECT_TRUE(folder.processesEnd());
  }
}

namespace {

// Workers that have no call wait, too. Only root sees the kernel's function that a protected
// process waits in; for others, the worker may be one that waits for a call.
bool waitsToSend(pid_t process) {
  const std::string function = program::contentsOf("/proc/" + std::to_string(process) + "/wchan");
  return function == "0" || function.find("send") != std::string::npos;
}

// Stops the host at a moment when a worker has more to send than the socket holds, so that the
// worker waits for the host. Returns the worker, or 0 if there is no such moment.
pid_t stopWhileAWorkerWaits(const HostFolder& folder, program::Running& host) {
  pid_t worker = 0;
  waitUntil([&] {
    host.sendSignal(SIGCONT);
    std::this_thread::sleep_for(milliseconds(2));
    host.sendSignal(SIGSTOP);
    // A worker that has less to send ends.
    waitUntil([&] {
      return std::ranges::all_of(folder.processes(), [](pid_t one) { return stateOf(one) == 'S'; });
    });
    const std::vector<pid_t> processes = folder.processes();
    for (const pid_t one : processes) {
      const bool isWorker = std::ranges::find(processes, parentOf(one)) != processes.end();
      if (isWorker && waitsToSend(one)) worker = one;
    }
    return worker != 0;
  });
  return worker;
}

// Sentences with more audio than a socket holds.
std::string longSentences() {
  std::string text = "text=";
  for (int number = 0; number < 2000; ++number) text += number % 80 == 79 ? "end. " : "word ";
  return text;
}

}  // namespace

TEST(Host, LeavesNoProcessWhenItIsKilledWhileAWorkerWaitsForIt) {
  const HostFolder folder;
  program::Running host(folder.host(), {longSentences(), "file=" + folder.file("audio"), "speak"},
                        {}, -1);
  host.readUntil("32 ");
  EXPECT_NE(stopWhileAWorkerWaits(folder, host), 0);
  host.sendSignal(SIGKILL);
  host.finish();
  EXPECT_TRUE(folder.processesEnd());
}

TEST(Host, LeavesNoProcessWhenItIsKilledWhileAWorkerIsStopped) {
  const HostFolder folder;
  program::Running host(folder.host(), {longSentences(), "file=" + folder.file("audio"), "speak"},
                        {}, -1);
  host.readUntil("32 ");
  const pid_t worker = stopWhileAWorkerWaits(folder, host);
  ASSERT_NE(worker, 0);
  ::kill(worker, SIGSTOP);
  host.sendSignal(SIGKILL);
  host.finish();
  EXPECT_TRUE(folder.processesEnd());
}

TEST(Host, LeavesNoProcessWhenItEnds) {
  const HostFolder folder;
  folder.run({"file=" + folder.file("audio"), "speak"});
  const Clock::time_point begin = Clock::now();
  EXPECT_TRUE(folder.processesEnd());
  std::cout << "gone after "
            << std::chrono::duration_cast<milliseconds>(Clock::now() - begin).count() << " ms\n";
}

// ---- What is left in the host

namespace {

// Speaks and is killed again and again: no zombie is left, and no descriptor.
void expectNothingLeft(const std::vector<std::string>& kind, int jobs, int kills) {
  const HostFolder folder;
  const std::string audio = folder.file("audio");
  const std::string quiet = folder.file("quiet");
  std::vector<std::string> steps = kind;
  for (const std::string& step :
       {"file=" + audio, std::string("speak"), std::string("count"), "jobs=" + std::to_string(jobs),
        "wait-for=" + quiet, std::string("speak"), std::string("speak"), std::string("count")}) {
    steps.push_back(step);
  }
  RunningHost host(folder, steps);
  while (host.isRunning() && !host.hasWritten("count "))
    std::this_thread::sleep_for(milliseconds(1));
  std::mt19937 random(7);
  const int killed = killWhileRunning(folder, host, milliseconds(150), kills, random, "jobs ");
  // The engine notices the end of an idle process when it next speaks.
  std::ofstream{quiet};
  const Outcome outcome = outcomeOf(host.finish(), audio);
  ASSERT_EQ(outcome.zombies.size(), 2u);
  EXPECT_EQ(outcome.zombies, (std::vector<int>{0, 0}));
  // Idle processes are kept, with three descriptors each: as many as there are cores, and two.
  constexpr int kDescriptors = 3;
  const int idle = std::max(static_cast<int>(std::thread::hardware_concurrency()), 2) + 2;
  EXPECT_LE(outcome.descriptors[1], outcome.descriptors[0] + kDescriptors * idle);
  EXPECT_TRUE(folder.processesEnd());
  std::cout << killed << " kills; descriptors " << outcome.descriptors[0] << " and "
            << outcome.descriptors[1] << '\n';
}

}  // namespace

TEST(Host, HasNoZombiesAndNoDescriptorsAfterRestarts) {
  expectNothingLeft({}, 300, 15);
}

TEST(Host, HasNoZombiesIfItAdoptsOrphans) {
  expectNothingLeft({"adopt-orphans"}, 300, 15);
}

TEST(FullHost, HasNoZombiesAndNoDescriptorsAfterAThousandCallsAndFiftyRestarts) {
  expectNothingLeft({}, 3000, 50);
}

// ---- What the synthesiser's processes have of the host

TEST(Host, GivesNothingOfItsOwnToTheSynthesiser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can see what a protected process has open";
  const HostFolder folder;
  program::Running host(
      "/bin/sh",
      {"-c", "export SECRET=1; exec 7</etc/passwd; exec \"$0\" \"$@\"", folder.host(),
       "file=" + folder.file("audio"), "close-all", "speak", "sleep"},
      {}, -1);
  host.readUntil("asleep");
  const std::vector<pid_t> processes = folder.processes();
  ASSERT_FALSE(processes.empty());
  for (const pid_t process : processes) {
    std::vector<std::string> files = filesOf(process);
    // A template has a descriptor of its worker.
    std::erase_if(files, [](const std::string& file) { return file.ends_with(":[pidfd]"); });
    // A worker has no pipe.
    const bool isWorker = std::ranges::find(processes, parentOf(process)) != processes.end();
    ASSERT_EQ(files.size(), isWorker ? 3u : 4u) << testing::PrintToString(files);
    EXPECT_TRUE(files[0].starts_with("0 socket:")) << files[0];
    EXPECT_EQ(files[1], "1 /dev/null");
    EXPECT_EQ(files[2], "2 /dev/null");
    EXPECT_TRUE(isWorker || files[3].starts_with("3 pipe:")) << files.back();
    const std::string folderOfProcess = "/proc/" + std::to_string(process);
    EXPECT_EQ(program::contentsOf(folderOfProcess + "/environ"),
              std::string("LC_ALL=C.UTF-8") + '\0');
    EXPECT_EQ(fs::read_symlink(folderOfProcess + "/cwd"), "/");
  }
}

// Whether a program can have other rights than the user who starts it, and this test can make one.
bool canRaiseRights(const HostFolder& folder) {
  struct statvfs system {};
  return ::geteuid() == 0 && ::statvfs(folder.host().c_str(), &system) == 0 &&
         (system.f_flag & ST_NOSUID) == 0 && fs::exists("/usr/bin/setpriv");
}

constexpr const char* kNoRaisedRights =
    "needs root, setpriv, and a temporary folder where programs may raise rights";
constexpr const char* kUser = "65534";
constexpr uid_t kOwner = 65533;

// The host gets the rights of another user than the one who starts it, with a folder for both.
void raiseRights(const HostFolder& folder) {
  ASSERT_EQ(::chown(folder.host().c_str(), kOwner, kOwner), 0);
  fs::permissions(folder.host(), fs::perms(04755));
  fs::create_directory(folder.file("out"));
  fs::permissions(folder.file("out"), fs::perms(0777));
}

// A host with raised rights: the synthesiser has those of the user, and no variable chooses a file.
TEST(Host, GivesNoRaisedRightsToTheSynthesiser) {
  const HostFolder folder;
  if (!canRaiseRights(folder)) GTEST_SKIP() << kNoRaisedRights;
  raiseRights(folder);
  program::Running host(
      "/usr/bin/setpriv",
      {"--reuid", kUser, "--clear-groups", "/usr/bin/env", "ESPEAK_DATA_PATH=/nowhere",
       "LD_LIBRARY_PATH=/nowhere", "KAVREL_SYNTH=/nowhere", "PATH=/nowhere", folder.host(), "ids",
       "file=" + folder.file("out/audio"), "speak", "sleep"},
      {}, -1);
  const std::string out = host.readUntil("asleep");
  const std::vector<std::string> ids = linesOf(out, "ids");
  ASSERT_EQ(ids.size(), 1u) << out;
  EXPECT_TRUE(ids[0].ends_with(std::string(" ") + kUser + " 65533")) << ids[0];
  EXPECT_EQ(linesOf(out, "32").size(), 7u);
  EXPECT_FALSE(folder.processes().empty());
  for (const pid_t process : folder.processes()) {
    const std::string status = program::contentsOf("/proc/" + std::to_string(process) + "/status");
    EXPECT_NE(status.find("Uid:\t65534\t65534\t65534\t65534\n"), std::string::npos) << status;
  }
}

// The library of the sound server would start the program that the user's settings name, with the
// rights of the host.
TEST(Host, LooksForNoSoundServerWithRaisedRights) {
  const HostFolder folder;
  if (!canRaiseRights(folder)) GTEST_SKIP() << kNoRaisedRights;
  // The event, not the status: a sanitizer's checks at exit need rights that the host may lack.
  constexpr const char* kEnd = "1024";
  const std::string started = folder.file("out/started");
  const std::string server = folder.write("server", "#!/bin/sh\n: >" + started + "\n");
  fs::permissions(server, fs::perms(0755));
  const std::string settings =
      folder.write("client.conf", "autospawn = yes\ndaemon-binary = " + server + "\n");
  const auto speak = [&] {
    return program::run(
        "/usr/bin/setpriv",
        {"--reuid", kUser, "--clear-groups", "/usr/bin/env", "-u", "KAVREL_AUDIO", "-u",
         "PULSE_SERVER", "HOME=" + folder.file("out"), "XDG_RUNTIME_DIR=" + folder.file("out"),
         "PULSE_CLIENTCONFIG=" + settings, folder.host(), "text=A.", "speak"});
  };
  fs::create_directory(folder.file("out"));
  fs::permissions(folder.file("out"), fs::perms(0777));
  fs::permissions(folder.host(), fs::perms(0755));
  EXPECT_EQ(linesOf(speak().out, kEnd).size(), 1u);
  // Otherwise the rest could not fail: the system's library starts no servers.
  if (!fs::exists(started)) GTEST_SKIP() << "no sound server is started here";
  fs::remove_all(folder.file("out"));
  raiseRights(folder);
  EXPECT_EQ(linesOf(speak().out, kEnd).size(), 1u);
  EXPECT_FALSE(fs::exists(started));
}
