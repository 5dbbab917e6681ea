// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"

#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFURL.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <system_error>

#include <dlfcn.h>
#include <link.h>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/calls/Results.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

// The system's message about the last dlopen that failed. Throws std::bad_alloc if memory was the
// reason: then the library may load later. The message is all that the linker tells about that; it
// ends with the text of the system's error, and has another text if there is no memory for that.
std::string loaderMessage() {
  const char* const found = dlerror();
  std::string message = found == nullptr ? "no reason given" : found;
  if (message.ends_with(std::strerror(ENOMEM)) || message == "out of memory") {
    throw std::bad_alloc();
  }
  return message;
}

// True if `file` is a library of this machine's word size that ends before the contents that its
// headers announce. The dynamic linker maps such contents, and the process would end with SIGBUS.
// Whatever else is wrong with a file, the linker finds.
bool isTruncated(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  ElfW(Ehdr) header{};
  stream.read(reinterpret_cast<char*>(&header), sizeof header);
  constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  if (!stream || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_ident[EI_CLASS] != kClass || header.e_phentsize != sizeof(ElfW(Phdr))) {
    return false;
  }
  std::error_code failure;
  const std::uintmax_t size = fs::file_size(file, failure);
  stream.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (unsigned count = 0; count < header.e_phnum; ++count) {
    ElfW(Phdr) segment{};
    stream.read(reinterpret_cast<char*>(&segment), sizeof segment);
    if (!stream) return true;
    // The first test: the sum may overflow.
    const bool fits = segment.p_offset <= size && segment.p_filesz <= size - segment.p_offset;
    if (segment.p_type == PT_LOAD && !fits) return true;
  }
  return false;
}

// A library that is opened at construction and never closed.
class Library {
 public:
  explicit Library(const fs::path& file) : m_file(file.string()) {
    std::error_code failure;
    if (!fs::exists(file, failure)) {
      throw PlugInError("The synthesizer " + m_file + " does not exist");
    }
    // Opening a pipe would block.
    if (!fs::is_regular_file(file, failure)) cannotLoad("it is not a regular file");
    if (isTruncated(file)) cannotLoad("the file is truncated");
    // An absolute path: dlopen searches its own folders for a name without a slash. RTLD_NOW:
    // missing symbols are found here, not in the middle of speech. RTLD_LOCAL: synthesizers must
    // not use each other's symbols.
    m_handle = dlopen(fs::absolute(file, failure).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) cannotLoad(loaderMessage());
  }

  // Throws PlugInError if there is no such symbol.
  template <typename Function>
  void find(Function*& function, const char* name) const {
    function = reinterpret_cast<Function*>(dlsym(m_handle, name));
    if (function == nullptr) {
      throw PlugInError("The synthesizer " + m_file + " has no entry point " + name);
    }
  }

 private:
  [[noreturn]] void cannotLoad(const std::string& reason) const {
    throw PlugInError("The synthesizer " + m_file + " cannot be loaded: " + reason);
  }

  std::string m_file;
  void* m_handle = nullptr;  // never closed
};

}  // namespace

// All twelve are looked up now, so that no call can fail later for a missing one.
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

OSErr SynthesizerPlugIn::useVoice(SpeechChannelIdentifier channel, const Voice& voice) const {
  const std::string& path = voice.bundle.native();
  const Owned url(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
      static_cast<CFIndex>(path.size()), true));
  const Owned bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
  if (!bundle) {
    // Core Foundation does not say which of the two it is.
    std::error_code failure;
    if (fs::is_directory(voice.bundle, failure)) throw std::bad_alloc();
    return voiceNotFound;
  }
  VoiceSpec spec = voice.spec;
  return toClientResult(m_entryPoints.useVoice(channel, &spec, bundle.get()));
}

}  // namespace platform
