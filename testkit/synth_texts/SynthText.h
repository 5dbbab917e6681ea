// SPDX-License-Identifier: Apache-2.0
//
// A text with the voice that speaks it. In a file, the first line is the voice in the synthesiser's
// notation ("da+f3"), and the rest is the text: UTF-8, with the engine's markup.
//
// Functions are safe on any thread. They may throw std::bad_alloc.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "synth/voice.h"

namespace synth_texts {

struct SynthText {
  std::string voice;
  std::string text;

  bool operator==(const SynthText&) const = default;
};

// Returns nullopt if there is no such file, or its first line is empty.
std::optional<SynthText> readFile(const std::filesystem::path& file);
// Returns false if the file cannot be written.
bool writeFile(const std::filesystem::path& file, const SynthText& text);

// Returns the voice with this name, with the pitch of the engine's own default voice; nullopt if
// the engine accepts no voice of that name.
std::optional<kavrel::Voice> voiceNamed(std::string_view name);

}  // namespace synth_texts
