// SPDX-License-Identifier: GPL-3.0-or-later
#include "file_sink.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include "synthesiser.h"

namespace kavrel {

namespace {

constexpr std::size_t kBlockSamples = 8192;
// Sizes in the file's head are 32-bit numbers with a sign.
constexpr std::uint64_t kMaxBytes = 0x7FFF0000;

}  // namespace

struct FileSink::Encoder {
  explicit Encoder(SNDFILE* opened) : file(opened) {}
  ~Encoder() { close(); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  bool close() {
    SNDFILE* const closing = std::exchange(file, nullptr);
    return closing == nullptr || sf_close(closing) == 0;
  }

  SNDFILE* file;
};

std::unique_ptr<FileSink> FileSink::open(const std::string& path, std::string& why) {
  // Without waiting: a pipe that nobody reads must not hold the caller up.
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
  if (file < 0) {
    why = path + ": " + std::strerror(errno);
    return nullptr;
  }
  struct stat status {};
  if (::fstat(file, &status) != 0 || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) {
    why = path + ": is not a file";
    ::close(file);
    return nullptr;
  }
  return std::unique_ptr<FileSink>(new FileSink(file, path));
}

FileSink::FileSink(int file, std::string path) : m_path(std::move(path)), m_file(file) {}

FileSink::~FileSink() {
  if (m_file >= 0) ::close(m_file);
}

bool FileSink::begin() {
  if (m_encoder != nullptr) return true;
  struct stat status {};
  if (::fstat(m_file, &status) == 0 && S_ISREG(status.st_mode) && ::ftruncate(m_file, 0) != 0) {
    return refuse(std::strerror(errno));
  }
  SF_INFO info{};
  info.samplerate = kSampleRate;
  info.channels = 1;
  info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;  // big-endian by nature
  SNDFILE* const opened = sf_open_fd(std::exchange(m_file, -1), SFM_WRITE, &info, SF_TRUE);
  if (opened == nullptr) {
    return refuse(sf_strerror(nullptr));
  }
  m_encoder = std::make_unique<Encoder>(opened);
  sf_command(opened, SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
  return true;
}

bool FileSink::flush() {
  if (!begin()) return false;
  if (m_block.empty()) return true;
  const auto count = static_cast<sf_count_t>(m_block.size());
  m_bytes += m_block.size() * sizeof(m_block[0]);
  if (m_bytes > kMaxBytes) {
    return refuse("the file cannot be any larger");
  }
  if (sf_write_short(m_encoder->file, m_block.data(), count) != count) {
    return refuse(sf_strerror(m_encoder->file));
  }
  m_block.clear();
  return true;
}

bool FileSink::write(std::span<const std::int16_t> samples) {
  m_block.insert(m_block.end(), samples.begin(), samples.end());
  return m_block.size() < kBlockSamples || flush();
}

bool FileSink::refuse(const std::string& why) {
  m_error = m_path + ": " + why;
  return false;
}

void FileSink::advance(std::uint64_t count) {
  m_heard += count;
}

std::uint64_t FileSink::lead() const {
  return 0;
}

std::uint64_t FileSink::heard() {
  return m_heard;
}

Clock::time_point FileSink::dueAt(std::uint64_t /*position*/) {
  return Clock::time_point::min();
}

void FileSink::pause() {}

void FileSink::resume() {}

std::uint64_t FileSink::takeBack(std::uint64_t /*position*/) {
  return m_heard;
}

bool FileSink::finish() {
  if (!m_error.empty()) return false;
  if (!flush()) return false;
  if (m_encoder->close()) return true;
  return refuse("the file could not be closed");
}

}  // namespace kavrel
