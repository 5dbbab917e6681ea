// SPDX-License-Identifier: Apache-2.0
#include "audio/AudioTarget.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Failure.h"
#include "SayArguments.h"
#include "audio/AudioConversion.h"

namespace say {
namespace {

struct Descriptor {
  int number;
  ~Descriptor() { ::close(number); }
};

// Whether the target needs a copy through a pipe. The Manager writes AIFF to devices itself, but
// not to pipes and sockets; a converted file needs a copy for anything but a regular file.
bool isStream(const std::string& path, bool isNative) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return false;
  return !isNative || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
}

[[noreturn]] void throwCannotWrite(const std::string& path) {
  throw tool::Failure("cannot write " + path + ": " + std::strerror(errno));
}

// Reads with pread(): the descriptor's own offset is at the end after writing.
void copy(int from, const Output& to) {
  std::array<char, 65536> piece{};
  off_t at = 0;
  for (;;) {
    const ssize_t count = ::pread(from, piece.data(), piece.size(), at);
    if (count < 0)
      throw tool::Failure(std::string("cannot copy the audio: ") + std::strerror(errno));
    if (count == 0) return;
    to.write({piece.data(), static_cast<std::size_t>(count)});
    at += count;
  }
}

// A path without folder is in the current folder.
std::string folderOf(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

}  // namespace

AudioTarget::AudioTarget(const std::string& path, const AudioFormat& format)
    : m_path(path), m_format(format) {
  if (path == kStandardStream) {
    if (::isatty(STDOUT_FILENO) == 1) {
      throw tool::Failure(
          "cannot write audio to a terminal; redirect standard output to a file or a program");
    }
    m_isStream = true;
  } else {
    // Creates the file before anything is spoken, so that a wrong path is reported immediately.
    m_file.emplace(path);
    m_isStream = isStream(path, format.isNative());
  }
  // In the target's folder: it usually has room for the audio, /tmp may be small.
  if (m_isStream || !format.isNative()) m_intermediate.emplace(folderOf(path));
}

std::string AudioTarget::pathForManager() const {
  return m_intermediate ? m_intermediate->path() : m_path;
}

void AudioTarget::discard() const {
  if (m_file) m_file->discard();
}

// A target that the Manager wrote itself is only checked.
void AudioTarget::complete(const Interruption& interruption,
                           const std::function<bool()>& isStopped) const {
  if (m_isStream) {
    copyToStream(interruption, isStopped);
  } else if (m_intermediate) {
    const Descriptor file{::open(m_path.c_str(), O_RDWR | O_CLOEXEC)};
    if (file.number < 0) throwCannotWrite(m_path);
    convertAudio(m_intermediate->descriptor(), file.number, m_format, isStopped);
  } else {
    m_file->verify();
  }
}

// Converting needs a seekable file, so another format takes a second temporary file.
void AudioTarget::copyToStream(const Interruption& interruption,
                               const std::function<bool()>& isStopped) const {
  const Descriptor stream{openStream()};
  if (stream.number < 0) throwCannotWrite(m_path);
  const Output output(stream.number, m_file ? m_path : "standard output", interruption);
  if (m_format.isNative()) {
    copy(m_intermediate->descriptor(), output);
    return;
  }
  const TemporaryFile converted(".");
  convertAudio(m_intermediate->descriptor(), converted.descriptor(), m_format, isStopped);
  copy(converted.descriptor(), output);
}

// Returns a descriptor of its own for standard output, too, so that the caller can always close it.
int AudioTarget::openStream() const {
  if (m_file) return ::open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
  return ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
}

}  // namespace say
