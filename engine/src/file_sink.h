// SPDX-License-Identifier: GPL-3.0-or-later
//
// A sink that writes an AIFF file: 16 bits, big-endian, mono. The file's head is brought up to date
// with every block, so that what a killed process leaves can be read.
#pragma once

#include <memory>
#include <vector>

#include "sink.h"

namespace kavrel {

class FileSink final : public Sink {
 public:
  // Makes sure that the file at `path` exists and can be written. What it holds is kept until the
  // first block of sound, or the end. Null, with a message in `why`, when it cannot be written.
  static std::unique_ptr<FileSink> open(const std::string& path, std::string& why);

  ~FileSink() override;

  bool write(std::span<const std::int16_t> samples) override;
  void advance(std::uint64_t count) override;
  std::uint64_t lead() const override;
  std::uint64_t heard() override;
  Clock::time_point dueAt(std::uint64_t position) override;
  void pause() override;
  void resume() override;
  std::uint64_t takeBack(std::uint64_t position) override;
  bool finish() override;

 private:
  struct Encoder;

  FileSink(int file, std::string path);
  bool begin();
  bool refuse(const std::string& why);
  bool flush();

  const std::string m_path;
  int m_file;                          // -1 once the encoder owns it
  std::unique_ptr<Encoder> m_encoder;  // none before the first block
  std::vector<std::int16_t> m_block;   // not written yet
  std::uint64_t m_bytes = 0;           // written
  std::uint64_t m_heard = 0;
};

}  // namespace kavrel
