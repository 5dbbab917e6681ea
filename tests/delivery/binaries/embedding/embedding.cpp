// SPDX-License-Identifier: Apache-2.0
//
// Links to the plug-in's code and uses it without loading a plug-in.
#include <cstdio>

#include <AppleMarkupConverter.h>
#include <KavrelSpeechEngine.h>

int main() {
  SpeechChannelIdentifier channel = 0;
  if (SEOpenSpeechChannel(&channel) != noErr) return 1;
  AppleMarkupConverter converter("a [[slnc 300]]pause", AppleMarkupConverter::SSML);
  std::puts(converter.getConvertedText().c_str());
  return SECloseSpeechChannel(channel) == noErr ? 0 : 1;
}
