// SPDX-License-Identifier: Apache-2.0
//
// TemporaryFile: a file without a name, which is gone with the program however that ends.
#pragma once

#include <string>

namespace say {

class TemporaryFile {
 public:
  // On the file system of `folder` where that can be, else in the system's place for such files.
  // Throws Failure.
  explicit TemporaryFile(const std::string& folder);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Open for reading and writing as long as this object lives.
  int descriptor() const { return m_file; }
  // By which this process can open the file once more.
  std::string path() const;

 private:
  int m_file;
};

}  // namespace say
