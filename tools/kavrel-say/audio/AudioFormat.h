// SPDX-License-Identifier: Apache-2.0
//
// AudioFormat: file formats and data formats for the output file, by name.
//
// A file format is the container (WAVE). A data format is the sample format (LEI16), optionally
// with the sample rate after an "@" (LEI16@44100). Names are not case-sensitive. Pure functions.
#pragma once

#include <optional>
#include <string>

namespace say {

struct AudioFormat {
  int code = 0;            // libsndfile format: container, sample format and byte order
  int rate = 0;            // samples per second
  std::string fileFormat;  // its name, for messages

  // Whether this is the format that the Manager writes, so that no conversion is needed.
  bool isNative() const;
};

// Returns the format of the output file at `path`. The container is `fileFormat`, else the one of
// the extension, else AIFF. The samples are `dataFormat`, else the default of the container. Throws
// std::invalid_argument, with a message for the user, for an unknown name and for samples that the
// container does not support.
AudioFormat audioFormatOf(const std::string& path, const std::optional<std::string>& fileFormat,
                          const std::optional<std::string>& dataFormat);

// Returns one line for each file format: name, extensions, description.
std::string fileFormatList();

// Returns one line for each data format that the container supports, which is chosen as above; with
// neither path nor format, for each data format that any container supports. Throws
// std::invalid_argument for an unknown container.
std::string dataFormatList(const std::string& path, const std::optional<std::string>& fileFormat);

}  // namespace say
