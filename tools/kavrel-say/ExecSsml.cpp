// SPDX-License-Identifier: Apache-2.0
#include "ExecSsml.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include "Failure.h"
#include "audio/TemporaryFile.h"
#include "screen/Output.h"

namespace say {

// The text is passed as standard input as the Manager gets it, so that --plain has the same effect
// as when the text is spoken. An unnamed file holds it:
// a pipe would need a second process to fill it.
void execKavrelSsml(const tool::SpokenText& text, std::optional<int> rate, bool isStrict) {
  const TemporaryFile file(".");
  const Interruption never;  // signals still end the program here
  Output(file.descriptor(), "the text", never).write(text.spoken());
  ::lseek(file.descriptor(), 0, SEEK_SET);
  ::dup2(file.descriptor(), STDIN_FILENO);

  // The program beside this one, not one of PATH: both must be of the same version.
  const std::string program =
      std::filesystem::read_symlink("/proc/self/exe").replace_filename("kavrel-ssml");
  // kavrel-ssml inserts all settings of a channel if at least one is given. 100 is the default.
  std::vector<std::string> words = {"kavrel-ssml", "--volume", "100"};
  if (!isStrict) words.emplace_back("--adapt");
  if (rate) words.insert(words.end(), {"--rate", std::to_string(*rate)});
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  ::execv(program.c_str(), arguments.data());
  throw tool::Failure("cannot run " + program + ": " + std::strerror(errno));
}

}  // namespace say
