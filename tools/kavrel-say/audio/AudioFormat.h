// SPDX-License-Identifier: Apache-2.0
//
// AudioFormat: the sound files that can be written, by the names that people give them.
//
// A file format is the kind of file (WAVE), a data format how samples are stored in it (LEI16) and,
// behind an "@", how many there are in a second (LEI16@44100). Names are looked for without regard
// to capital letters. Pure functions.
#pragma once

#include <optional>
#include <string>

namespace say {

struct AudioFormat {
  int code = 0;  // as libsndfile has it: file format, samples and byte order
  int rate = 0;  // samples per second
  std::string fileFormat;

  // Whether files of the Manager are in this format as they are.
  bool isNative() const;
};

// The format of the file at `path`: of the file format given, else the one that the extension
// stands for, else AIFF where there is no extension; with the data format given, else what is usual
// in such a file. Throws std::invalid_argument, with what to do, for a name that is not known and
// for data that does not go into such a file.
AudioFormat audioFormatOf(const std::string& path, const std::optional<std::string>& fileFormat,
                          const std::optional<std::string>& dataFormat);

// A line for each file format: name, extensions, what it is.
std::string fileFormatList();

// A line for each data format that goes into files of a format, which is chosen as above; into any
// file when there is neither path nor format. Throws std::invalid_argument.
std::string dataFormatList(const std::string& path, const std::optional<std::string>& fileFormat);

}  // namespace say
