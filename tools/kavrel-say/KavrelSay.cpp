// SPDX-License-Identifier: Apache-2.0
//
// kavrel-say: speaks text with the Speech Synthesis Manager, as any of its clients does.
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Failure.h"
#include "Guard.h"
#include "InputText.h"
#include "SayArguments.h"
#include "SpokenText.h"
#include "SsmlProgram.h"
#include "StandardOutput.h"
#include "audio/AudioFormat.h"
#include "audio/SoundDevices.h"
#include "screen/Highlight.h"
#include "speech/SignalWatch.h"
#include "speech/TypedLines.h"
#include "speech/Utterance.h"
#include "speech/Voices.h"

namespace say {
namespace {

std::string listed(const Arguments& arguments) {
  switch (arguments.list) {
    case List::Voices:
      return voiceList();
    case List::Devices:
      return soundDeviceList();
    case List::FileFormats:
      return fileFormatList();
    case List::DataFormats:
      return dataFormatList(arguments.outputFile.value_or(""), arguments.fileFormat);
    case List::Highlights:
      return highlightList();
    default:
      return {};
  }
}

tool::SpokenText spoken(const Arguments& arguments, std::string text) {
  return tool::SpokenText(std::move(text),
                          arguments.plain ? tool::Brackets::Text : tool::Brackets::Command);
}

// The status of a file on a disk that the text is read from.
std::optional<struct stat> inputStatus(const Arguments& arguments) {
  if (arguments.text) return std::nullopt;
  struct stat status {};
  const std::string path = arguments.inputFile.value_or(kStandardStream);
  const int result =
      path == kStandardStream ? ::fstat(STDIN_FILENO, &status) : ::stat(path.c_str(), &status);
  if (result != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return status;
}

// Nobody wants a text to be overwritten by its own speech.
void requireOtherThanInput(const Arguments& arguments) {
  const auto input = inputStatus(arguments);
  if (!input) return;
  for (const auto& path : {arguments.outputFile, arguments.vttFile, arguments.srtFile}) {
    struct stat output {};
    if (!path || ::stat(path->c_str(), &output) != 0) continue;
    if (output.st_dev == input->st_dev && output.st_ino == input->st_ino) {
      throw tool::Failure(*path + " holds the text; write to another file");
    }
  }
}

int speakTyped(const Arguments& arguments) {
  TypedLines lines;
  std::size_t first = 0;
  while (auto line = lines.next()) {
    const tool::SpokenText text = spoken(arguments, std::move(*line));
    Utterance utterance(arguments, text, first);
    if (const int signal = utterance.speak(); signal != 0) return signal;
    first = utterance.end();
  }
  return 0;
}

int speakWhole(const Arguments& arguments) {
  requireOtherThanInput(arguments);
  const tool::SpokenText text = spoken(
      arguments, arguments.text ? *arguments.text
                                : tool::readInput(arguments.inputFile.value_or(kStandardStream)));
  if (arguments.ssml) becomeSsmlProgram(text, arguments.rate);
  return Utterance(arguments, text, 0).speak();
}

int run(const Arguments& arguments) {
  if (arguments.list != List::None) {
    tool::writeOut(listed(arguments));
    return tool::kSuccess;
  }
  if (arguments.device && !arguments.outputFile) useSoundDevice(*arguments.device);
  const bool isTyped = !arguments.text && !arguments.inputFile && TypedLines::areThere();
  const bool isOneFile = arguments.outputFile || arguments.vttFile || arguments.srtFile;
  const int signal =
      isTyped && !isOneFile && !arguments.ssml ? speakTyped(arguments) : speakWhole(arguments);
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
