// SPDX-License-Identifier: Apache-2.0
#include "SynthesizerPlugIn.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include <dlfcn.h>

#include "Places.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFileName = "KavrelSpeech.so";

// What the system says about its last failure with a library.
std::string loaderMessage() {
  const char* const message = dlerror();
  return message == nullptr ? "no reason given" : message;
}

// Looks names up in one library.
class Library {
 public:
  explicit Library(const fs::path& file) : m_file(file.string()) {
    std::error_code failure;
    if (!fs::exists(file, failure)) {
      throw PlugInError("The synthesizer " + m_file + " does not exist");
    }
    // The absolute name: the loader looks in folders of its own for one without a slash.
    m_handle = dlopen(fs::absolute(file, failure).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) {
      throw PlugInError("The synthesizer " + m_file + " cannot be loaded: " + loaderMessage());
    }
  }

  template <typename Function>
  void find(Function*& function, const char* name) const {
    function = reinterpret_cast<Function*>(dlsym(m_handle, name));
    if (function == nullptr) {
      throw PlugInError("The synthesizer " + m_file + " has no entry point " + name);
    }
  }

 private:
  std::string m_file;
  void* m_handle = nullptr;  // never closed
};

}  // namespace

SynthesizerPlugIn::SynthesizerPlugIn(const fs::path& file) {
  const Library library(file);
  library.find(m_entryPoints.openSpeechChannel, "SEOpenSpeechChannel");
  library.find(m_entryPoints.closeSpeechChannel, "SECloseSpeechChannel");
  library.find(m_entryPoints.speechStatus, "SESpeechStatus");
  library.find(m_entryPoints.stopSpeechAt, "SEStopSpeechAt");
  library.find(m_entryPoints.pauseSpeechAt, "SEPauseSpeechAt");
  library.find(m_entryPoints.continueSpeech, "SEContinueSpeech");
  library.find(m_entryPoints.textToPhonemes, "SETextToPhonemes");
  library.find(m_entryPoints.useDictionary, "SEUseDictionary");
  library.find(m_entryPoints.speakBuffer, "SESpeakBuffer");
  library.find(m_entryPoints.getSpeechInfo, "SEGetSpeechInfo");
  library.find(m_entryPoints.setSpeechInfo, "SESetSpeechInfo");
  library.find(m_entryPoints.useVoice, "SEUseVoice");
}

const SynthesizerPlugIn* SynthesizerPlugIn::shared() {
  static std::mutex lock;
  static const SynthesizerPlugIn* loaded = nullptr;  // never destroyed, like what it stands for

  const std::lock_guard held(lock);
  if (loaded != nullptr) return loaded;
  try {
    loaded = new SynthesizerPlugIn(locate());
  } catch (const PlugInError& reason) {
    std::fprintf(stderr, "%s.\n", reason.what());
  }
  return loaded;
}

fs::path SynthesizerPlugIn::locate() {
  std::vector<fs::path> folders = foldersFromEnvironment("SPEECH_SYNTHESIZER_PATH");
  const fs::path library = libraryFolder();
  if (!library.empty()) folders.push_back(library / KAVREL_SYNTHESIZERS_SUBDIR);

  std::string tried;
  for (const fs::path& folder : folders) {
    fs::path file = folder / kFileName;
    std::error_code failure;
    if (fs::exists(file, failure)) return file;
    if (!tried.empty()) tried += ", ";
    tried += folder.string();
  }
  throw PlugInError(std::string("There is no synthesizer: ") + kFileName + " is in none of " +
                    tried);
}

}  // namespace platform
