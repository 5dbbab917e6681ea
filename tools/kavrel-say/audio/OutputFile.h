// SPDX-License-Identifier: Apache-2.0
//
// OutputFile: checks before and after the speech that a file can be and was written.
//
// The Manager writes the file but reports only that it could not start. This class finds the
// reason, and whether the file is complete. It does not keep the file open.
//
// Threads: used by one thread.
#pragma once

#include <string>
#include <string_view>

namespace say {

class OutputFile {
 public:
  // Creates the file if it does not exist, else keeps its contents. Throws Failure if it cannot be
  // written.
  explicit OutputFile(std::string path);

  const std::string& path() const { return m_path; }

  // Removes the file if the constructor created it and it is still empty.
  void discard() const;

  // Replaces the contents of the file. Throws Failure.
  void write(std::string_view contents) const;

  // To be called when the speech has ended. Throws Failure if the file is shorter than its AIFF
  // header says, or no AIFF file. Files that are not regular are not checked.
  void verify() const;

 private:
  [[noreturn]] void throwCannotWrite(int error) const;

  std::string m_path;
  bool m_isNew;  // created by this object
};

}  // namespace say
