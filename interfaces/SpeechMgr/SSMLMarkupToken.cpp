// SPDX-License-Identifier: Apache-2.0
#include "SSMLMarkupToken.h"

#include <cstdio>

void SSMLMarkupToken::print() const {
  std::printf("SSML Token: \"%s\" \n", m_token.c_str());
}
