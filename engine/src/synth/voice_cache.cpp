// SPDX-License-Identifier: GPL-3.0-or-later
#include "synth/voice_cache.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "annotations.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"

namespace kavrel {

namespace {

// A data file is a few lines; anything larger is something else.
constexpr std::size_t kMaxFileBytes = 65536;

// A file that is open for reading; -1 when it could not be opened, with errno set.
class OpenFile {
 public:
  // Without waiting: a pipe without a writer would be waited for.
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

// Opening can do things to a device, so what is no file is not even opened.
bool isFile(const std::string& path, std::string& why) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    why = std::strerror(errno);
    return false;
  }
  if (!S_ISREG(status.st_mode)) why = "is not a file";
  return S_ISREG(status.st_mode);
}

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
  if (size > kMaxFileBytes) why = "is too long for a voice";
  return size <= kMaxFileBytes;
}

struct Cache {
  Mutex lock;
  // By folder and by what its data file says, so that a folder that changes gives a new voice and
  // leaves the old one to those who speak with it.
  std::map<std::pair<std::string, std::string>, const Voice*> voices GUARDED_BY(lock);
};

Cache& sharedCache() {
  static Cache& cache = *new Cache;
  return cache;
}

}  // namespace

const Voice& defaultVoice() {
  static const Voice& voice = *new Voice;
  return voice;
}

const Voice* loadVoice(const std::string& directory, std::string& why) {
  if (directory.empty()) {
    why = "the folder has no name";
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
    const Held held(cache.lock);
    if (const auto known = cache.voices.find(key); known != cache.voices.end()) {
      return known->second;
    }
  }
  auto voice = std::make_unique<Voice>();
  if (!voice->parse(text, why) || !Synthesiser::shared().hasVoice(*voice, why)) {
    why = printable(path) + ": " + why;
    return nullptr;
  }
  const Held held(cache.lock);
  const auto [entry, added] = cache.voices.try_emplace(key, voice.get());
  if (added) (void)voice.release();
  return entry->second;
}

}  // namespace kavrel
