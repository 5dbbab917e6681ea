// SPDX-License-Identifier: Apache-2.0
//
// Which files are trusted: owners, permissions, links, and who can replace the Manager.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "SpeechSynthesis/bundles/TrustedPaths.h"

namespace {

namespace fs = std::filesystem;
using platform::TrustedPaths;
using testing::HasSubstr;

// A user and a group that have no name.
constexpr uid_t kStranger = 54321;
// A user with a private group of the same number and name, and no files in the tests' folders.
constexpr uid_t kDaemon = 1;

class TrustedPathsTest : public testing::Test {
 protected:
  void SetUp() override {
    // In /tmp, which has the sticky bit.
    std::string pattern = (fs::temp_directory_path() / "trustedXXXXXX").native();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    m_folder = pattern;
    write("plain");
    fs::create_directory(m_folder / "own");
    write("own/manager");
  }
  void TearDown() override { fs::remove_all(m_folder); }

  fs::path write(const std::string& name) {
    std::ofstream(m_folder / name) << "text";
    fs::permissions(m_folder / name, fs::perms(0644));
    return m_folder / name;
  }
  void permit(const std::string& name, unsigned mode) {
    ASSERT_EQ(::chmod((m_folder / name).c_str(), mode), 0);
  }
  void give(const std::string& name, uid_t user, gid_t group) {
    ASSERT_EQ(::lchown((m_folder / name).c_str(), user, group), 0);
  }

  // The problem of a path in the folder; "" if it is trusted. Only root can replace the Manager,
  // unless the test has said otherwise.
  std::string problemOf(const std::string& name) {
    return TrustedPaths(m_ownFile).problemOf(m_folder / name).value_or("");
  }

  fs::path m_folder;
  fs::path m_ownFile = "/";
};

TEST_F(TrustedPathsTest, AreThoseThatOnlyTheUserCanWrite) {
  EXPECT_EQ(problemOf("plain"), "");
  EXPECT_EQ(problemOf("own"), "");
  EXPECT_EQ(problemOf("own/../plain"), "");
  EXPECT_EQ(TrustedPaths("/").problemOf("/"), std::nullopt);
}

TEST_F(TrustedPathsTest, AreNotThoseThatEverybodyCanWrite) {
  permit("plain", 0646);
  EXPECT_EQ(problemOf("plain"), "everybody can write to " + (m_folder / "plain").native());
  permit("own", 0757);
  EXPECT_EQ(problemOf("own"), "everybody can write to " + (m_folder / "own").native());
  EXPECT_EQ(problemOf("own/manager"), "everybody can write to " + (m_folder / "own").native());
}

TEST_F(TrustedPathsTest, MayBeInAFolderWithTheStickyBitThatIsNotTrustedItself) {
  permit("own", 01777);
  EXPECT_EQ(problemOf("own/manager"), "");
  EXPECT_EQ(problemOf("own"), "everybody can write to " + (m_folder / "own").native());
  fs::create_directory(m_folder / "own/more");
  EXPECT_EQ(problemOf("own/more"), "");
  EXPECT_EQ(problemOf("own/more/.."), "everybody can write to " + (m_folder / "own").native());
  EXPECT_EQ(problemOf("own/."), "everybody can write to " + (m_folder / "own").native());
}

TEST_F(TrustedPathsTest, DependOnWhatLinksLeadTo) {
  fs::create_symlink("plain", m_folder / "link");
  fs::create_directory_symlink("../own", m_folder / "own/up");
  fs::create_symlink(m_folder / "plain", m_folder / "own/absolute");
  EXPECT_EQ(problemOf("link"), "");
  EXPECT_EQ(problemOf("own/up/manager"), "");
  EXPECT_EQ(problemOf("own/absolute"), "");
  permit("plain", 0646);
  EXPECT_EQ(problemOf("link"), "everybody can write to " + (m_folder / "plain").native());
  EXPECT_EQ(problemOf("own/absolute"), problemOf("link"));
  fs::create_symlink("loop", m_folder / "loop");
  EXPECT_THAT(problemOf("loop"), HasSubstr("is not a usable link"));
  fs::create_symlink("nothing", m_folder / "dangling");
  EXPECT_THAT(problemOf("dangling"), HasSubstr("nothing: No such file"));
}

TEST_F(TrustedPathsTest, DependOnTheWholeContentsOfATree) {
  fs::create_directories(m_folder / "bundle/Contents");
  write("bundle/Contents/Info.plist");
  const auto problem = [&] {
    return TrustedPaths("/").problemOfTree(m_folder / "bundle").value_or("");
  };
  EXPECT_EQ(problem(), "");
  permit("bundle/Contents/Info.plist", 0666);
  EXPECT_THAT(problem(), HasSubstr("everybody can write to "));
  EXPECT_EQ(problemOf("bundle"), "");
}

TEST_F(TrustedPathsTest, AreAllPathsIfEverybodyCanReplaceTheManager) {
  permit("plain", 0646);
  permit("own/manager", 0666);
  m_ownFile = m_folder / "own/manager";
  EXPECT_EQ(problemOf("plain"), "");
  permit("own/manager", 0644);
  EXPECT_NE(problemOf("plain"), "");
  permit("own", 0777);
  EXPECT_EQ(problemOf("plain"), "");
  // The manager in it cannot be replaced.
  permit("own", 01777);
  EXPECT_NE(problemOf("plain"), "");
}

// The binary form of an access control list that lets the user `user` write, and others read.
std::string accessListFor(std::uint32_t user) {
  const struct Entry {
    std::uint16_t tag;
    std::uint16_t rights;
    std::uint32_t who;
  } entries[] = {{0x01, 6, ~0U}, {0x02, 6, user}, {0x04, 4, ~0U}, {0x10, 6, ~0U}, {0x20, 4, ~0U}};
  const std::uint32_t version = 2;
  std::string list(reinterpret_cast<const char*>(&version), sizeof version);
  return list.append(reinterpret_cast<const char*>(entries), sizeof entries);
}

TEST_F(TrustedPathsTest, AreNotThoseThatAnAccessListOpens) {
  const std::string list = accessListFor(kStranger);
  const int result = ::setxattr((m_folder / "plain").c_str(), "system.posix_acl_access",
                                list.data(), list.size(), 0);
  if (result != 0 && errno == EOPNOTSUPP) {
    GTEST_SKIP() << "the temporary folder has no access control lists";
  }
  ASSERT_EQ(result, 0) << errno;
  EXPECT_EQ(problemOf("plain"), "others can write to " + (m_folder / "plain").native());
}

// Files of several users, which only root can make.
class TrustedOwnersTest : public TrustedPathsTest {
 protected:
  void SetUp() override {
    TrustedPathsTest::SetUp();
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file to another user";
  }
};

TEST_F(TrustedOwnersTest, AreTheUserAndRoot) {
  give("plain", kStranger, 0);
  EXPECT_EQ(problemOf("plain"), (m_folder / "plain").native() + " belongs to 54321");
  give("plain", kDaemon, 0);
  EXPECT_EQ(problemOf("plain"), (m_folder / "plain").native() + " belongs to daemon");
  give("own", kStranger, 0);
  EXPECT_EQ(problemOf("own/manager"), (m_folder / "own").native() + " belongs to 54321");
}

TEST_F(TrustedOwnersTest, OfLinksMatterToo) {
  fs::create_symlink("plain", m_folder / "link");
  give("link", kStranger, 0);
  EXPECT_EQ(problemOf("link"), (m_folder / "link").native() + " belongs to 54321");
}

TEST_F(TrustedOwnersTest, MayShareTheirFilesWithTheGroupOfRootOnly) {
  permit("plain", 0664);
  give("plain", 0, 0);
  EXPECT_EQ(problemOf("plain"), "");
  give("plain", 0, kStranger);
  EXPECT_EQ(problemOf("plain"), "the group 54321 can write to " + (m_folder / "plain").native());
  permit("plain", 0644);
  EXPECT_EQ(problemOf("plain"), "");
}

TEST_F(TrustedOwnersTest, AreThoseWhoCanReplaceTheManager) {
  give("own", kStranger, 0);
  give("plain", kStranger, 0);
  m_ownFile = m_folder / "own/manager";
  EXPECT_EQ(problemOf("plain"), "");
  give("own", 0, kStranger);
  EXPECT_NE(problemOf("plain"), "");
  // The group can, too.
  permit("own", 0775);
  permit("plain", 0664);
  give("plain", 0, kStranger);
  EXPECT_EQ(problemOf("plain"), "");
  permit("own", 0755);
  EXPECT_NE(problemOf("plain"), "");
}

TEST_F(TrustedOwnersTest, MayShareTheirFilesWithTheirPrivateGroup) {
  give("own/manager", kDaemon, 0);
  m_ownFile = m_folder / "own/manager";
  permit("plain", 0664);
  give("plain", kDaemon, kDaemon);
  EXPECT_EQ(problemOf("plain"), "");
  give("plain", kDaemon, kStranger);
  EXPECT_THAT(problemOf("plain"), HasSubstr("the group 54321 can write to "));
  // Another user's private group.
  give("plain", kDaemon, kDaemon + 1);
  EXPECT_THAT(problemOf("plain"), HasSubstr("can write to "));
}

}  // namespace
