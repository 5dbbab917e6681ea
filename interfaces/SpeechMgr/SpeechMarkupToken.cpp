// SPDX-License-Identifier: Apache-2.0
#include "SpeechMarkupToken.h"

#include <cstdio>

void SpeechMarkupToken::print() {
  std::printf("Start Position: %d\n", m_startPos);
  m_oAppleMarkupToken.print();
  m_oSSMLMarkupToken.print();
  std::printf("\n");
}
