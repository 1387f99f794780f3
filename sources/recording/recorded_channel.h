// The samples of one recorded channel, packed into memory without loss.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "sources/device.h"
#include "sources/range.h"

namespace vantoscope {

/// `range` itself, or joined with 0 (or 0 to 1) when it is a single point.
Range NotEmpty(Range range);

/// Samples of one channel: value = offset + factor * (stored / divisor).
class Samples {
 public:
  Samples() = default;
  /// Whole numbers of a converter.
  Samples(std::vector<std::int16_t> words, double divisor) : stored_(std::move(words)) {
    divisor_ = divisor;
  }
  Samples(std::vector<std::int32_t> words, double divisor) : stored_(std::move(words)) {
    divisor_ = divisor;
  }
  explicit Samples(std::vector<float> values) : stored_(std::move(values)) {}
  /// Keeps values with up to nine decimals, as text files hold them, in the fewest bytes that give
  /// back exactly the same doubles.
  static Samples Packed(std::vector<double> values);

  void Calibrate(double factor, double offset) {
    factor_ = factor;
    offset_ = offset;
  }

  [[nodiscard]] std::size_t Size() const;
  [[nodiscard]] std::size_t BytesPerSample() const;
  [[nodiscard]] double operator[](std::size_t index) const;
  /// Copies the samples from `first` on to all of `values`.
  void Copy(std::size_t first, std::span<double> values) const;
  [[nodiscard]] Range Extent() const;

 private:
  explicit Samples(std::vector<double> values) : stored_(std::move(values)) {}

  std::variant<std::vector<std::int16_t>, std::vector<std::int32_t>, std::vector<float>,
               std::vector<double>>
      stored_;
  double divisor_ = 1;
  double factor_ = 1;
  double offset_ = 0;
};

}  // namespace vantoscope
