// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_encoding.h"

#include <utility>

namespace vantoscope {
namespace {

constexpr std::size_t kBytesLookedAt = 64;
constexpr unsigned kReplacement = 0xFFFD;

bool IsUtf8(std::string_view text) {
  std::size_t following = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (following > 0) {
      if ((byte & 0xC0U) != 0x80U) return false;
      --following;
    } else if (byte >= 0x80U) {
      following = byte >= 0xF5U ? 4 : byte >= 0xF0U ? 3 : byte >= 0xE0U ? 2 : byte >= 0xC2U ? 1 : 4;
      if (following == 4) return false;
    }
  }
  return following == 0;
}

void AppendUtf8(std::string& text, unsigned point) {
  const auto append = [&](unsigned byte) { text += static_cast<char>(byte); };
  const auto tail = [&](unsigned shift) { append(0x80U | ((point >> shift) & 0x3FU)); };
  if (point < 0x80U) {
    append(point);
  } else if (point < 0x800U) {
    append(0xC0U | (point >> 6U));
    tail(0);
  } else if (point < 0x10000U) {
    append(0xE0U | (point >> 12U));
    tail(6);
    tail(0);
  } else {
    append(0xF0U | (point >> 18U));
    tail(12);
    tail(6);
    tail(0);
  }
}

/// Whether every second byte is 0, from that place on, and no other.
bool ZerosFrom(std::string_view bytes, std::size_t place) {
  if (bytes.size() < 4) return false;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if ((bytes[i] == '\0') != (i % 2 == place)) return false;
  }
  return true;
}

}  // namespace

std::string ToUtf8(std::string_view text) {
  if (IsUtf8(text)) return std::string(text);
  std::string converted;
  for (const char c : text) AppendUtf8(converted, static_cast<unsigned char>(c));
  return converted;
}

TextDecoder::TextDecoder(std::string_view first_bytes) {
  const std::string_view some = first_bytes.substr(0, kBytesLookedAt);
  if (some.starts_with("\xEF\xBB\xBF")) {
    mark_size_ = 3;
  } else if (some.starts_with("\xFF\xFE")) {
    mark_size_ = 2;
    unit_ = Unit::kLittleEndian;
  } else if (some.starts_with("\xFE\xFF")) {
    mark_size_ = 2;
    unit_ = Unit::kBigEndian;
  } else if (ZerosFrom(some, 1)) {
    unit_ = Unit::kLittleEndian;
  } else if (ZerosFrom(some, 0)) {
    unit_ = Unit::kBigEndian;
  }
}

std::string_view TextDecoder::Decode(std::string_view bytes) {
  if (unit_ == Unit::kByte) return bytes;
  text_.clear();
  odd_byte_ += bytes;
  std::size_t i = 0;
  for (; i + 1 < odd_byte_.size(); i += 2) {
    const auto first = static_cast<unsigned char>(odd_byte_[i]);
    const auto second = static_cast<unsigned char>(odd_byte_[i + 1]);
    Append(unit_ == Unit::kLittleEndian ? first | (unsigned{second} << 8U)
                                        : second | (unsigned{first} << 8U));
  }
  odd_byte_.erase(0, i);
  return text_;
}

void TextDecoder::Append(unsigned unit) {
  const bool is_low = unit >= 0xDC00U && unit < 0xE000U;
  const unsigned high = std::exchange(high_, 0);
  if (high != 0 && is_low) {
    return AppendUtf8(text_, 0x10000U + ((high - 0xD800U) << 10U) + (unit - 0xDC00U));
  }
  if (high != 0) AppendUtf8(text_, kReplacement);
  if (unit >= 0xD800U && unit < 0xDC00U) {
    high_ = unit;
  } else {
    AppendUtf8(text_, is_low ? kReplacement : unit);
  }
}

}  // namespace vantoscope
