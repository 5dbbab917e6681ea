// SPDX-License-Identifier: Apache-2.0
#include "audio/SoundConversion.h"

#include <memory>
#include <string>
#include <vector>

#include <samplerate.h>
#include <sndfile.h>
#include <unistd.h>

#include "Failure.h"

namespace say {
namespace {

constexpr sf_count_t kBlock = 16384;

[[noreturn]] void fail(const std::string& why) {
  throw tool::Failure("the sound cannot be converted: " + why);
}

class SoundFile {
 public:
  SoundFile(int descriptor, int mode, SF_INFO& info)
      : m_file(sf_open_fd(descriptor, mode, &info, SF_FALSE)) {
    if (m_file == nullptr) fail(sf_strerror(nullptr));
  }
  ~SoundFile() { sf_close(m_file); }
  SoundFile(const SoundFile&) = delete;
  SoundFile& operator=(const SoundFile&) = delete;

  operator SNDFILE*() const { return m_file; }

 private:
  SNDFILE* m_file;
};

void requireAll(SNDFILE* file, sf_count_t written, sf_count_t count) {
  if (written != count) fail(sf_strerror(file));
}

// Whole numbers, so that 16 bits stay what they are.
void copySamples(SNDFILE* from, SNDFILE* to, const std::function<bool()>& isStopped) {
  sf_command(to, SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
  std::vector<int> samples(kBlock);
  while (!isStopped()) {
    const sf_count_t count = sf_read_int(from, samples.data(), kBlock);
    if (count <= 0) return;
    requireAll(to, sf_write_int(to, samples.data(), count), count);
  }
}

using Resampler = std::unique_ptr<SRC_STATE, decltype(&src_delete)>;

Resampler makeResampler() {
  int error = 0;
  Resampler resampler(src_new(SRC_SINC_MEDIUM_QUALITY, 1, &error), src_delete);
  if (resampler == nullptr) fail(src_strerror(error));
  return resampler;
}

void resample(SNDFILE* from, SNDFILE* to, double ratio, const std::function<bool()>& isStopped) {
  const Resampler resampler = makeResampler();
  std::vector<float> input(kBlock);
  std::vector<float> output(kBlock);
  SRC_DATA data{};
  data.src_ratio = ratio;
  data.data_out = output.data();
  data.output_frames = kBlock;
  while (!isStopped()) {
    if (data.input_frames == 0 && data.end_of_input == 0) {
      data.data_in = input.data();
      data.input_frames = static_cast<long>(sf_read_float(from, input.data(), kBlock));
      data.end_of_input = data.input_frames < kBlock ? 1 : 0;
    }
    if (const int error = src_process(resampler.get(), &data); error != 0) {
      fail(src_strerror(error));
    }
    data.data_in += data.input_frames_used;
    data.input_frames -= data.input_frames_used;
    const sf_count_t made = data.output_frames_gen;
    requireAll(to, sf_write_float(to, output.data(), made), made);
    if (made == 0 && data.input_frames == 0 && data.end_of_input != 0) return;
  }
}

}  // namespace

void convertSound(int from, int to, const AudioFormat& format,
                  const std::function<bool()>& isStopped) {
  if (::lseek(from, 0, SEEK_SET) != 0 || ::ftruncate(to, 0) != 0 || ::lseek(to, 0, SEEK_SET) != 0) {
    fail("the file cannot be written from its front");
  }
  SF_INFO given{};
  const SoundFile source(from, SFM_READ, given);
  SF_INFO wanted{};
  wanted.samplerate = format.rate;
  wanted.channels = given.channels;
  wanted.format = format.code;
  const SoundFile target(to, SFM_WRITE, wanted);
  sf_command(target, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  if (given.samplerate == format.rate) {
    copySamples(source, target, isStopped);
  } else {
    resample(source, target, static_cast<double>(format.rate) / given.samplerate, isStopped);
  }
}

}  // namespace say
