// SPDX-License-Identifier: Apache-2.0
#include "synth/voice_cache.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/threads/Mutex.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"

namespace kavrel {

namespace {

// A data file is a few lines; a larger file is not a voice.
constexpr std::size_t kMaxFileBytes = 65536;

// RAII guard of a file that is open for reading; its number is -1, with errno set, on failure.
class OpenFile {
 public:
  // O_NONBLOCK: opening a pipe without a writer would block.
  explicit OpenFile(const std::string& path)
      : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
  ~OpenFile() {
    if (m_file >= 0) ::close(m_file);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int number() const { return m_file; }

 private:
  int m_file;
};

// Opening a device can have side effects, so only regular files are opened.
bool isFile(const std::string& path, std::string& why) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    why = std::strerror(errno);
    return false;
  }
  if (!S_ISREG(status.st_mode)) why = "is not a regular file";
  return S_ISREG(status.st_mode);
}

// Reads at most one byte more than the limit, to find files that are too large.
bool readFile(const std::string& path, std::string& text, std::string& why) {
  if (!isFile(path, why)) return false;
  const OpenFile file(path);
  text.resize(kMaxFileBytes + 1);
  std::size_t size = 0;
  ssize_t count = file.number() >= 0 ? 1 : -1;
  while (count > 0 && size < text.size()) {
    count = ::read(file.number(), text.data() + size, text.size() - size);
    if (count > 0) size += static_cast<std::size_t>(count);
    if (count < 0 && errno == EINTR) count = 1;
  }
  if (count < 0) {
    why = std::strerror(errno);
    return false;
  }
  text.resize(size);
  if (size > kMaxFileBytes) why = "is too large for a voice";
  return size <= kMaxFileBytes;
}

struct Cache {
  base::Mutex lock;
  // By folder and contents of its data file: a folder that changes gives a new voice, and jobs that
  // speak with the old one are not affected.
  std::map<std::pair<std::string, std::string>, const Voice*> voices GUARDED_BY(lock);
};

// Never destroyed: threads may speak while the process exits.
Cache& sharedCache() {
  static Cache& cache = *new Cache;
  return cache;
}

}  // namespace

const Voice& defaultVoice() {
  static const Voice& voice = *new Voice;
  return voice;
}

// The lock is not held while the voice is checked, since that may wait for the synthesiser. If two
// threads load the same voice at the same time, the first result is kept.
const Voice* loadVoice(const std::string& directory, std::string& why) {
  if (directory.empty()) {
    why = "the folder name is empty";
    return nullptr;
  }
  const std::string path = directory + "/kavrel.voice";
  std::string text;
  if (!readFile(path, text, why)) {
    why = printable(path) + ": " + why;
    return nullptr;
  }
  Cache& cache = sharedCache();
  const std::pair key(directory, text);
  {
    const base::ScopedLock held(cache.lock);
    if (const auto known = cache.voices.find(key); known != cache.voices.end()) {
      return known->second;
    }
  }
  auto voice = std::make_unique<Voice>();
  if (!voice->parse(text, why) || !Synthesiser::shared().hasVoice(*voice, why)) {
    why = printable(path) + ": " + why;
    return nullptr;
  }
  voice->setFolder(directory);
  const base::ScopedLock held(cache.lock);
  const auto [entry, added] = cache.voices.try_emplace(key, voice.get());
  if (added) (void)voice.release();
  return entry->second;
}

}  // namespace kavrel
