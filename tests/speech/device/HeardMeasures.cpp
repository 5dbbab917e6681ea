// SPDX-License-Identifier: Apache-2.0
#include "HeardMeasures.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "cst.h"

namespace test {

Lateness::~Lateness() {
  m_over = true;
  m_thread.join();
}

void Lateness::run() {
  while (!m_over) {
    const auto due = Clock::now() + std::chrono::milliseconds(3);
    std::this_thread::sleep_until(due);
    m_worst = std::max(m_worst.load(), inMilliseconds(Clock::now() - due));
  }
}

Diagnostics::Diagnostics() {
  const int file = open(m_folder.path("lines").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  EXPECT_GE(file, 0);
  m_saved = dup(STDERR_FILENO);
  dup2(file, STDERR_FILENO);
  close(file);
  cst_diag_mask = CST_DIAG_ENGINE;
  cst_diag_level = 1;
}

Diagnostics::~Diagnostics() {
  cst_diag_level = 0;
  dup2(m_saved, STDERR_FILENO);
  close(m_saved);
}

std::vector<std::string> Diagnostics::lines() const {
  std::vector<std::string> lines;
  std::ifstream input(m_folder.path("lines"));
  for (std::string line; std::getline(input, line);) lines.push_back(line);
  return lines;
}

}  // namespace test
