// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_blocks.h"

#include <algorithm>
#include <utility>

namespace vantoscope {

CsvBlocks::CsvBlocks(ReadAt read, TextDecoder decoder)
    : read_(std::move(read)), decoder_(std::move(decoder)) {}

std::uint64_t CsvBlocks::UnitAt(std::uint64_t offset) const {
  if (offset < Begin()) return Begin();
  return offset - (offset - Begin()) % decoder_.UnitSize();
}

CsvBlocks::Block CsvBlocks::Read(std::uint64_t offset, std::size_t bytes) {
  const std::size_t wanted = std::max(bytes - bytes % decoder_.UnitSize(), decoder_.UnitSize());
  bytes_.resize(wanted);
  const std::size_t size = read_(offset, bytes_);
  std::string_view text = std::string_view(bytes_).substr(0, size);
  const bool at_end = size < wanted;
  const std::size_t end = LastLineEnd(text);
  if (!at_end && end > 0) text = text.substr(0, end);
  decoder_.Restart();
  return {.text = decoder_.Decode(text), .bytes = text.size(), .at_end = at_end};
}

/// Behind the last line feed; 0 without one.
std::size_t CsvBlocks::LastLineEnd(std::string_view bytes) const {
  const std::size_t unit = decoder_.UnitSize();
  for (std::size_t end = bytes.rfind('\n'); end != bytes.npos; end = bytes.rfind('\n', end - 1)) {
    const std::size_t start = end - end % unit;
    TextDecoder decoder = decoder_;
    decoder.Restart();
    if (unit == 1 || decoder.Decode(bytes.substr(start, unit)) == "\n") return start + unit;
    if (end == 0) break;
  }
  return 0;
}

}  // namespace vantoscope
