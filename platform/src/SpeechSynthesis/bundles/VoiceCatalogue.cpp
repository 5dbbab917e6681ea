// SPDX-License-Identifier: Apache-2.0
//
// VoiceCatalogue: reads all bundles at construction; lookups are linear searches in the list.
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

#include <algorithm>
#include <system_error>

#include "SpeechSynthesis/bundles/SearchPaths.h"
#include "SpeechSynthesis/bundles/VoiceDescriptionReader.h"
#include "SpeechSynthesis/calls/StandardError.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBundleSuffix = ".SpeechVoice";

bool sameVoice(const VoiceSpec& a, const VoiceSpec& b) {
  return a.creator == b.creator && a.id == b.id;
}

void reportSkipped(const fs::path& bundle, const std::string& reason) {
  writeMessage("Voice " + bundle.string() + " is skipped: " + reason);
}

}  // namespace

VoiceCatalogue::VoiceCatalogue(const std::vector<fs::path>& folders, TrustedPaths trusted) {
  for (const fs::path& folder : folders) addFolder(folder, trusted);
}

const VoiceCatalogue& VoiceCatalogue::shared() {
  // Never destroyed: channels may still speak while static objects are destroyed.
  static const auto* const catalogue = new VoiceCatalogue(searchFolders());
  return *catalogue;
}

std::vector<fs::path> VoiceCatalogue::searchFolders() {
  std::vector<fs::path> folders = foldersInVariable("SPEECH_VOICE_PATH");
  if (const fs::path data = userDataFolder(); !data.empty()) {
    folders.push_back(data / KAVREL_VOICES_SUBDIR);
  }
  const fs::path library = managerLibraryFolder();
  if (library.empty()) return folders;
  // The data folder relative to the library's folder: in the build tree, and in an installation.
  for (const char* const data : {"../share", KAVREL_DATA_FROM_LIB}) {
    fs::path folder = (library / data / KAVREL_VOICES_SUBDIR).lexically_normal();
    // In an installation both may be the same folder; reading it twice would report every voice.
    if (std::find(folders.begin(), folders.end(), folder) == folders.end()) {
      folders.push_back(std::move(folder));
    }
  }
  return folders;
}

const Voice* VoiceCatalogue::find(const VoiceSpec& spec) const {
  const auto found = std::find_if(m_voices.begin(), m_voices.end(),
                                  [&](const Voice& voice) { return sameVoice(voice.spec, spec); });
  return found == m_voices.end() ? nullptr : &*found;
}

const Voice* VoiceCatalogue::defaultVoice() const {
  const Voice* english = nullptr;
  for (const Voice& voice : m_voices) {
    if (voice.description.gender != kMale || voice.description.language != langEnglish) continue;
    if (voice.locale == "en_US") return &voice;
    if (english == nullptr) english = &voice;
  }
  if (english != nullptr) return english;
  return m_voices.empty() ? nullptr : &m_voices.front();
}

void VoiceCatalogue::addFolder(const fs::path& folder, TrustedPaths& trusted) {
  std::error_code failure;
  std::vector<fs::path> bundles;
  for (const fs::path& entry : pathsIn(folder)) {
    if (entry.extension() == kBundleSuffix) bundles.push_back(fs::absolute(entry, failure));
  }
  if (bundles.empty()) return;
  if (const auto reason = trusted.problemOf(folder)) {
    writeMessage("The voices in " + folder.string() + " are skipped: " + *reason);
    return;
  }
  for (const fs::path& bundle : bundles) addBundle(bundle, trusted);
}

void VoiceCatalogue::addBundle(const fs::path& bundle, TrustedPaths& trusted) {
  try {
    Voice voice = readVoice(bundle, trusted);
    if (const Voice* const earlier = find(voice.spec)) {
      // In an earlier folder it replaces this voice on purpose; in the same folder it is a mistake.
      if (earlier->bundle.parent_path() == bundle.parent_path()) {
        reportSkipped(bundle,
                      "its VoiceCreator and VoiceID are those of " + earlier->bundle.string());
      }
      return;
    }
    m_voices.push_back(std::move(voice));
  } catch (const BundleError& reason) {
    reportSkipped(bundle, reason.what());
  }
}

}  // namespace platform
