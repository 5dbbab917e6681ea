// SPDX-License-Identifier: Apache-2.0
//
// Runs the tests of ports with a sound device: starts a server for them.
#include <gtest/gtest.h>

#include "SoundServer.h"

namespace {

class OnADevice : public testing::Environment {
 public:
  void SetUp() override { m_server = std::make_unique<test::SoundServer>(); }
  void TearDown() override { m_server.reset(); }

 private:
  std::unique_ptr<test::SoundServer> m_server;
};

const testing::Environment* const registered = testing::AddGlobalTestEnvironment(new OnADevice);

}  // namespace
