// SPDX-License-Identifier: Apache-2.0
//
// TemporaryFile: an unnamed file, which the system deletes when the process exits for any reason.
//
// Threads: constant after construction; the descriptor's offset is shared by its users.
#pragma once

#include <string>

namespace say {

class TemporaryFile {
 public:
  // Creates the file on the file system of `folder` if possible, else in the system's folder for
  // temporary files. Throws Failure.
  explicit TemporaryFile(const std::string& folder);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Open for reading and writing while this object exists.
  int descriptor() const { return m_file; }
  // Returns a path with which this process can open the file again.
  std::string path() const;

 private:
  int m_file;
};

}  // namespace say
