// SPDX-License-Identifier: Apache-2.0
//
// OutputFile: makes sure that the speech really ends up in its file.
//
// The Manager writes the file, but says no more than that it could not begin; why, and whether all
// of it was written, is found out here. The file is not kept open.
#pragma once

#include <string>
#include <string_view>

namespace say {

class OutputFile {
 public:
  // Makes the file if it is not there, and leaves the contents of one that is. Throws Failure when
  // it cannot be written.
  explicit OutputFile(std::string path);

  const std::string& path() const { return m_path; }

  // Removes a file that the constructor made and that nothing was written to.
  void discard() const;

  // Writes `contents` in place of what the file holds. Throws Failure.
  void write(std::string_view contents) const;

  // To be called when the Manager's speech is over. Throws Failure when the file is not as long as
  // it says.
  void verify() const;

 private:
  [[noreturn]] void refuse(int error) const;

  std::string m_path;
  bool m_isNew;
};

}  // namespace say
