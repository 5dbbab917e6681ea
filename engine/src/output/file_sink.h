// SPDX-License-Identifier: GPL-3.0-or-later
//
// A sink that writes an AIFF file: 16 bits, big-endian, mono.
//
// The file can be read from its first block on, at whatever moment the process is killed: each
// block is followed by a head that counts it in. While it is being written the file is locked
// against other sinks, of other processes too, where the file system can do that.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "output/sink.h"

namespace kavrel {

class FileSink final : public Sink {
 public:
  // The most samples that an AIFF file holds, its sizes being 32-bit numbers: 27 hours.
  static constexpr std::uint64_t kMaxSamples = 0x7FFFFFE8;

  // Makes sure that the file at `path` exists and can be written. Symbolic links are followed; what
  // one cannot go back in, as pipes and terminals, is refused. What the file holds is kept until
  // the first block of sound, or the end. Null, with a message in `why`, when it cannot be written.
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
  bool begin();
  bool flush();
  bool writeHead();
  std::size_t put(const void* bytes, std::size_t count, std::uint64_t place) const;
  bool close();
  bool refuse(const std::string& why);

  const std::string m_path;
  int m_file;                          // -1: closed
  bool m_begun = false;                // the file is no longer as it was found
  std::vector<std::uint16_t> m_block;  // in the file's byte order; not written yet
  std::uint64_t m_samples = 0;         // written
  std::uint64_t m_heard = 0;
};

}  // namespace kavrel
