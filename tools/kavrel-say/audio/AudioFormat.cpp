// SPDX-License-Identifier: Apache-2.0
#include "audio/AudioFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <sndfile.h>
#include <strings.h>

namespace say {
namespace {

// The format of the Manager's files.
constexpr int kNativeRate = 22050;
constexpr int kNativeCode = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;

// Sample rates that "@" accepts.
constexpr int kSlowestRate = 4000;
constexpr int kFastestRate = 192000;

struct FileFormat {
  const char* name;
  const char* extensions;  // separated by blanks; the most common one is first
  int major;               // libsndfile container
  int usualData;           // libsndfile sample format by default
  int usualRate;
  const char* description;
};

constexpr FileFormat kFileFormats[] = {
    {"AIFF", "aiff aif", SF_FORMAT_AIFF, SF_FORMAT_PCM_16, kNativeRate,
     "Audio Interchange File Format"},
    {"AIFC", "aifc", SF_FORMAT_AIFF, SF_FORMAT_FLOAT, kNativeRate,
     "AIFF, compressed or floating point"},
    {"caff", "caf", SF_FORMAT_CAF, SF_FORMAT_PCM_16, kNativeRate, "Core Audio Format"},
    {"WAVE", "wav wave", SF_FORMAT_WAV, SF_FORMAT_PCM_16, kNativeRate, "Microsoft WAVE"},
    {"NeXT", "au snd", SF_FORMAT_AU, SF_FORMAT_PCM_16, kNativeRate, "Sun and NeXT audio"},
    {"FLAC", "flac", SF_FORMAT_FLAC, SF_FORMAT_PCM_16, kNativeRate, "Free Lossless Audio Codec"},
    {"Ogg", "ogg oga", SF_FORMAT_OGG, SF_FORMAT_VORBIS, kNativeRate, "Ogg with Vorbis"},
    {"Opus", "opus", SF_FORMAT_OGG, SF_FORMAT_OPUS, 24000, "Ogg with Opus"},
    {"MP3", "mp3", SF_FORMAT_MPEG, SF_FORMAT_MPEG_LAYER_III, kNativeRate, "MPEG layer III"},
};

struct DataFormat {
  const char* name;
  int code;  // libsndfile sample format and byte order
  const char* description;
};

constexpr DataFormat kDataFormats[] = {
    {"LEI16", SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, "16-bit integers, little-endian"},
    {"LEI24", SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE, "24-bit integers, little-endian"},
    {"LEI32", SF_FORMAT_PCM_32 | SF_ENDIAN_LITTLE, "32-bit integers, little-endian"},
    {"LEF32", SF_FORMAT_FLOAT | SF_ENDIAN_LITTLE, "32-bit floating point, little-endian"},
    {"LEF64", SF_FORMAT_DOUBLE | SF_ENDIAN_LITTLE, "64-bit floating point, little-endian"},
    {"BEI16", SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, "16-bit integers, big-endian"},
    {"BEI24", SF_FORMAT_PCM_24 | SF_ENDIAN_BIG, "24-bit integers, big-endian"},
    {"BEI32", SF_FORMAT_PCM_32 | SF_ENDIAN_BIG, "32-bit integers, big-endian"},
    {"BEF32", SF_FORMAT_FLOAT | SF_ENDIAN_BIG, "32-bit floating point, big-endian"},
    {"BEF64", SF_FORMAT_DOUBLE | SF_ENDIAN_BIG, "64-bit floating point, big-endian"},
    {"I8", SF_FORMAT_PCM_S8, "8-bit integers"},
    {"UI8", SF_FORMAT_PCM_U8, "8-bit unsigned integers"},
    {"I16", SF_FORMAT_PCM_16, "16-bit integers, in the byte order of the file"},
    {"I24", SF_FORMAT_PCM_24, "24-bit integers, in the byte order of the file"},
    {"I32", SF_FORMAT_PCM_32, "32-bit integers, in the byte order of the file"},
    {"F32", SF_FORMAT_FLOAT, "32-bit floating point, in the byte order of the file"},
    {"F64", SF_FORMAT_DOUBLE, "64-bit floating point, in the byte order of the file"},
    {"ulaw", SF_FORMAT_ULAW, "8 bits, mu-law"},
    {"alaw", SF_FORMAT_ALAW, "8 bits, A-law"},
    {"ima4", SF_FORMAT_IMA_ADPCM, "4 bits, IMA ADPCM"},
    {"vorbis", SF_FORMAT_VORBIS, "Vorbis"},
    {"opus", SF_FORMAT_OPUS, "Opus"},
    {"mp3", SF_FORMAT_MPEG_LAYER_III, "MPEG layer III"},
};

// The rates that the codecs support. sf_format_check() does not check them.
constexpr std::array kOpusRates = {8000, 12000, 16000, 24000, 48000};
constexpr std::array kMp3Rates = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

bool isSameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// Whether this system's libsndfile can write the format. MP3 and Opus depend on how it was built.
bool canBeWritten(int code) {
  SF_INFO info{};
  info.samplerate = 48000;  // a rate that every format supports
  info.channels = 1;
  info.format = code;
  return sf_format_check(&info) != 0;
}

// Whether the container supports the samples. Two containers of the table share a libsndfile code:
// Ogg and Opus accept only their own codec, and plain AIFF accepts only big-endian integers, since
// readers that do not know the compressed form (AIFC) would misread anything else.
bool canHold(const FileFormat& file, const DataFormat& data) {
  const int samples = data.code & SF_FORMAT_SUBMASK;
  if (file.major == SF_FORMAT_OGG && samples != file.usualData) return false;
  if (file.major != SF_FORMAT_MPEG && samples == SF_FORMAT_MPEG_LAYER_III) return false;
  const bool isPlainAiff = file.major == SF_FORMAT_AIFF && file.usualData == SF_FORMAT_PCM_16;
  if (isPlainAiff) {
    const bool isBigEndian = (data.code & SF_FORMAT_ENDMASK) != SF_ENDIAN_LITTLE;
    const bool isInteger = samples == SF_FORMAT_PCM_S8 || samples == SF_FORMAT_PCM_16 ||
                           samples == SF_FORMAT_PCM_24 || samples == SF_FORMAT_PCM_32;
    if (!isBigEndian || !isInteger) return false;
  }
  return canBeWritten(file.major | data.code);
}

// Splits at blanks.
std::vector<std::string_view> splitWords(std::string_view list) {
  std::vector<std::string_view> words;
  while (!list.empty()) {
    const std::size_t end = std::min(list.find(' '), list.size());
    words.push_back(list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return words;
}

bool hasExtension(const FileFormat& format, std::string_view extension) {
  const auto all = splitWords(format.extensions);
  return std::any_of(all.begin(), all.end(),
                     [=](std::string_view one) { return isSameName(one, extension); });
}

// Formats that this system's libsndfile cannot write are treated as unknown.
bool isAvailable(const FileFormat& format) {
  return canBeWritten(format.major | format.usualData);
}

// A format is also found by its extensions: --file-format=wav.
const FileFormat& fileFormatNamed(const std::string& name) {
  for (const FileFormat& format : kFileFormats) {
    const bool matches = isSameName(format.name, name) || hasExtension(format, name);
    if (matches && isAvailable(format)) return format;
  }
  throw std::invalid_argument("unknown file format \"" + name +
                              "\"; --file-format=? lists the formats");
}

// Finds the format by the file extension. An unknown extension is an error rather than AIFF: a
// player would take the file for something else.
const FileFormat& fileFormatOf(const std::string& path) {
  const std::string extension = std::filesystem::path(path).extension();
  // No extension, or a name that ends with a dot: AIFF.
  if (extension.size() <= 1) return kFileFormats[0];
  for (const FileFormat& format : kFileFormats) {
    if (hasExtension(format, std::string_view(extension).substr(1)) && isAvailable(format)) {
      return format;
    }
  }
  throw std::invalid_argument("unknown file extension " + extension +
                              "; choose a format with --file-format (? lists the formats)");
}

const FileFormat& chosenFileFormat(const std::string& path,
                                   const std::optional<std::string>& name) {
  return name ? fileFormatNamed(*name) : fileFormatOf(path);
}

// Parses the sample rate after the "@" of a data format. Throws std::invalid_argument.
int rateNamed(std::string_view digits) {
  int rate = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), rate);
  const bool isNumber = error == std::errc() && end == digits.data() + digits.size();
  if (!isNumber || rate < kSlowestRate || rate > kFastestRate) {
    throw std::invalid_argument("invalid sample rate \"" + std::string(digits) + "\"; use " +
                                std::to_string(kSlowestRate) + " to " +
                                std::to_string(kFastestRate));
  }
  return rate;
}

// Throws std::invalid_argument, with all possible rates, if the format's rate is none of `rates`.
template <typename Rates>
void requireOneOf(const Rates& rates, const AudioFormat& format) {
  if (std::find(rates.begin(), rates.end(), format.rate) != rates.end()) return;
  std::string all;
  for (const int rate : rates) all += (all.empty() ? "" : ", ") + std::to_string(rate);
  throw std::invalid_argument(format.fileFormat + " files do not support " +
                              std::to_string(format.rate) + " samples per second; use " + all);
}

void requirePossibleRate(const AudioFormat& format) {
  const int samples = format.code & SF_FORMAT_SUBMASK;
  if (samples == SF_FORMAT_OPUS) requireOneOf(kOpusRates, format);
  if (samples == SF_FORMAT_MPEG_LAYER_III) requireOneOf(kMp3Rates, format);
}

// A name that exists but does not fit the container is reported like an unknown one, with the list.
const DataFormat& dataFormatNamed(std::string_view name, const FileFormat& file) {
  for (const DataFormat& format : kDataFormats) {
    if (isSameName(format.name, name) && canHold(file, format)) return format;
  }
  throw std::invalid_argument(std::string(file.name) + " files do not support the data format \"" +
                              std::string(name) + "\"; --file-format=" + file.name +
                              " --data-format=? lists the supported formats");
}

// Pads to `width` columns, with at least one blank so that columns never touch.
std::string column(std::string text, std::size_t width) {
  text.resize(std::max(text.size() + 1, width), ' ');
  return text;
}

}  // namespace

bool AudioFormat::isNative() const {
  return code == kNativeCode && rate == kNativeRate;
}

// Combines container, samples and rate, each with its default.
AudioFormat audioFormatOf(const std::string& path, const std::optional<std::string>& fileFormat,
                          const std::optional<std::string>& dataFormat) {
  const FileFormat& file = chosenFileFormat(path, fileFormat);
  AudioFormat result{file.major | file.usualData, file.usualRate, file.name};
  if (!dataFormat) return result;
  const std::string_view asked = *dataFormat;
  const std::size_t at = std::min(asked.find('@'), asked.size());
  // An "@" as the first character: the default samples at another rate.
  if (at > 0) result.code = file.major | dataFormatNamed(asked.substr(0, at), file).code;
  if (at < asked.size()) result.rate = rateNamed(asked.substr(at + 1));
  // AIFF is big-endian by default, so both codes mean the same; isNative() compares with one.
  if (result.code == (kNativeCode | SF_ENDIAN_BIG)) result.code = kNativeCode;
  requirePossibleRate(result);
  return result;
}

// Columns: name, extensions, description. Completions parse the first column.
std::string fileFormatList() {
  std::string list;
  for (const FileFormat& format : kFileFormats) {
    if (!isAvailable(format)) continue;
    std::string extensions;
    for (const std::string_view extension : splitWords(format.extensions)) {
      extensions += (extensions.empty() ? "." : " .") + std::string(extension);
    }
    list += column(format.name, 8) + column(extensions, 12) + format.description + '\n';
  }
  return list;
}

// With neither path nor format, data formats of all containers are listed.
std::string dataFormatList(const std::string& path, const std::optional<std::string>& fileFormat) {
  const bool any = path.empty() && !fileFormat;
  std::string list;
  for (const DataFormat& data : kDataFormats) {
    const bool fits = any ? std::any_of(std::begin(kFileFormats), std::end(kFileFormats),
                                        [&](const FileFormat& file) { return canHold(file, data); })
                          : canHold(chosenFileFormat(path, fileFormat), data);
    if (fits) list += column(data.name, 8) + data.description + '\n';
  }
  return list;
}

}  // namespace say
