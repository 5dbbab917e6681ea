// SPDX-License-Identifier: Apache-2.0
//
// TrustedPaths: walks a path from the root and follows its links by itself, so that every link and
// every folder above a link's target is seen.
#include "SpeechSynthesis/bundles/TrustedPaths.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <system_error>
#include <vector>

#include <grp.h>
#include <pwd.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "SpeechSynthesis/bundles/SearchPaths.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

// As many as the system follows in one path.
constexpr int kMostLinks = 40;
// Room for the record of a user or a group. A larger record counts as none.
constexpr std::size_t kRecordSize = 16384;

// Something that a path leads through.
struct Step {
  std::string path;
  struct stat about {};
  bool isLast = false;  // what the path leads to

  bool isLink() const { return S_ISLNK(about.st_mode); }
  // The sticky bit protects the entries of a folder, not the folder.
  bool protectsEntries() const {
    return !isLast && S_ISDIR(about.st_mode) && (about.st_mode & S_ISVTX) != 0;
  }
  // Everybody may write to a link, which means nothing.
  bool isWritableBy(mode_t who) const {
    return !isLink() && !protectsEntries() && (about.st_mode & who) != 0;
  }
};

// Removes the first name from `rest`, a path without a root, and returns it; empty if there is
// none.
std::string takeName(std::string& rest) {
  const std::size_t begin = std::min(rest.find_first_not_of('/'), rest.size());
  const std::size_t end = std::min(rest.find('/', begin), rest.size());
  std::string name = rest.substr(begin, end - begin);
  rest.erase(0, end);
  return name;
}

// Reads about `step.path` and calls visit(step). `isEnd`: the path ends with it, if it is no link.
template <typename Visit>
std::optional<std::string> visitStep(Step& step, bool isEnd, Visit& visit) {
  if (::lstat(step.path.c_str(), &step.about) != 0) {
    return step.path + ": " + std::strerror(errno);
  }
  step.isLast = isEnd && !step.isLink();
  return visit(step);
}

// Calls visit(step) for the root, and for each folder, link and file on the way to `path`; then for
// what `path` leads to, as the last step. Folders in `known` are not visited on the way. visit()
// returns the reason to end the walk, if there is one. Returns that, or why the path leads nowhere.
template <typename Visit>
std::optional<std::string> walk(const fs::path& path, const std::set<std::string>& known,
                                Visit visit) {
  std::error_code failure;
  std::string rest = fs::absolute(path, failure).native();
  if (failure) return path.string() + " is not a usable path";
  constexpr const char* kRoot = "/";
  std::string reached = kRoot;
  Step step{reached};
  if (auto reason = visitStep(step, false, visit)) return reason;
  int links = 0;
  for (std::string name; !(name = takeName(rest)).empty();) {
    if (name == ".") continue;
    // Links are resolved, so the parent is that of the real folder.
    if (name == "..") {
      reached.erase(std::max<std::size_t>(reached.rfind('/'), 1));
      continue;
    }
    step.path = reached;
    if (reached != kRoot) step.path += '/';
    step.path += name;
    const bool isKnown = known.contains(step.path);
    if (!isKnown) {
      if (auto reason = visitStep(step, rest.empty(), visit)) return reason;
      if (step.isLast) return std::nullopt;
    }
    if (isKnown || !step.isLink()) {
      reached = step.path;
      continue;
    }
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(step.path.c_str(), target.data(), target.size());
    if (length <= 0 || ++links > kMostLinks) return step.path + " is not a usable link";
    rest.insert(0, target.data(), static_cast<std::size_t>(length));
    if (target[0] == '/') reached = kRoot;
  }
  step.path = reached;
  return visitStep(step, true, visit);
}

bool hasAccessList(const std::string& path) {
  return ::getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) > 0;
}

// The name of a user or a group in a message.
std::string nameOr(const char* name, unsigned number) {
  return name != nullptr ? name : std::to_string(number);
}

std::string nameOfUser(uid_t user) {
  std::vector<char> room(kRecordSize);
  passwd record{};
  passwd* found = nullptr;
  ::getpwuid_r(user, &record, room.data(), room.size(), &found);
  return nameOr(found == nullptr ? nullptr : found->pw_name, user);
}

std::string nameOfGroup(gid_t number) {
  std::vector<char> room(kRecordSize);
  group record{};
  group* found = nullptr;
  ::getgrgid_r(number, &record, room.data(), room.size(), &found);
  return nameOr(found == nullptr ? nullptr : found->gr_name, number);
}

// True if the group has the name of the user, is the user's own group, and lists nobody else. On
// systems that make such groups, users create files that their group can write.
bool isPrivateGroup(gid_t number, uid_t user) {
  std::vector<char> roomOfUser(kRecordSize);
  std::vector<char> roomOfGroup(kRecordSize);
  passwd owner{};
  passwd* foundUser = nullptr;
  group members{};
  group* foundGroup = nullptr;
  const int ofUser = ::getpwuid_r(user, &owner, roomOfUser.data(), roomOfUser.size(), &foundUser);
  const int ofGroup =
      ::getgrgid_r(number, &members, roomOfGroup.data(), roomOfGroup.size(), &foundGroup);
  if (ofUser == ENOMEM || ofGroup == ENOMEM) throw std::bad_alloc();
  if (foundUser == nullptr || foundGroup == nullptr) return false;
  if (owner.pw_gid != number || std::strcmp(owner.pw_name, members.gr_name) != 0) return false;
  for (char** member = members.gr_mem; *member != nullptr; ++member) {
    if (std::strcmp(*member, owner.pw_name) != 0) return false;
  }
  return true;
}

}  // namespace

bool hasRaisedPrivileges() noexcept {
  return ::getauxval(AT_SECURE) != 0;
}

TrustedPaths::TrustedPaths() : TrustedPaths(managerLibraryFile()) {}

TrustedPaths::TrustedPaths(const fs::path& ownFile) {
  // Rights that were raised to those of another user: that user chose the program. Any other raised
  // rights: the user that the process runs as is the one who must not gain them.
  if (!hasRaisedPrivileges() || ::geteuid() != ::getuid()) m_users.insert(::geteuid());
  if (!ownFile.empty()) trustWritersOf(ownFile);
}

void TrustedPaths::trustWritersOf(const fs::path& path) {
  walk(path, {}, [this](const Step& step) -> std::optional<std::string> {
    m_users.insert(step.about.st_uid);
    if (step.isWritableBy(S_IWGRP) && !hasAccessList(step.path)) m_groups.insert(step.about.st_gid);
    if (step.isWritableBy(S_IWOTH)) m_everybody = true;
    return std::nullopt;
  });
}

bool TrustedPaths::isTrustedGroup(gid_t group) const {
  if (m_groups.contains(group)) return true;
  for (const uid_t user : m_users) {
    if (isPrivateGroup(group, user)) return true;
  }
  return false;
}

std::optional<std::string> TrustedPaths::problemOf(const fs::path& path) {
  if (m_everybody) return std::nullopt;
  return walk(path, m_folders, [this](const Step& step) -> std::optional<std::string> {
    const std::string& name = step.path;
    if (!m_users.contains(step.about.st_uid)) {
      return name + " belongs to " + nameOfUser(step.about.st_uid);
    }
    if (step.isWritableBy(S_IWOTH)) return "everybody can write to " + name;
    if (step.isWritableBy(S_IWGRP)) {
      if (hasAccessList(step.path)) return "others can write to " + name;
      if (!isTrustedGroup(step.about.st_gid)) {
        return "the group " + nameOfGroup(step.about.st_gid) + " can write to " + name;
      }
    }
    if (S_ISDIR(step.about.st_mode)) m_folders.insert(step.path);
    return std::nullopt;
  });
}

std::optional<std::string> TrustedPaths::problemOfTree(const fs::path& folder) {
  if (auto reason = problemOf(folder)) return reason;
  for (const fs::path& entry : pathsIn(folder)) {
    // A link is followed to what it leads to, but not into a folder.
    std::error_code failure;
    const bool isFolder = fs::symlink_status(entry, failure).type() == fs::file_type::directory;
    if (auto reason = isFolder ? problemOfTree(entry) : problemOf(entry)) return reason;
  }
  return std::nullopt;
}

}  // namespace platform
