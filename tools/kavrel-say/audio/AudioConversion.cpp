// SPDX-License-Identifier: Apache-2.0
#include "audio/AudioConversion.h"

#include <memory>
#include <string>
#include <vector>

#include <samplerate.h>
#include <sndfile.h>
#include <unistd.h>

#include "Failure.h"

namespace say {
namespace {

constexpr sf_count_t kBlock = 16384;  // samples; the engine writes one channel

[[noreturn]] void fail(const std::string& why) {
  throw tool::Failure("cannot convert the audio: " + why);
}

// RAII guard for a libsndfile handle. Does not close the descriptor.
class AudioFile {
 public:
  AudioFile(int descriptor, int mode, SF_INFO& info)
      : m_file(sf_open_fd(descriptor, mode, &info, SF_FALSE)) {
    if (m_file == nullptr) fail(sf_strerror(nullptr));
  }
  ~AudioFile() { sf_close(m_file); }
  AudioFile(const AudioFile&) = delete;
  AudioFile& operator=(const AudioFile&) = delete;

  operator SNDFILE*() const { return m_file; }

 private:
  SNDFILE* m_file;
};

void requireAll(SNDFILE* file, sf_count_t written, sf_count_t count) {
  if (written != count) fail(sf_strerror(file));
}

// Copies without changing the rate. Samples are read as integers, not floats, so that 16-bit
// samples stay bit-exact.
void copySamples(SNDFILE* from, SNDFILE* to, const std::function<bool()>& isStopped) {
  // For floating-point targets: scale integers to the range -1 to 1.
  sf_command(to, SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
  std::vector<int> samples(kBlock);
  while (!isStopped()) {
    const sf_count_t count = sf_read_int(from, samples.data(), kBlock);
    if (count <= 0) return;
    requireAll(to, sf_write_int(to, samples.data(), count), count);
  }
}

using Resampler = std::unique_ptr<SRC_STATE, decltype(&src_delete)>;

// One channel, sinc interpolation. Throws Failure if out of memory.
Resampler makeResampler() {
  int error = 0;
  Resampler resampler(src_new(SRC_SINC_MEDIUM_QUALITY, 1, &error), src_delete);
  if (resampler == nullptr) fail(src_strerror(error));
  return resampler;
}

// Feeds the resampler block by block. It may leave input unused or hold output back, so the loop
// runs until the input has ended and no output is left.
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
      // A short read is the end of the file.
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

// Both files start at offset 0; the target is truncated first, so that nothing of an older, longer
// file remains.
void convertAudio(int from, int to, const AudioFormat& format,
                  const std::function<bool()>& isStopped) {
  if (::lseek(from, 0, SEEK_SET) != 0 || ::ftruncate(to, 0) != 0 || ::lseek(to, 0, SEEK_SET) != 0) {
    fail("the file is not seekable");
  }
  SF_INFO given{};
  const AudioFile source(from, SFM_READ, given);
  SF_INFO wanted{};
  wanted.samplerate = format.rate;
  wanted.channels = given.channels;
  wanted.format = format.code;
  const AudioFile target(to, SFM_WRITE, wanted);
  // Resampled peaks can exceed full scale; without clipping they would wrap around.
  sf_command(target, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  if (given.samplerate == format.rate) {
    copySamples(source, target, isStopped);
  } else {
    resample(source, target, static_cast<double>(format.rate) / given.samplerate, isStopped);
  }
}

}  // namespace say
