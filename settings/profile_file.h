// SPDX-License-Identifier: GPL-3.0-or-later
// The profile operations on real files. Many processes may write one file at the same moment; none
// loses a key, and a reader never sees half a file.
//
// Every write takes a lock, reads the newest content, writes a new file beside the old one, brings
// it to disk and renames it over the old one, so that a power failure leaves the one or the other.
// The lock is an flock on "NAME.lock" in the same folder: it ends with the process that holds it,
// however that ends, and the empty lock file is left in place, since taking it away would let two
// processes hold locks on two files of that name. The new file is always "NAME.new", so that what
// killed writers leave behind never adds up: the next writer replaces it.
//
// The disk takes some milliseconds for it, and a whole group of meters that ends waits for the one
// lock: keys that belong together are to be written together.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <set>
#include <string>
#include <string_view>

#include "meter/profile.h"

namespace vantoscope {

class ProfileFile final : public ProfileOperations {
 public:
  /// A file name without a slash leads to the folder vantoscope/ of the user's configuration
  /// folder, $XDG_CONFIG_HOME or ~/.config.
  ProfileFile();
  /// A file name without a slash leads to `folder`. A write that finds the file locked waits for
  /// `patience` and then fails; later writes to the same file do not wait again.
  explicit ProfileFile(std::string folder,
                       std::chrono::milliseconds patience = std::chrono::seconds(30));

  /// A file that cannot be read, that is no regular file, that is larger than 64 MiB, that is
  /// UTF-16 or that holds zero bytes counts as missing; a write to it fails.
  std::string GetPrivateProfileString(std::string_view section, std::string_view key,
                                      std::string_view fallback, const std::string& file) override;
  /// Makes the folder where it is missing. A file that is a symbolic link stays one. A file that
  /// is there is replaced only where it can be read, where its user may write it (root too only
  /// where anybody may) and where the new one can have its owner, group, mode and access list.
  void WritePrivateProfileKeys(std::string_view section, std::span<const ProfileKey> keys,
                               const std::string& file) override;
  /// Where the file of that name is kept.
  [[nodiscard]] std::string PathOf(const std::string& file) const;

 private:
  /// The last section that was read, as long as its file is the same.
  struct LastRead {
    std::string path;
    std::string section;
    struct stat status {};
    std::string text;  ///< of the section
  };
  const std::string& SectionText(const std::string& path, std::string_view section);

  std::string folder_;
  std::chrono::milliseconds patience_;
  LastRead last_read_;
  std::set<std::string> failed_;  ///< files whose failure has been reported
};

}  // namespace vantoscope
