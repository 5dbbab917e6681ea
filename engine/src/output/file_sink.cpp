// SPDX-License-Identifier: Apache-2.0
#include "output/file_sink.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sample_rate.h"

namespace kavrel {

namespace {

// Samples per write; what a killed process can lose at most.
constexpr std::size_t kBlockSamples = 16384;
constexpr std::size_t kHeaderSize = 54;
constexpr std::size_t kSampleSize = 2;

// The header of an AIFF file: FORM and COMM chunks, and the start of the SSND chunk.
class AiffHeader {
 public:
  // `samples`: the number of samples after the header.
  explicit AiffHeader(std::uint64_t samples) {
    const std::uint64_t size = samples * kSampleSize;
    name("FORM");
    number(kHeaderSize - 8 + size, 4);
    name("AIFF");
    name("COMM");
    number(18, 4);
    number(1, 2);  // channels
    number(samples, 4);
    number(8 * kSampleSize, 2);
    rate(kSampleRate);
    name("SSND");
    number(8 + size, 4);
    number(0, 4);  // offset
    number(0, 4);  // block size: none
  }

  const std::array<std::uint8_t, kHeaderSize>& bytes() const { return m_bytes; }

 private:
  void name(const char* fourCharacters) {
    for (int i = 0; i < 4; ++i) m_bytes[m_end++] = static_cast<std::uint8_t>(fourCharacters[i]);
  }

  void number(std::uint64_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
      m_bytes[m_end++] = static_cast<std::uint8_t>(value >> shift);
    }
  }

  // An 80-bit extended floating-point number, as AIFF requires: exponent, then mantissa with an
  // explicit leading 1.
  void rate(std::uint32_t perSecond) {
    const int zeros = std::countl_zero(std::uint64_t{perSecond});
    number(static_cast<std::uint64_t>(16383 + 63 - zeros), 2);
    number(std::uint64_t{perSecond} << zeros, 8);
  }

  std::array<std::uint8_t, kHeaderSize> m_bytes{};
  std::size_t m_end = 0;
};

std::uint16_t bigEndian(std::int16_t sample) {
  const auto bits = static_cast<std::uint16_t>(sample);
  if constexpr (std::endian::native == std::endian::big) return bits;
  return static_cast<std::uint16_t>(bits << 8U | bits >> 8U);
}

// Returns the file under a number that is not a standard stream's, which the host may have closed:
// its messages would be written to the file. Returns -1, with errno, on failure or if it is -1.
int aboveStreams(int file) {
  if (file < 0 || file > STDERR_FILENO) return file;
  const int moved = ::fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  ::close(file);
  errno = error;
  return moved;
}

bool isRegular(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

bool isEmpty(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_size == 0;
}

}  // namespace

std::unique_ptr<FileSink> FileSink::open(const std::string& path, std::string& why) {
  // O_NONBLOCK: opening a pipe without a reader would block.
  const int file = aboveStreams(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666));
  if (file < 0) {
    why = path + ": " + std::strerror(errno);
    return nullptr;
  }
  if (::lseek(file, 0, SEEK_CUR) < 0) {
    why = path + ": is not seekable";
    ::close(file);
    return nullptr;
  }
  return std::unique_ptr<FileSink>(new FileSink(file, path));
}

FileSink::FileSink(int file, std::string path) : m_path(std::move(path)), m_file(file) {
  m_block.reserve(kBlockSamples);
}

FileSink::~FileSink() {
  close();
}

// Collects samples into blocks: one write per block, and one for the header.
bool FileSink::write(std::span<const std::int16_t> samples) {
  while (!samples.empty()) {
    const std::size_t count = std::min(samples.size(), kBlockSamples - m_block.size());
    const std::size_t begin = m_block.size();
    m_block.resize(begin + count);
    std::transform(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count),
                   m_block.begin() + static_cast<std::ptrdiff_t>(begin), bigEndian);
    samples = samples.subspan(count);
    if (m_block.size() == kBlockSamples && !flush()) return false;
  }
  return true;
}

// Writes the block, then the header that counts it. If only a part fits on the disk or into an AIFF
// file, that part is kept and the call fails.
bool FileSink::flush() {
  if (!m_begun && !begin()) return false;
  const auto room = static_cast<std::size_t>(kMaxSamples - m_samples);
  const std::size_t count = std::min(m_block.size(), room);
  const std::size_t size = count * kSampleSize;
  const std::size_t written = put(m_block.data(), size, kHeaderSize + m_samples * kSampleSize);
  const std::string why = written < size           ? std::strerror(errno)
                          : count < m_block.size() ? "is as large as an AIFF file can be"
                                                   : "";
  m_samples += written / kSampleSize;
  m_block.clear();
  if (why.empty()) return writeHeader() || refuse(std::strerror(errno));
  if (written > 0) writeHeader();
  return refuse(why);
}

// Writes the header. The first time, truncates the old contents afterwards: not before, since there
// may be no room for the header.
bool FileSink::writeHeader() {
  const AiffHeader header(m_samples);
  if (put(header.bytes().data(), kHeaderSize, 0) < kHeaderSize) return false;
  if (std::exchange(m_begun, true) || !isRegular(m_file)) return true;
  return ::ftruncate(m_file, static_cast<off_t>(kHeaderSize + m_samples * kSampleSize)) == 0;
}

// How many of the bytes could be written; errno says why there were not more.
std::size_t FileSink::put(const void* bytes, std::size_t count, std::uint64_t offset) const {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t written = ::pwrite(m_file, static_cast<const char*>(bytes) + done, count - done,
                                     static_cast<off_t>(offset + done));
    if (written < 0 && errno == EINTR) continue;
    // No progress without an error can only be a full disk.
    if (written == 0) errno = ENOSPC;
    if (written <= 0) break;
    done += static_cast<std::size_t>(written);
  }
  return done;
}

// Locks the file. Devices may be shared, and some file systems cannot lock; both are no failure. An
// empty file gets a header before its first audio, so that it is valid at once. A file with
// contents does not: if there is no room for the audio, the old contents are still there.
bool FileSink::begin() {
  if (!isRegular(m_file)) return true;
  if (::flock(m_file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    return refuse("is being written by another job");
  }
  return !isEmpty(m_file) || writeHeader() || refuse(std::strerror(errno));
}

bool FileSink::close() {
  return m_file < 0 || ::close(std::exchange(m_file, -1)) == 0;
}

bool FileSink::refuse(const std::string& why) {
  m_error = m_path + ": " + why;
  return false;
}

// An error on close counts, too: some file systems report a full disk only then.
bool FileSink::finish() {
  const bool isWritten = m_error.empty() && flush();
  if (!close() && isWritten) return refuse(std::strerror(errno));
  return isWritten;
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

base::Clock::time_point FileSink::dueAt(std::uint64_t /*position*/) {
  return base::Clock::time_point::min();
}

void FileSink::pause() {}

void FileSink::resume() {}

std::uint64_t FileSink::takeBack(std::uint64_t /*position*/) {
  return m_heard;
}

}  // namespace kavrel
