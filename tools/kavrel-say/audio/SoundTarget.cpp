// SPDX-License-Identifier: Apache-2.0
#include "audio/SoundTarget.h"

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
#include "audio/SoundConversion.h"

namespace say {
namespace {

struct Descriptor {
  int number;
  ~Descriptor() { ::close(number); }
};

// Anything but a file on a disk. The Manager itself writes to a device well enough.
bool isStream(const std::string& path, bool isNative) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return false;
  return !isNative || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
}

[[noreturn]] void refuse(const std::string& path) {
  throw tool::Failure("cannot write " + path + ": " + std::strerror(errno));
}

void copy(int from, const Output& to) {
  std::array<char, 65536> piece{};
  off_t at = 0;
  for (;;) {
    const ssize_t count = ::pread(from, piece.data(), piece.size(), at);
    if (count < 0)
      throw tool::Failure(std::string("cannot copy the sound: ") + std::strerror(errno));
    if (count == 0) return;
    to.write({piece.data(), static_cast<std::size_t>(count)});
    at += count;
  }
}

std::string folderOf(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

}  // namespace

SoundTarget::SoundTarget(const std::string& path, const AudioFormat& format)
    : m_path(path), m_format(format) {
  if (path == kStandardStream) {
    if (::isatty(STDOUT_FILENO) == 1) {
      throw tool::Failure(
          "sound is not for a terminal; send standard output to a file or a program");
    }
    m_isStream = true;
  } else {
    m_file.emplace(path);
    m_isStream = isStream(path, format.isNative());
  }
  if (m_isStream || !format.isNative()) m_between.emplace(folderOf(path));
}

std::string SoundTarget::managersPath() const {
  return m_between ? m_between->path() : m_path;
}

void SoundTarget::discard() const {
  if (m_file) m_file->discard();
}

void SoundTarget::complete(const Interruption& interruption,
                           const std::function<bool()>& isStopped) const {
  if (m_isStream) {
    copyToStream(interruption, isStopped);
  } else if (m_between) {
    const Descriptor file{::open(m_path.c_str(), O_RDWR | O_CLOEXEC)};
    if (file.number < 0) refuse(m_path);
    convertSound(m_between->descriptor(), file.number, m_format, isStopped);
  } else {
    m_file->verify();
  }
}

void SoundTarget::copyToStream(const Interruption& interruption,
                               const std::function<bool()>& isStopped) const {
  const Descriptor stream{openStream()};
  if (stream.number < 0) refuse(m_path);
  const Output output(stream.number, m_file ? m_path : "standard output", interruption);
  if (m_format.isNative()) {
    copy(m_between->descriptor(), output);
    return;
  }
  const TemporaryFile converted(".");
  convertSound(m_between->descriptor(), converted.descriptor(), m_format, isStopped);
  copy(converted.descriptor(), output);
}

int SoundTarget::openStream() const {
  if (m_file) return ::open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
  return ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
}

}  // namespace say
