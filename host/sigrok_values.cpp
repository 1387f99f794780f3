// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "host/sigrok_handles.h"

namespace vantoscope {
namespace {

double ShortestDecimal(float value) {
  std::array<char, 32> text{};
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  double decimal = value;
  // "inf" and "nan" read back, too.
  std::from_chars(text.data(), end, decimal);
  return decimal;
}

double Number(const sr_rational& rational) {
  return static_cast<double>(rational.p) / static_cast<double>(rational.q);
}

/// The library's own conversion knows neither doubles nor scaled floats.
template <typename Float>
std::vector<double> FloatValues(const sr_datafeed_analog& analog, std::size_t count,
                                bool shortest) {
  const sr_analog_encoding& encoding = *analog.encoding;
  const bool swapped = encoding.is_bigendian != (std::endian::native == std::endian::big);
  const double scale = Number(encoding.scale);
  const double offset = Number(encoding.offset);
  const auto* from = static_cast<const std::byte*>(analog.data);
  std::vector<double> values(count);
  for (double& value : values) {
    std::array<std::byte, sizeof(Float)> bytes{};
    std::copy_n(from, bytes.size(), bytes.begin());
    if (swapped) std::ranges::reverse(bytes);
    const auto number = std::bit_cast<Float>(bytes);
    value = offset + scale * (shortest ? ShortestDecimal(static_cast<float>(number)) : number);
    from += bytes.size();
  }
  return values;
}

}  // namespace

std::vector<double> AnalogValues(const sr_datafeed_analog& analog, bool shortest) {
  const std::size_t count =
      std::size_t{g_slist_length(analog.meaning->channels)} * analog.num_samples;
  const sr_analog_encoding& encoding = *analog.encoding;
  if (encoding.is_float && encoding.unitsize == sizeof(double)) {
    return FloatValues<double>(analog, count, false);
  }
  if (encoding.is_float && encoding.unitsize == sizeof(float)) {
    return FloatValues<float>(analog, count, shortest);
  }
  std::vector<float> values(count);
  if (encoding.is_float || sr_analog_to_float(&analog, values.data()) != SR_OK) return {};
  return {values.begin(), values.end()};
}

std::vector<double> Column(std::span<const double> values, std::size_t width, std::size_t column) {
  std::vector<double> result;
  for (std::size_t at = column; at < values.size(); at += width) result.push_back(values[at]);
  return result;
}

std::string UnitOf(const sr_datafeed_analog& analog) {
  sr_analog_meaning meaning = *analog.meaning;
  meaning.mqflags =
      static_cast<sr_mqflag>(meaning.mqflags & ~(SR_MQFLAG_AUTORANGE | SR_MQFLAG_UNSTABLE));
  sr_datafeed_analog settled = analog;
  settled.meaning = &meaning;
  char* unit = nullptr;
  if (sr_analog_unit_to_string(&settled, &unit) != SR_OK) return {};
  // As the library writes it, often with a blank before it.
  std::string text = GlibText(unit).get();
  return text.erase(0, text.find_first_not_of(' '));
}

std::vector<double> LogicValues(std::span<const std::uint8_t> bytes, std::size_t width,
                                std::size_t place) {
  std::vector<double> result;
  for (std::size_t at = place; at < bytes.size(); at += width) {
    result.push_back(static_cast<double>(bytes[at]));
  }
  return result;
}

}  // namespace vantoscope
