// SPDX-License-Identifier: Apache-2.0
//
// kavrel-say: speaks text with the Speech Synthesis Manager.
//
// Reads the command line, then runs one Utterance for the whole text, or one for each typed line.
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ExecSsml.h"
#include "Failure.h"
#include "InputText.h"
#include "RunTool.h"
#include "SayArguments.h"
#include "SpokenText.h"
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

// Returns the list that an option asks for with "?".
std::string makeList(const SayArguments& arguments) {
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

// Converts the text for the Manager. With --plain "[[" has no effect.
tool::SpokenText makeSpokenText(const SayArguments& arguments, std::string text) {
  return tool::SpokenText(std::move(text),
                          arguments.plain ? tool::Brackets::Text : tool::Brackets::Command);
}

// The status of the input if it is a regular file; nothing for other input.
std::optional<struct stat> inputStatus(const SayArguments& arguments) {
  if (arguments.text) return std::nullopt;
  struct stat status {};
  const std::string path = arguments.inputFile.value_or(kStandardStream);
  const int result =
      path == kStandardStream ? ::fstat(STDIN_FILENO, &status) : ::stat(path.c_str(), &status);
  if (result != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return status;
}

// Throws Failure if an output is the input file, also under another name: opening the output would
// destroy the text. Compares device and inode for that reason.
void requireOutputsDifferFromInput(const SayArguments& arguments) {
  const auto input = inputStatus(arguments);
  if (!input) return;
  for (const auto& path : {arguments.outputFile, arguments.vttFile, arguments.srtFile}) {
    struct stat output {};
    // An output that does not exist yet cannot be the input.
    if (!path || ::stat(path->c_str(), &output) != 0) continue;
    if (output.st_dev == input->st_dev && output.st_ino == input->st_ino) {
      throw tool::Failure(*path + " is the input file; choose another output file");
    }
  }
}

// Speaks each line when it is complete. Positions count from the start of the first line. Returns
// the signal that ended the program, 0 for none.
int speakTyped(const SayArguments& arguments) {
  TypedLines lines;
  std::size_t first = 0;
  while (auto line = lines.next()) {
    const tool::SpokenText text = makeSpokenText(arguments, std::move(*line));
    // A channel for each line: a line that changes rate or voice does not affect the next one.
    Utterance utterance(arguments, text, first);
    if (const int signal = utterance.speak(); signal != 0) return signal;
    first = utterance.end();
  }
  return 0;
}

// Speaks all of the input as one text. Returns the signal that ended the program, 0 for none.
int speakWhole(const SayArguments& arguments) {
  requireOutputsDifferFromInput(arguments);
  const tool::SpokenText text = makeSpokenText(
      arguments, arguments.text ? *arguments.text
                                : tool::readInput(arguments.inputFile.value_or(kStandardStream)));
  if (arguments.ssml) execKavrelSsml(text, arguments.rate, arguments.strict);
  return Utterance(arguments, text, 0).speak();
}

// Writes the requested list, or speaks. Returns the exit status.
int run(const SayArguments& arguments) {
  if (arguments.list != List::None) {
    tool::writeOut(makeList(arguments));
    return tool::kSuccess;
  }
  // A file needs no device, so an unknown one is not an error then.
  if (arguments.device && !arguments.outputFile) useSoundDevice(*arguments.device);
  // A file is one text: with a file output, typed lines are read to the end first.
  const bool isTyped = !arguments.text && !arguments.inputFile && TypedLines::isTerminal();
  const bool isOneFile = arguments.outputFile || arguments.vttFile || arguments.srtFile;
  const int signal =
      isTyped && !isOneFile && !arguments.ssml ? speakTyped(arguments) : speakWhole(arguments);
  // The parent process must see the signal as the reason, so a status is not enough.
  if (signal != 0) endBySignal(signal);
  return tool::kSuccess;
}

int runWith(int count, char** arguments) {
  const auto asked = readArguments(count, arguments);
  if (const int* const status = std::get_if<int>(&asked)) return *status;
  return run(std::get<SayArguments>(asked));
}

}  // namespace
}  // namespace say

int main(int count, char** arguments) {
  return tool::runTool("kavrel-say", [&] { return say::runWith(count, arguments); });
}
