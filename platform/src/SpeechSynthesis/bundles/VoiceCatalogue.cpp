// SPDX-License-Identifier: Apache-2.0
//
// VoiceCatalogue: lists the bundles at construction; lookups are linear searches in the list of
// voices, which reads bundles where it ends.
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include <pthread.h>

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

// What shared() returns.
std::atomic<const VoiceCatalogue*> g_shared = nullptr;

}  // namespace

VoiceCatalogue::VoiceCatalogue(const std::vector<fs::path>& folders, TrustedPaths trusted)
    : m_trusted(std::move(trusted)) {
  const base::ScopedLock held(m_lock);
  for (const fs::path& folder : folders) addFolder(folder);
}

// A fork waits for a thread that reads bundles: the child could else never take the lock.
const VoiceCatalogue& VoiceCatalogue::shared() {
  // Never destroyed: channels may still speak while static objects are destroyed.
  static const VoiceCatalogue* const catalogue = [] {
    auto made = std::make_unique<const VoiceCatalogue>(searchFolders());
    // Before the handlers, which need it, can be called.
    g_shared = made.get();
    if (pthread_atfork(lockShared, unlockShared, unlockShared) != 0) throw std::bad_alloc();
    return made.release();
  }();
  return *catalogue;
}

void VoiceCatalogue::lockShared() {
  g_shared.load()->m_lock.lock();
}

void VoiceCatalogue::unlockShared() {
  g_shared.load()->m_lock.unlock();
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

const std::deque<Voice>& VoiceCatalogue::voices() const {
  const base::ScopedLock held(m_lock);
  while (readNext() != nullptr) continue;
  return m_voices;
}

const Voice* VoiceCatalogue::find(const VoiceSpec& spec) const {
  const base::ScopedLock held(m_lock);
  if (const Voice* const found = findRead(spec)) return found;
  while (const Voice* const voice = readNext()) {
    if (sameVoice(voice->spec, spec)) return voice;
  }
  return nullptr;
}

const Voice* VoiceCatalogue::defaultVoice() const {
  const base::ScopedLock held(m_lock);
  const Voice* english = nullptr;
  for (std::size_t i = 0;; ++i) {
    const Voice* const voice = i < m_voices.size() ? &m_voices[i] : readNext();
    if (voice == nullptr) break;
    if (voice->description.gender != kMale || voice->description.language != langEnglish) continue;
    if (voice->locale == "en_US") return voice;
    if (english == nullptr) english = voice;
  }
  if (english != nullptr) return english;
  return m_voices.empty() ? nullptr : &m_voices.front();
}

void VoiceCatalogue::addFolder(const fs::path& folder) {
  std::error_code failure;
  std::vector<fs::path> bundles;
  for (const fs::path& entry : pathsIn(folder)) {
    if (entry.extension() == kBundleSuffix) bundles.push_back(fs::absolute(entry, failure));
  }
  if (bundles.empty()) return;
  if (const auto reason = m_trusted.problemOf(folder)) {
    writeMessage("The voices in " + folder.string() + " are skipped: " + *reason);
    return;
  }
  m_bundles.insert(m_bundles.end(), bundles.begin(), bundles.end());
}

const Voice* VoiceCatalogue::readNext() const {
  while (m_read < m_bundles.size()) {
    const Voice* const voice = readBundle(m_bundles[m_read]);
    ++m_read;
    if (voice != nullptr) return voice;
  }
  return nullptr;
}

const Voice* VoiceCatalogue::findRead(const VoiceSpec& spec) const {
  const auto found = std::find_if(m_voices.begin(), m_voices.end(),
                                  [&](const Voice& voice) { return sameVoice(voice.spec, spec); });
  return found == m_voices.end() ? nullptr : &*found;
}

const Voice* VoiceCatalogue::readBundle(const fs::path& bundle) const {
  try {
    Voice voice = readVoice(bundle, m_trusted);
    if (const Voice* const earlier = findRead(voice.spec)) {
      // In an earlier folder it replaces this voice on purpose; in the same folder it is a mistake.
      if (earlier->bundle.parent_path() == bundle.parent_path()) {
        reportSkipped(bundle,
                      "its VoiceCreator and VoiceID are those of " + earlier->bundle.string());
      }
      return nullptr;
    }
    return &m_voices.emplace_back(std::move(voice));
  } catch (const BundleError& reason) {
    reportSkipped(bundle, reason.what());
    return nullptr;
  }
}

}  // namespace platform
