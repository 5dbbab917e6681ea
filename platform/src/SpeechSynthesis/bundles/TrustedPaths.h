// SPDX-License-Identifier: Apache-2.0
//
// TrustedPaths: which files may be used as voices and synthesizers.
//
// A path is trusted if only trusted users can change what it leads to: every folder, symbolic link
// and file on the way belongs to one of them, and nobody else can write to it. Trusted are
//   - root, and the group of root;
//   - the user that the process runs as, with the private group of that user (the one with the name
//     of the user and no other member); not if this user has started a program with raised
//     privileges;
//   - whoever can replace the file of the Manager, and so runs code in the process in any case: its
//     owner, those of the folders above it, and everybody who can write to one of them.
// A folder with the sticky bit, such as /tmp, may be above a trusted path even if everybody can
// write to it, since only the owner of an entry can replace the entry. It is not trusted itself.
// A group whose folder or file has an access control list is not trusted, as the list may name any
// user.
//
// Every function may throw std::bad_alloc.
//
// Threads: an object belongs to one thread at a time. A trusted path stays trusted unless a trusted
// user changes it, so it can be used after the check.
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include <sys/types.h>

namespace platform {

class TrustedPaths {
 public:
  // For the process as it is now.
  TrustedPaths();

  // The same with another file in place of the Manager's.
  explicit TrustedPaths(const std::filesystem::path& ownFile);

  // Says why `path`, a file or a folder, is not trusted: a phrase that names the path concerned,
  // without the full stop. Returns nothing if it is trusted. The contents of a folder are not
  // checked.
  std::optional<std::string> problemOf(const std::filesystem::path& path);

  // The same for a folder with everything in it.
  std::optional<std::string> problemOfTree(const std::filesystem::path& folder);

 private:
  void trustWritersOf(const std::filesystem::path& path);
  bool isTrustedGroup(gid_t group) const;

  std::set<uid_t> m_users{0};
  std::set<gid_t> m_groups{0};
  bool m_everybody = false;  // everybody can replace the Manager
  // Folders that were found to be trusted as folders above a path.
  std::set<std::string> m_folders;
};

// True if the program has rights that the user who started it lacks (setuid, setgid, capabilities).
// Then nothing that this user can choose may decide which code runs.
bool hasRaisedPrivileges() noexcept;

}  // namespace platform
