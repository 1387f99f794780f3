// SPDX-License-Identifier: GPL-3.0-or-later
// The text that a named pipe or standard input brings.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "sources/opening.h"
#include "sources/recording/text_source.h"

namespace vantoscope {

/// What stands for standard input where a path is asked for.
inline constexpr std::string_view kStandardInput = "-";

/// Whether the path names a stream: standard input or a named pipe.
bool IsStream(const std::string& path);

/// The text ends when no writer has the pipe any more; with `rotate` that of a named pipe goes on
/// with the next writer, who may write the header again.
class StreamText final : public TextSource {
 public:
  /// Opens the stream, and does not wait for a writer. Throws SourceError when it cannot be opened.
  StreamText(std::string path, const CsvReading& reading, bool rotate, Clock steady);
  ~StreamText() override;

  /// Waits for the first lines: 400 of them, or what has come a second behind the first of them if
  /// that tells the columns and the rate, or all there are. Throws SourceError when the stream ends
  /// before, and when the opening is given up.
  void WaitForTable(Opening& opening);

  [[nodiscard]] std::string Subject() const override;
  [[nodiscard]] const CsvLayout& Layout() const override { return text_.Layout(); }
  TextNews Begin() override { return News(); }
  TextNews Read() override;
  [[nodiscard]] bool Waits() const override { return true; }
  void Interrupt() override;

 private:
  bool WaitForBytes(int milliseconds);
  void ReadAll();
  void GoToNextWriter();
  bool Settles(Opening& opening, bool all);
  TextNews News();

  std::string path_;
  CsvReading reading_;
  bool rotate_;
  Clock steady_;
  int descriptor_ = -1;
  int interrupt_ = -1;
  TextPieces text_;
  std::string buffer_;
  bool ended_ = false;
};

}  // namespace vantoscope
