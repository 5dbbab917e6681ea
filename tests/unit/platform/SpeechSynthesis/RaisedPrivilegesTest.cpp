// SPDX-License-Identifier: Apache-2.0
//
// The Manager in a program with raised privileges: what the user who starts it can choose. Each
// program is a copy of raised_client in an installation of its own, started by another user than
// root.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "programs/Program.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kUser = "65534";
constexpr uid_t kUserNumber = 65534;
constexpr uid_t kOtherUser = 65533;
constexpr const char* kSynthesizers = "speechmanager/Synthesizers";
constexpr const char* kVoices = "speechmanager/Voices";

class RaisedPrivileges : public testing::Test {
 protected:
  void SetUp() override {
    struct statvfs system {};
    ASSERT_EQ(::statvfs(m_folder.file(".").c_str(), &system), 0);
    if (::geteuid() != 0 || (system.f_flag & ST_NOSUID) != 0 || !fs::exists("/usr/bin/setpriv")) {
      GTEST_SKIP() << "needs root, setpriv, and a temporary folder where programs may raise rights";
    }
    fs::permissions(m_folder.file("."), fs::perms(0755));
    fs::create_directories(path("installed/bin"));
    // By another process: a file that is open for writing in a child of another test's thread
    // cannot be executed.
    ASSERT_EQ(program::run("/bin/cp", {RAISED_CLIENT, client()}).status, 0);
    addVoice(path("installed/share") / kVoices, "Installed", 1);
    // The user's own folders, each with a voice and a synthesizer.
    for (const char* const folder :
         {"path", "data/speechmanager", "home/.local/share/speechmanager"}) {
      addVoice(path(folder) / "Voices", "Users", 2);
      addSynthesizer(path(folder) / "Synthesizers");
    }
    for (const char* const folder : {"path", "data", "home"}) {
      ASSERT_EQ(program::run("/bin/chown", {"-R", kUser, path(folder)}).status, 0);
    }
  }

  fs::path path(const std::string& name) const { return m_folder.file(name); }
  std::string client() const { return m_folder.file("installed/bin/client"); }

  static void addVoice(const fs::path& folder, const std::string& name, int number) {
    const fs::path bundle = folder / (name + ".SpeechVoice");
    fs::create_directories(bundle);
    std::ofstream(bundle / "Info.plist")
        << "<plist><dict><key>VoiceCreator</key><string>KVRL</string><key>VoiceID</key><integer>"
        << number << "</integer><key>VoiceName</key><string>" << name
        << "</string><key>VoiceGender</key><string>neuter</string>"
           "<key>VoiceLocaleIdentifier</key><string>de_DE</string></dict></plist>";
  }
  static void addSynthesizer(const fs::path& folder) {
    fs::create_directories(folder);
    fs::copy_file(COMPLETE_SYNTHESIZER_DIR "/KavrelSpeech.so", folder / "KavrelSpeech.so");
  }

  // Sets the owner and the permissions of the client.
  void setClient(uid_t user, gid_t group, mode_t mode) {
    ASSERT_EQ(::chown(client().c_str(), user, group), 0);
    ASSERT_EQ(::chmod(client().c_str(), mode), 0);
  }

  // What the client says when the user starts it with these settings.
  program::Result runWith(const std::vector<std::string>& settings) const {
    std::vector<std::string> arguments = {"--reuid", kUser, "--clear-groups", "/usr/bin/env"};
    for (const char* const variable :
         {"SPEECH_VOICE_PATH", "SPEECH_SYNTHESIZER_PATH", "XDG_DATA_HOME"}) {
      arguments.insert(arguments.end(), {"-u", variable});
    }
    arguments.push_back("HOME=/nowhere");
    arguments.insert(arguments.end(), settings.begin(), settings.end());
    arguments.push_back(client());
    return program::run("/usr/bin/setpriv", arguments);
  }

  // The settings that lead to the user's folders.
  std::vector<std::vector<std::string>> settings() const {
    return {{"SPEECH_VOICE_PATH=" + path("path/Voices").native(),
             "SPEECH_SYNTHESIZER_PATH=" + path("path/Synthesizers").native()},
            {"XDG_DATA_HOME=" + path("data").native()},
            {"HOME=" + path("home").native()}};
  }

  program::Folder m_folder;
};

// The other tests could not fail if this one did.
TEST_F(RaisedPrivileges, AreNeededForAnyDifference) {
  for (const auto& chosen : settings()) {
    const program::Result result = runWith(chosen);
    EXPECT_THAT(result.out, Not(HasSubstr("raised\n")));
    EXPECT_THAT(result.out, HasSubstr("voice Users\nvoice Installed\nresult 0\nloaded "));
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(RaisedPrivileges, HideTheUsersFolders) {
  const struct {
    uid_t user;
    gid_t group;
    mode_t mode;
  } ways[] = {{0, 0, 04755}, {kOtherUser, 0, 04755}, {0, kOtherUser, 02755}};
  for (const auto& way : ways) {
    setClient(way.user, way.group, way.mode);
    for (const auto& chosen : settings()) {
      const program::Result result = runWith(chosen);
      EXPECT_EQ(result.out, "raised\nvoice Installed\nresult -240\n") << result.err;
      EXPECT_THAT(result.err,
                  HasSubstr("No synthesizer found for voices of \"KVRL\" in " +
                            path("installed/bin/speechmanager/Synthesizers").native() + ".\n"));
    }
  }
}

TEST_F(RaisedPrivileges, KeepWhatIsInstalled) {
  addSynthesizer(path("installed/bin") / kSynthesizers);
  setClient(0, 0, 04755);
  for (const auto& chosen : settings()) {
    EXPECT_EQ(runWith(chosen).out,
              "raised\nvoice Installed\nresult 0\nloaded " +
                  path("installed/bin/speechmanager/Synthesizers/KavrelSpeech.so").native() + "\n");
  }
}

// The user may own folders in an installation, and choose the name that a program is called by.
TEST_F(RaisedPrivileges, DoNotTrustTheUserInAnInstallation) {
  addSynthesizer(path("installed/bin") / kSynthesizers);
  setClient(0, kOtherUser, 02755);
  const fs::path folder = path("installed/bin") / kSynthesizers;
  ASSERT_EQ(::chown(folder.c_str(), kUserNumber, 0), 0);
  const program::Result result = runWith({});
  EXPECT_EQ(result.out, "raised\nvoice Installed\nresult -240\n");
  EXPECT_THAT(result.err, HasSubstr("The synthesizers in " + folder.native() +
                                    " are not loaded: " + folder.native() + " belongs to "));
  // Without raised privileges, they are the user's own.
  setClient(0, kOtherUser, 0755);
  EXPECT_THAT(runWith({}).out, HasSubstr("result 0\nloaded "));
}

TEST_F(RaisedPrivileges, DoNotLetTheNameOfTheProgramChooseAFolder) {
  fs::create_directories(path("home/bin"));
  addSynthesizer(path("home/bin") / kSynthesizers);
  addVoice(path("home/share") / kVoices, "Named", 3);
  std::ofstream(path("home/bin/client")) << "a file with that name";
  ASSERT_EQ(program::run("/bin/chown", {"-R", kUser, path("home")}).status, 0);
  setClient(0, 0, 04755);
  const program::Result result = program::run(
      "/usr/bin/setpriv", {"--reuid", kUser, "--clear-groups", "/bin/bash", "-c",
                           "exec -a " + path("home/bin/client").native() + " " + client()});
  EXPECT_EQ(result.out, "raised\nvoice Installed\nresult -240\n") << result.err;
}

}  // namespace
