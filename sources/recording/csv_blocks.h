// SPDX-License-Identifier: GPL-3.0-or-later
// A text file in blocks that end with a line, as UTF-8, from any place on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "sources/recording/csv_encoding.h"

namespace vantoscope {

/// Puts the bytes from `offset` on into `to`, and tells how many: less than asked for only at the
/// end of the file. Throws SourceError.
using ReadAt = std::function<std::size_t(std::uint64_t offset, std::span<char> to)>;

class CsvBlocks {
 public:
  /// `decoder` is one of the file's first bytes.
  CsvBlocks(ReadAt read, TextDecoder decoder);

  /// Where the text begins, behind the byte order mark.
  [[nodiscard]] std::uint64_t Begin() const { return decoder_.MarkSize(); }
  /// The place at or ahead of `offset` where a code unit begins.
  [[nodiscard]] std::uint64_t UnitAt(std::uint64_t offset) const;

  struct Block {
    std::string_view text;    ///< until the next call
    std::uint64_t bytes = 0;  ///< of the file
    bool at_end = false;      ///< of the file
  };
  /// From `offset` on, where a code unit begins, to a line end, at about `bytes` bytes at most;
  /// without a line end there, and at the end of the file, all of them.
  Block Read(std::uint64_t offset, std::size_t bytes);

 private:
  [[nodiscard]] std::size_t LastLineEnd(std::string_view bytes) const;

  ReadAt read_;
  TextDecoder decoder_;
  std::string bytes_;
};

}  // namespace vantoscope
