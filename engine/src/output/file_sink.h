// SPDX-License-Identifier: Apache-2.0
//
// A sink that writes an AIFF file: 16 bits, big-endian, mono.
//
// The file is a valid AIFF file from its first block on, even if the process is killed: each block
// is written before the header that counts it. While it is being written, the file is locked
// against other sinks, also of other processes, if the file system supports that.
//
// Threads: as Sink; it has no lock of its own. It owns the file descriptor. Failures are returned
// with a message.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "output/sink.h"

namespace kavrel {

class FileSink final : public Sink {
 public:
  // Maximum number of samples in an AIFF file, whose sizes are 32-bit numbers: 27 hours.
  static constexpr std::uint64_t kMaxSamples = 0x7FFFFFE8;

  // Opens the file at `path`, and creates it if it does not exist. Follows symbolic links; rejects
  // what is not seekable, such as pipes and terminals. The file keeps its contents until the first
  // block of audio, or the end. Returns null, with a message in `why`, if it cannot be written.
  static std::unique_ptr<FileSink> open(const std::string& path, std::string& why);

  ~FileSink() override;

  bool write(std::span<const std::int16_t> samples) override;
  void advance(std::uint64_t count) override;
  std::uint64_t lead() const override;
  std::uint64_t heard() override;
  base::Clock::time_point dueAt(std::uint64_t position) override;
  void pause() override;
  void resume() override;
  std::uint64_t takeBack(std::uint64_t position) override;
  bool finish() override;

 private:
  FileSink(int file, std::string path);
  // These return false, with a message in m_error, on failure.
  bool begin();
  bool flush();
  bool writeHeader();
  // Writes at a position of the file. Returns how many bytes were written; if fewer than `count`,
  // errno has the cause.
  std::size_t put(const void* bytes, std::size_t count, std::uint64_t offset) const;
  bool close();
  bool refuse(const std::string& why);

  const std::string m_path;
  int m_file;                          // -1: closed
  bool m_begun = false;                // the file's old contents have been replaced
  std::vector<std::uint16_t> m_block;  // samples not yet written, in the file's byte order
  std::uint64_t m_samples = 0;         // number of samples in the file
  std::uint64_t m_heard = 0;
};

}  // namespace kavrel
