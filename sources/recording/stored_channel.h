// SPDX-License-Identifier: GPL-3.0-or-later
// The samples of one recorded channel, packed into memory without loss.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include "sources/range.h"

namespace vantoscope {

/// The samples of one channel: value = offset + factor * (stored / divisor).
class StoredChannel {
 public:
  StoredChannel() = default;
  /// Whole numbers of a converter.
  StoredChannel(std::vector<std::int16_t> words, double divisor) : stored_(std::move(words)) {
    divisor_ = divisor;
  }
  StoredChannel(std::vector<std::int32_t> words, double divisor) : stored_(std::move(words)) {
    divisor_ = divisor;
  }
  explicit StoredChannel(std::vector<float> values) : stored_(std::move(values)) {}
  explicit StoredChannel(std::vector<double> values) : stored_(std::move(values)) {}
  /// Keeps values with up to nine decimals, as text files hold them, in the fewest bytes that give
  /// back exactly the same doubles.
  static StoredChannel Packed(std::vector<double> values);

  void Calibrate(double factor, double offset) {
    factor_ = factor;
    offset_ = offset;
  }

  /// Whether 16-bit words hold the samples.
  [[nodiscard]] bool IsWords() const {
    return std::holds_alternative<std::vector<std::int16_t>>(stored_);
  }
  [[nodiscard]] std::size_t Size() const;
  [[nodiscard]] std::size_t Bytes() const;
  [[nodiscard]] double operator[](std::size_t index) const;
  /// Copies the samples from `first` on to all of `values`.
  void Copy(std::size_t first, std::span<double> values) const;
  /// Of the samples that are finite; 0 to 0 when none is.
  [[nodiscard]] Range Extent() const;

 private:
  std::variant<std::vector<std::int16_t>, std::vector<std::int32_t>, std::vector<float>,
               std::vector<double>>
      stored_;
  double divisor_ = 1;
  double factor_ = 1;
  double offset_ = 0;
};

}  // namespace vantoscope
