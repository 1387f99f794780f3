// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/device_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "meter/data_source.h"
#include "text/characters.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  const char capital = Upper(c);
  return capital >= 'A' && capital <= 'F' ? capital - 'A' + 10 : -1;
}

std::string DecodedOrThrow(std::string_view text) {
  std::optional<std::string> decoded = PercentDecoded(text);
  if (!decoded) {
    throw SourceError("The device text part '" + WithoutCredentials(text) +
                      "' holds a % that is not followed by two hexadecimal digits; a % of its own "
                      "is written %25.");
  }
  return *std::move(decoded);
}

/// `LO..HI`; nothing for anything else.
std::optional<Range> RangeFromText(std::string_view text) {
  const std::size_t dots = text.find("..");
  if (dots == std::string_view::npos) return std::nullopt;
  const std::optional<double> low = WholeNumber(text.substr(0, dots));
  const std::optional<double> high = WholeNumber(text.substr(dots + 2));
  if (!low || !high || *low >= *high) return std::nullopt;
  return Range{.low = *low, .high = *high};
}

}  // namespace

std::string PercentEncoded(std::string_view text, std::string_view more) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (c == ' ' || IsControl(c) || c == '%' || c == '?' || c == '&' || more.find(c) != more.npos) {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kHex[byte >> 4U], kHex[byte & 15U]};
    } else {
      encoded += c;
    }
  }
  return encoded;
}

bool LooksLikeDeviceText(std::string_view text) {
  return text.size() >= 4 && IsLetter(text[0]) && IsLetter(text[1]) && IsDigit(text[2]) &&
         IsDigit(text[3]) && (text.size() == 4 || text[4] == ':' || text[4] == '?');
}

DeviceText ParseDeviceText(std::string_view text) {
  if (!LooksLikeDeviceText(text)) {
    throw SourceError("'" + WithoutCredentials(text) +
                      "' is no device text: two letters for the kind and two digits for the model "
                      "come first, as in SM64 or FI64:/data/run.csv.");
  }
  const std::string kind{Upper(text[0]), Upper(text[1])};
  const int model = (text[2] - '0') * 10 + (text[3] - '0');
  text.remove_prefix(4);
  if (text.starts_with(':')) text.remove_prefix(1);
  return ParseRest(kind, model, text);
}

DeviceText ParseRest(std::string_view kind, int model, std::string_view text) {
  DeviceText device{.kind = std::string(kind), .model = model, .rest = {}, .options = {}};
  const std::size_t question = text.find('?');
  if (question != std::string_view::npos) {
    device.options = ParseOptions(text.substr(question + 1), '&');
  }
  device.rest = DecodedOrThrow(text.substr(0, question));
  return device;
}

std::string FullText(const DeviceText& device) {
  std::string text = device.kind;
  text += static_cast<char>('0' + device.model / 10);
  text += static_cast<char>('0' + device.model % 10);
  if (!device.rest.empty()) text.append(":").append(PercentEncoded(device.rest));
  char separator = '?';
  for (const auto& [name, value] : device.options) {
    text += separator + PercentEncoded(name, "=");
    if (!value.empty()) text.append("=").append(PercentEncoded(value));
    separator = '&';
  }
  return text;
}

std::optional<std::string> PercentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = HexValue(text[i + 1]);
    const int low = HexValue(text[i + 2]);
    if (high < 0 || low < 0 || high + low == 0) return std::nullopt;
    decoded += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return decoded;
}

DeviceOptions SplitOptions(std::string_view text, char separator) {
  DeviceOptions options;
  while (!text.empty()) {
    const std::string_view option = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(text.size(), option.size() + 1));
    if (option.empty()) continue;
    const std::size_t equals = std::min(option.find('='), option.size());
    const std::string_view value = option.substr(std::min(equals + 1, option.size()));
    options.emplace_back(option.substr(0, equals), value);
  }
  return options;
}

DeviceOptions ParseOptions(std::string_view text, char separator) {
  DeviceOptions options = SplitOptions(text, separator);
  for (auto& [name, value] : options) {
    name = DecodedOrThrow(name);
    value = DecodedOrThrow(value);
    if (name.empty()) throw SourceError("The device option '=" + value + "' has no name.");
  }
  return options;
}

std::optional<std::string> TakeOption(DeviceText& device, std::string_view name) {
  const auto found = std::ranges::find_if(device.options,
                                          [&](const auto& option) { return option.first == name; });
  if (found == device.options.end()) return std::nullopt;
  std::string value = std::move(found->second);
  device.options.erase(found);
  return value;
}

std::optional<double> TakeNumber(DeviceText& device, std::string_view name, double low,
                                 double high) {
  const std::optional<std::string> text = TakeOption(device, name);
  if (!text) return std::nullopt;
  const std::optional<double> number = WholeNumber(*text);
  if (!number || *number < low || *number > high) {
    throw SourceError("The device option " + std::string(name) + "=" + *text +
                      " is not a number from " + ShortestText(low) + " to " + ShortestText(high) +
                      ".");
  }
  return number;
}

std::optional<Range> TakeRange(DeviceText& device, std::string_view name) {
  const std::optional<std::string> text = TakeOption(device, name);
  if (!text) return std::nullopt;
  const std::optional<Range> range = RangeFromText(*text);
  if (!range) {
    throw SourceError("The device option " + std::string(name) + "=" + *text +
                      " is not LO..HI with a lower and a higher number.");
  }
  return range;
}

void RefuseOtherOptions(const DeviceText& device, std::string_view known) {
  if (device.options.empty()) return;
  throw SourceError("A device of kind " + device.kind + " has no option '" +
                    device.options.front().first + "'; it knows " + std::string(known) + ".");
}

std::optional<double> WholeNumber(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

std::string ShortestText(double number) {
  std::array<char, 32> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} ? std::string(text.data(), end) : std::string();
}

}  // namespace vantoscope
