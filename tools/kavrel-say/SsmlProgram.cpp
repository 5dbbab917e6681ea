// SPDX-License-Identifier: Apache-2.0
#include "SsmlProgram.h"

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

void becomeSsmlProgram(const tool::SpokenText& text, std::optional<int> rate) {
  const TemporaryFile file(".");
  const Interruption never;
  Output(file.descriptor(), "the text", never).write(text.macRoman());
  ::lseek(file.descriptor(), 0, SEEK_SET);
  ::dup2(file.descriptor(), STDIN_FILENO);

  const std::string program =
      std::filesystem::read_symlink("/proc/self/exe").replace_filename("kavrel-ssml");
  // One setting is enough for all of a channel's to stand in front of the text.
  std::vector<std::string> words = {"kavrel-ssml", "--from", "macroman", "--volume", "100"};
  if (rate) words.insert(words.end(), {"--rate", std::to_string(*rate)});
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  ::execv(program.c_str(), arguments.data());
  throw tool::Failure("--ssml needs " + program + ": " + std::strerror(errno));
}

}  // namespace say
