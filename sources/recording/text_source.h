// SPDX-License-Identifier: GPL-3.0-or-later
// Where the text of a live table comes from.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sources/clock.h"
#include "sources/recording/text_pieces.h"

namespace vantoscope {

/// What the age of a row goes by: the file's own time at first, later the time since our own reads.
struct FollowClocks {
  Clock wall = SystemTime;
  Clock steady = SteadyTime;
};

/// What has come.
struct TextNews {
  std::vector<TextPiece> pieces = {};
  std::optional<std::string> gone = {};  ///< why nothing comes any more, in one sentence
  std::string silence = {};              ///< why nothing comes for now, as the end of a sentence
};

/// Its text may hang: every call may take any time, but for Interrupt. One thread at a time. Throws
/// SourceError.
class TextSource {
 public:
  TextSource() = default;
  TextSource(const TextSource&) = delete;
  TextSource& operator=(const TextSource&) = delete;
  virtual ~TextSource() = default;

  /// The start of sentences about it: "The recording '/data/run.csv'".
  [[nodiscard]] virtual std::string Subject() const = 0;
  [[nodiscard]] virtual const CsvLayout& Layout() const = 0;
  /// What there is at the beginning, of a long text its end.
  virtual TextNews Begin() = 0;
  virtual TextNews Read() = 0;
  /// Whether Read waits until something comes.
  [[nodiscard]] virtual bool Waits() const = 0;
  /// Ends such a Read; from any thread.
  virtual void Interrupt() {}
};

}  // namespace vantoscope
