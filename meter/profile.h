// Reading and writing one key of a profile file, the only way to the settings. The file form is
// plain text: lines "[section]" and below each of them lines "key=value".
#pragma once

#include <string>
#include <string_view>

namespace vantoscope {

/// Longest value, in bytes, that a read returns.
inline constexpr std::size_t kProfileValueLimit = 254;

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
  /// Replaces the value of one key, adds the key at the end of the section, or makes section and
  /// file. Everything else in the file stays byte for byte. A failure is reported on standard
  /// error, once per file, and never raised.
  virtual void WritePrivateProfileString(std::string_view section, std::string_view key,
                                         std::string_view value, const std::string& file) = 0;
};

}  // namespace vantoscope
