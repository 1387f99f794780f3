// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/profile_file.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "settings/profile_text.h"

namespace vantoscope {
namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20U;

[[noreturn]] void Fail(int error = errno) {
  throw std::system_error(error, std::generic_category());
}

[[noreturn]] void Fail(const char* what, int error = errno) {
  throw std::system_error(error, std::generic_category(), what);
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }

  [[nodiscard]] int Get() const { return fd_; }
  /// Closes now, since some file systems tell only then that the data found no room.
  void Close() {
    if (close(std::exchange(fd_, -1)) != 0) Fail();
  }

 private:
  int fd_;
};

struct FileContent {
  std::string text;
  struct stat status {};
};

bool IsSameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// With the same content, as far as the file system tells.
bool IsSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         IsSameTime(a.st_mtim, b.st_mtim) && IsSameTime(a.st_ctim, b.st_ctim);
}

/// Keys would stand as bytes among 16-bit characters, and nobody could read the file any more.
void RequireBytesAsText(std::string_view text) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") ||
      text.find('\0') != std::string_view::npos) {
    throw std::runtime_error("the file is UTF-16 or holds zero bytes; it has to be UTF-8");
  }
}

/// Nothing where there is no file.
std::optional<FileContent> ReadFile(const std::string& path) {
  // O_NONBLOCK: a pipe of that name must not hold the meter up.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (file.Get() < 0) {
    if (errno == ENOENT) return std::nullopt;
    Fail();
  }
  FileContent content;
  if (fstat(file.Get(), &content.status) != 0) Fail();
  if (S_ISDIR(content.status.st_mode)) Fail(EISDIR);
  if (!S_ISREG(content.status.st_mode)) Fail(EINVAL);
  if (static_cast<std::size_t>(content.status.st_size) > kLargestFile) Fail(EFBIG);

  content.text.resize(static_cast<std::size_t>(content.status.st_size));
  std::size_t length = 0;
  while (length < content.text.size()) {
    const ssize_t got =
        read(file.Get(), content.text.data() + length, content.text.size() - length);
    if (got < 0 && errno != EINTR) Fail();
    if (got == 0) break;
    if (got > 0) length += static_cast<std::size_t>(got);
  }
  content.text.resize(length);
  RequireBytesAsText(content.text);
  return content;
}

/// The file that a chain of symbolic links leads to, whether it is there or not.
std::string BehindLinks(std::string path) {
  namespace fs = std::filesystem;
  constexpr int kLongestChain = 40;
  for (int link = 0; fs::is_symlink(fs::symlink_status(path)); ++link) {
    if (link == kLongestChain) Fail(ELOOP);
    path = fs::path(path).parent_path() / fs::read_symlink(path);
  }
  return path;
}

bool IsAt(const std::string& path, const Descriptor& file) {
  struct stat open_file {};
  struct stat named {};
  return fstat(file.Get(), &open_file) == 0 && stat(path.c_str(), &named) == 0 &&
         open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino;
}

Descriptor OpenLock(const std::string& path) {
  constexpr int kFlags = O_CLOEXEC | O_NOCTTY;
  int fd = open(path.c_str(), O_RDWR | kFlags);
  // Somebody else's: only network file systems lock no file that is open for reading.
  if (fd < 0 && errno == EACCES) fd = open(path.c_str(), O_RDONLY | kFlags);
  // Last, as a creating open would wait for everybody else in the folder.
  if (fd < 0 && errno == ENOENT) fd = open(path.c_str(), O_RDWR | O_CREAT | kFlags, 0666);
  if (fd < 0) Fail();
  return Descriptor(fd);
}

/// The lock beside the file, held until the result is closed.
Descriptor Lock(const std::string& path, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  constexpr auto kLongestPause = std::chrono::milliseconds(16);
  auto pause = std::chrono::milliseconds(1);
  for (;;) {
    Descriptor file = OpenLock(path);
    while (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) Fail();
      if (std::chrono::steady_clock::now() >= deadline) {
        throw std::runtime_error("another program holds " + path);
      }
      std::this_thread::sleep_for(pause);
      pause = std::min(pause * 2, kLongestPause);
    }
    // The lock on a file that somebody took away in the meantime excludes nobody.
    if (IsAt(path, file)) return file;
  }
}

void WriteAll(const Descriptor& file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t put = write(file.Get(), text.data(), text.size());
    if (put < 0 && errno != EINTR) Fail();
    if (put > 0) text.remove_prefix(static_cast<std::size_t>(put));
  }
}

/// A rename asks for no permission of the file that it replaces.
void RequireWritable(const std::string& path, const struct stat& status) {
  constexpr const char* kProtected = "the file is write-protected";
  constexpr mode_t kAnybody = S_IWUSR | S_IWGRP | S_IWOTH;
  if ((status.st_mode & kAnybody) == 0) Fail(kProtected, EACCES);  // root may do everything
  if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) Fail(kProtected);
}

/// Gives the new file the access list of the old one; the group's bits of the mode mean less in a
/// file that has one.
void KeepAccessList(const Descriptor& file, const std::string& old_path) {
  constexpr const char* kName = "system.posix_acl_access";
  std::string list(XATTR_SIZE_MAX, '\0');
  const ssize_t length = getxattr(old_path.c_str(), kName, list.data(), list.size());
  if (length >= 0) {
    if (fsetxattr(file.Get(), kName, list.data(), static_cast<std::size_t>(length), 0) != 0) Fail();
  } else if (errno != ENODATA && errno != ENOTSUP) {
    Fail();
  } else {
    fremovexattr(file.Get(), kName);  // which the folder may have given it
  }
}

void KeepOwnerAndMode(const Descriptor& file, const std::string& old_path, const struct stat& old) {
  struct stat made {};
  if (fstat(file.Get(), &made) != 0) Fail();
  if ((made.st_uid != old.st_uid || made.st_gid != old.st_gid) &&
      fchown(file.Get(), old.st_uid, old.st_gid) != 0) {
    Fail("the file would change its owner");
  }
  KeepAccessList(file, old_path);
  if (fchmod(file.Get(), old.st_mode & 07777U) != 0) Fail();
}

/// Puts a new file in the place of the old one; on failure the old one stands. Under the lock.
void ReplaceFile(const std::string& path, std::string_view text, const struct stat* old) {
  if (old != nullptr) RequireWritable(path, *old);
  const std::string new_path = path + ".new";
  if (unlink(new_path.c_str()) != 0 && errno != ENOENT) Fail();  // of a killed writer
  const mode_t mode = old != nullptr ? 0600 : 0666;
  Descriptor file(open(new_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (file.Get() < 0) Fail();
  try {
    if (old != nullptr) KeepOwnerAndMode(file, path, *old);
    WriteAll(file, text);
    if (fsync(file.Get()) != 0) Fail();
    file.Close();
    if (rename(new_path.c_str(), path.c_str()) != 0) Fail();
  } catch (...) {
    unlink(new_path.c_str());
    throw;
  }
}

/// Brings the rename to disk. The file stands already, so a file system that cannot do it has no
/// failed write to tell of.
void SyncFolderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path();
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.Get() >= 0) fsync(opened.Get());
}

/// Nothing where every key holds its value already.
std::optional<std::string> WithProfileKeys(std::string_view text, std::string_view section,
                                           std::span<const ProfileKey> keys) {
  std::optional<std::string> changed;
  for (const ProfileKey& key : keys) {
    auto next = WithProfileValue(changed ? *changed : text, section, key.name, key.value);
    if (next) changed = std::move(next);
  }
  return changed;
}

void WriteKeys(const std::string& file, std::string_view section, std::span<const ProfileKey> keys,
               std::chrono::milliseconds patience) {
  const std::string path = BehindLinks(file);
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  if (error) throw std::system_error(error);
  {
    const Descriptor lock = Lock(path + ".lock", patience);
    const std::optional<FileContent> old = ReadFile(path);
    const auto changed = WithProfileKeys(old ? old->text : "", section, keys);
    if (!changed) return;
    ReplaceFile(path, *changed, old ? &old->status : nullptr);
  }
  SyncFolderOf(path);  // others need not wait for it
}

std::string ConfigurationFolder() {
  // A relative path in this variable is to be ignored, says the XDG Base Directory Specification.
  if (const char* folder = std::getenv("XDG_CONFIG_HOME"); folder != nullptr && *folder == '/') {
    return folder;
  }
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return std::string(home) + "/.config";
  }
  const passwd* user = getpwuid(getuid());
  return std::string(user != nullptr ? user->pw_dir : "") + "/.config";
}

}  // namespace

ProfileFile::ProfileFile() : ProfileFile(ConfigurationFolder() + "/vantoscope") {}

ProfileFile::ProfileFile(std::string folder, std::chrono::milliseconds patience)
    : folder_(std::move(folder)), patience_(patience) {}

std::string ProfileFile::GetPrivateProfileString(std::string_view section, std::string_view key,
                                                 std::string_view fallback,
                                                 const std::string& file) {
  try {
    if (const auto value = FindProfileValue(SectionText(PathOf(file), section), section, key)) {
      return std::string(CutToBytes(*value, kProfileValueLimit));
    }
  } catch (const std::exception&) {
    // As a missing file; the save will say what is wrong with it.
  }
  return std::string(fallback);
}

// A meter asks for some twenty keys of one section one after the other, and the file of a large
// group has many sections.
const std::string& ProfileFile::SectionText(const std::string& path, std::string_view section) {
  struct stat now {};
  const bool is_there = stat(path.c_str(), &now) == 0;
  if (is_there && IsSameFile(now, last_read_.status) && last_read_.path == path &&
      last_read_.section == section) {
    return last_read_.text;
  }
  last_read_ = {};
  if (const std::optional<FileContent> content = ReadFile(path)) {
    last_read_ = {.path = path,
                  .section = std::string(section),
                  .status = content->status,
                  .text = SectionOf(content->text, section)};
  }
  return last_read_.text;
}

void ProfileFile::WritePrivateProfileKeys(std::string_view section,
                                          std::span<const ProfileKey> keys,
                                          const std::string& file) {
  const std::string path = PathOf(file);
  const bool failed_before = failed_.count(path) != 0;
  try {
    WriteKeys(path, section, keys, failed_before ? std::chrono::milliseconds(0) : patience_);
  } catch (const std::exception& error) {
    if (!failed_before) {
      std::fprintf(stderr, "vantoscope: cannot save settings in %s: %s\n", path.c_str(),
                   error.what());
    }
    failed_.insert(path);
  }
}

std::string ProfileFile::PathOf(const std::string& file) const {
  return file.find('/') == std::string::npos ? folder_ + "/" + file : file;
}

}  // namespace vantoscope
