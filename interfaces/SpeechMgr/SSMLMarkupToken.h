// SPDX-License-Identifier: Apache-2.0
//
// SSMLMarkupToken: the markup that replaces an embedded command, and whether any was set.
//
// Threads: a value class without locks.
#pragma once

#include <string>
#include <utility>

class SSMLMarkupToken {
 public:
  SSMLMarkupToken() = default;
  virtual ~SSMLMarkupToken() = default;
  SSMLMarkupToken(const SSMLMarkupToken&) = default;
  SSMLMarkupToken& operator=(const SSMLMarkupToken&) = default;
  SSMLMarkupToken(SSMLMarkupToken&&) = default;
  SSMLMarkupToken& operator=(SSMLMarkupToken&&) = default;

  // Sets the markup. An empty string also counts as set.
  void setTokenString(std::string token) {
    m_token = std::move(token);
    m_inited = true;
  }
  std::string getTokenString() const { return m_token; }
  bool isInitialized() const { return m_inited; }

  // Debug dump to standard output.
  void print() const;

 private:
  std::string m_token;
  bool m_inited = false;
};
