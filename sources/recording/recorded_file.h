// SPDX-License-Identifier: GPL-3.0-or-later
// A file on disk that somebody may be writing, moving or deleting: opened once, read on, and
// watched for being still the same.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantoscope {

class RecordedFile {
 public:
  /// Throws SourceError, with path and reason, when the path cannot be opened for reading or is no
  /// regular file.
  explicit RecordedFile(std::string path);
  RecordedFile(const RecordedFile&) = delete;
  RecordedFile& operator=(const RecordedFile&) = delete;
  ~RecordedFile();

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] int Descriptor() const { return descriptor_; }
  /// Bytes in the file now.
  [[nodiscard]] std::uint64_t Size() const;
  /// When it was written last, in nanoseconds since the Unix epoch by the clock of whoever keeps
  /// it, which may be a file server.
  [[nodiscard]] std::int64_t WrittenAt() const;
  /// Bytes read by ReadOn so far.
  [[nodiscard]] std::uint64_t Position() const { return position_; }

  /// The next bytes, as many as there are and `buffer` holds; empty at the end. Throws SourceError
  /// when reading fails.
  std::string_view ReadOn(std::span<char> buffer);
  /// Reading goes on there.
  void Seek(std::uint64_t position);

  enum class Change {
    kNone,
    kGone,       ///< the path leads to no file
    kReplaced,   ///< or to another one
    kTruncated,  ///< shorter than what has been read, or than when it was opened
    kRewritten,  ///< the last bytes that were read have changed
  };
  [[nodiscard]] Change LookForChange() const;
  /// The change in one sentence.
  [[nodiscard]] std::optional<std::string> Fate() const;

 private:
  [[nodiscard]] bool LastBytesChanged() const;

  std::string path_;
  int descriptor_ = -1;
  struct stat opened_ {};
  std::uint64_t position_ = 0;
  std::string last_bytes_;
};

}  // namespace vantoscope
