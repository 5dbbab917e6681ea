// SPDX-License-Identifier: Apache-2.0
//
// Diagnostic lines. Standard error is a datagram socket here, so that each write is received as one
// message.
#include <cerrno>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "cst.h"
#include "text/sentence.h"

namespace {

class Diagnostics : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, m_sockets), 0);
    m_standardError = dup(STDERR_FILENO);
    dup2(m_sockets[1], STDERR_FILENO);
  }

  void TearDown() override {
    restore();
    close(m_sockets[0]);
    close(m_sockets[1]);
  }

  void restore() {
    if (m_standardError < 0) return;
    dup2(m_standardError, STDERR_FILENO);
    close(m_standardError);
    m_standardError = -1;
  }

  // The text written so far, one string per write.
  std::vector<std::string> writes() {
    std::vector<std::string> all;
    std::string buffer(1 << 17, '\0');
    for (;;) {
      const ssize_t got = recv(m_sockets[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (got < 0) return all;
      all.push_back(buffer.substr(0, static_cast<size_t>(got)));
    }
  }

 private:
  int m_sockets[2] = {-1, -1};
  int m_standardError = -1;
};

}  // namespace

TEST_F(Diagnostics, AreSwitchedOffAtStart) {
  EXPECT_EQ(cst_diag_mask, 0u);
  EXPECT_EQ(cst_diag_level, 0);
}

TEST_F(Diagnostics, WriteALineAtOnce) {
  cst_dbg_timestamp();
  cst_dbg_ffl("File", "function", 17);
  cst_dbg_context(CST_DIAG_CHANNELS);
  EXPECT_EQ(writes().size(), 0u);
  cst_errmsg("Close Channel ID: %d\n", 42);
  const auto lines = writes();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(
      std::regex_match(lines[0], std::regex("\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d File:function:17 "
                                            "\\[channels\\] Close Channel ID: 42\n")))
      << lines[0];
}

TEST_F(Diagnostics, UseEachPrefixOnce) {
  cst_dbg_ffl("File", "function", 17);
  cst_errmsg("first\n");
  cst_errmsg("second\n");
  EXPECT_EQ(writes(), (std::vector<std::string>{"File:function:17 first\n", "second\n"}));
}

TEST_F(Diagnostics, NameTheArea) {
  for (const unsigned area : {CST_DIAG_MARKUP, CST_DIAG_ENGINE, 0x40u}) {
    cst_dbg_context(area);
    cst_errmsg("x\n");
  }
  EXPECT_EQ(writes(), (std::vector<std::string>{"[markup] x\n", "[engine] x\n", "[0x40] x\n"}));
}

// The plug-in writes a line in two parts: the second one is the description of a bundle.
TEST_F(Diagnostics, AddNoLineFeed) {
  cst_dbg_ffl("File", "function", 17);
  cst_errmsg("voice bundle info: ");
  cst_errmsg("%s", "");
  cst_errmsg("/voices/Ava\n");
  const auto parts = writes();
  std::string written;
  for (const std::string& part : parts) written += part;
  EXPECT_EQ(written, "File:function:17 voice bundle info: /voices/Ava\n");
}

TEST_F(Diagnostics, WriteMessagesOfEveryLengthWhole) {
  for (size_t length = 900; length < 1100; ++length) {
    const std::string message(length, 'm');
    cst_dbg_ffl("File", "function", 1);
    cst_errmsg("%s\n", message.c_str());
    cst_dbg_ffl("File", "function", 1);
    cst_errmsg("%s", message.c_str());
    const auto lines = writes();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "File:function:1 " + message + "\n");
    EXPECT_EQ(lines[1], "File:function:1 " + message);
  }
}

TEST_F(Diagnostics, CutOverlongNames) {
  const std::string name(1000, 'n');
  cst_dbg_ffl(name.c_str(), name.c_str(), 1);
  cst_errmsg("message\n");
  const auto lines = writes();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].ends_with("nnmessage\n"));
}

TEST_F(Diagnostics, AcceptNullNames) {
  cst_dbg_ffl(nullptr, nullptr, 3);
  cst_errmsg("x\n");
  EXPECT_EQ(writes(), (std::vector<std::string>{"::3 x\n"}));
}

TEST_F(Diagnostics, KeepPrefixesPerThread) {
  cst_dbg_ffl("Mine", "f", 1);
  std::thread([] {
    cst_dbg_ffl("Other", "g", 2);
    cst_errmsg("theirs\n");
  }).join();
  cst_errmsg("mine\n");
  EXPECT_EQ(writes(), (std::vector<std::string>{"Other:g:2 theirs\n", "Mine:f:1 mine\n"}));
}

TEST_F(Diagnostics, PreserveErrno) {
  errno = ENOENT;
  cst_errmsg("x\n");
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(Diagnostics, NameThePhonesThatNobodyKnows) {
  cst_diag_mask = CST_DIAG_ENGINE;
  cst_diag_level = 2;
  kavrel::SentenceReader reader("One. <phoneme ph='b qq ae1'>two</phoneme>");
  kavrel::Sentence sentence;
  while (reader.next(sentence)) {
  }
  cst_diag_mask = 0;
  cst_diag_level = 0;
  const auto lines = writes();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].ends_with("[engine] unknown phone \"qq\" (element at byte 5)\n"))
      << lines[0];
}
