// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes of a text file as UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantoscope {

/// Text in UTF-8 as it stands, anything else as Latin-1, in which old recorders write their units.
std::string ToUtf8(std::string_view text);

/// UTF-16 of either order, known by its byte order mark or by its zero bytes, becomes UTF-8; any
/// other bytes stay what they are.
class TextDecoder {
 public:
  TextDecoder() = default;
  /// Finds the encoding from the first bytes of a file.
  explicit TextDecoder(std::string_view first_bytes);

  /// Length of the byte order mark; 0 without one.
  [[nodiscard]] std::size_t MarkSize() const { return mark_size_; }
  /// Bytes of one code unit.
  [[nodiscard]] std::size_t UnitSize() const { return unit_ == Unit::kByte ? 1 : 2; }
  /// Goes on behind what was decoded before. Valid until the next call.
  std::string_view Decode(std::string_view bytes);
  /// What comes next is no continuation.
  void Restart() { odd_byte_.clear(), high_ = 0; }

 private:
  enum class Unit { kByte, kLittleEndian, kBigEndian };
  void Append(unsigned unit);

  Unit unit_ = Unit::kByte;
  std::size_t mark_size_ = 0;
  std::string odd_byte_;
  unsigned high_ = 0;  // the first half of a surrogate pair
  std::string text_;
};

}  // namespace vantoscope
