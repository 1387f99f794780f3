// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing keys of a profile file, the only way to the settings. The file form is
// plain text: lines "[section]" and below each of them lines "key=value".
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace vantoscope {

/// Longest value, in bytes, that a read returns.
inline constexpr std::size_t kProfileValueLimit = 254;

struct ProfileKey {
  std::string_view name;
  std::string value;
};

class ProfileOperations {
 public:
  ProfileOperations() = default;
  ProfileOperations(const ProfileOperations&) = delete;
  ProfileOperations& operator=(const ProfileOperations&) = delete;
  virtual ~ProfileOperations() = default;

  /// The value of a key without the blanks around it, cut to kProfileValueLimit bytes (never
  /// inside a UTF-8 character), or `fallback` when file, section or key is missing. Section and
  /// key names match without regard to case. A key with nothing behind the "=" gives "".
  virtual std::string GetPrivateProfileString(std::string_view section, std::string_view key,
                                              std::string_view fallback,
                                              const std::string& file) = 0;
  /// Writes keys of one section in their order, all in one change of the file or none: replaces
  /// the value of a key, adds the key at the end of the section, or makes section and file.
  /// Everything else in the file stays byte for byte. A failure is reported on standard error,
  /// once per file, and never raised.
  virtual void WritePrivateProfileKeys(std::string_view section, std::span<const ProfileKey> keys,
                                       const std::string& file) = 0;
  /// As above, one key.
  void WritePrivateProfileString(std::string_view section, std::string_view key,
                                 std::string_view value, const std::string& file) {
    const ProfileKey one{key, std::string(value)};
    WritePrivateProfileKeys(section, {&one, 1}, file);
  }
};

}  // namespace vantoscope
