// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a file that a recorder is writing, and of the files that come in its place.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/recording/recorded_file.h"
#include "sources/recording/text_source.h"

namespace vantoscope {

/// A file that is no longer the same ends the text. With `rotate` it goes on: with the start of the
/// file where that was truncated or written anew, and with another file at the path once it holds
/// something, behind the rest of the old one. While the path leads to no file, it waits.
class GrowingFile final : public TextSource {
 public:
  /// Finds the layout. Throws SourceError when the file has no column of numbers yet.
  GrowingFile(std::unique_ptr<RecordedFile> file, const CsvReading& reading, bool rotate,
              FollowClocks clocks);

  [[nodiscard]] std::string Subject() const override;
  [[nodiscard]] const CsvLayout& Layout() const override { return text_.Layout(); }
  TextNews Begin() override;
  TextNews Read() override;
  [[nodiscard]] bool Waits() const override { return false; }

 private:
  void SkipToEnd();
  bool ReadPiece();
  std::optional<std::string> GoToNext();
  TextNews Dated();

  bool rotate_;
  FollowClocks clocks_;
  std::unique_ptr<RecordedFile> file_;
  TextPieces text_;
  std::string buffer_;
  std::uint64_t bytes_per_line_ = 1;
  std::optional<std::int64_t> read_at_;  // by the steady clock
};

}  // namespace vantoscope
