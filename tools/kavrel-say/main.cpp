// SPDX-License-Identifier: Apache-2.0
//
// kavrel-say: speaks text with the Speech Synthesis Manager, as any of its clients does.
#include <cstdio>
#include <optional>
#include <variant>

#include "Arguments.h"
#include "EventWriter.h"
#include "Failure.h"
#include "Guard.h"
#include "InputText.h"
#include "OutputFile.h"
#include "SignalWatch.h"
#include "Speech.h"
#include "SpokenText.h"
#include "StandardOutput.h"
#include "Voices.h"

namespace say {
namespace {

// The signal that ended the speech; 0 for none.
int speak(const Arguments& arguments, const tool::SpokenText& text) {
  std::optional<VoiceSpec> voice;
  if (arguments.voice) voice = voiceNamed(*arguments.voice);
  EventWriter events(text);

  // Before the Manager starts threads.
  const HeldSignals signals;
  Speech speech(voice);
  if (arguments.rate) speech.setRate(*arguments.rate);
  if (arguments.outputFile) speech.setOutputFile(*arguments.outputFile);
  if (arguments.events) speech.addListener(events);
  const SignalWatch watch(signals, [&speech] { speech.stop(); });
  speech.start(text);
  speech.waitForEnd();
  return watch.received();
}

int speakToFile(const Arguments& arguments, const tool::SpokenText& text) {
  const OutputFile file(*arguments.outputFile);
  try {
    const int signal = speak(arguments, text);
    if (signal == 0) file.verify();
    return signal;
  } catch (...) {
    file.discard();
    throw;
  }
}

int run(const Arguments& arguments) {
  if (arguments.listVoices) {
    tool::writeOut(voiceList());
    return tool::kSuccess;
  }
  const tool::SpokenText text(arguments.text ? *arguments.text
                                             : tool::readInput(arguments.inputFile.value_or("-")));
  const int signal = arguments.outputFile ? speakToFile(arguments, text) : speak(arguments, text);
  if (signal != 0) endBySignal(signal);
  return tool::kSuccess;
}

int runWith(int count, char** arguments) {
  const auto asked = readArguments(count, arguments);
  if (const int* const status = std::get_if<int>(&asked)) return *status;
  return run(std::get<Arguments>(asked));
}

}  // namespace
}  // namespace say

int main(int count, char** arguments) {
  return tool::guarded("kavrel-say", [&] { return say::runWith(count, arguments); });
}
