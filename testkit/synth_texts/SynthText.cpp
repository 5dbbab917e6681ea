// SPDX-License-Identifier: Apache-2.0
#include "synth_texts/SynthText.h"

#include <fstream>
#include <iterator>

namespace synth_texts {

std::optional<SynthText> readFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  SynthText text;
  if (!std::getline(stream, text.voice) || text.voice.empty()) return std::nullopt;
  text.text.assign(std::istreambuf_iterator<char>(stream), {});
  return text;
}

bool writeFile(const std::filesystem::path& file, const SynthText& text) {
  std::ofstream stream(file, std::ios::binary);
  stream << text.voice << '\n' << text.text;
  return static_cast<bool>(stream.flush());
}

std::optional<kavrel::Voice> voiceNamed(std::string_view name) {
  const std::size_t plus = name.find('+');
  std::string data = "format = 1\nname = any\nlanguage = ";
  data += name.substr(0, plus);
  if (plus != std::string_view::npos) data += "\nvariant = " + std::string(name.substr(plus + 1));
  data +=
      "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\npitch.spread = 0.54\n"
      "pitch.lowest = 68\npitch.highest = 170\n";
  kavrel::Voice voice;
  std::string why;
  if (!voice.parse(data, why)) return std::nullopt;
  return voice;
}

}  // namespace synth_texts
