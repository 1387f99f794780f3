// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/shown_text.h"

#include <algorithm>

#include "text/characters.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

/// Where a user name may begin: behind "mqtt://", or behind the kind and model of a device.
std::size_t BeginOfAddress(std::string_view text) {
  constexpr std::size_t kDeviceText = 5;  // "MQ64:"
  const std::size_t scheme = text.find("://");
  if (scheme != std::string_view::npos) return scheme + 3;
  const bool device = text.size() > kDeviceText && IsLetter(text[0]) && IsLetter(text[1]) &&
                      IsDigit(text[2]) && IsDigit(text[3]) && text[4] == ':';
  return device ? kDeviceText : 0;
}

/// The bytes of the control characters from U+0080 to U+009F begin with this one.
constexpr char kLateControl = '\xC2';

std::string Escape(char c) {
  constexpr std::string_view kHex = "0123456789abcdef";
  if (c == '\n') return "\\n";
  if (c == '\r') return "\\r";
  if (c == '\t') return "\\t";
  const auto byte = static_cast<unsigned char>(c);
  return {'\\', 'x', kHex[byte >> 4U], kHex[byte & 15U]};
}

bool BeginsLateControl(std::string_view text) {
  return text.size() > 1 && text[0] == kLateControl && ContinuesCharacter(text[1]) &&
         static_cast<unsigned char>(text[1]) < 0xA0;
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string shown;
  for (; !text.empty(); text.remove_prefix(1)) {
    if (BeginsLateControl(text)) {
      shown += Escape(text[0]) + Escape(text[1]);
      text.remove_prefix(1);
    } else if (IsControl(text[0])) {
      shown += Escape(text[0]);
    } else {
      shown += text[0];
    }
  }
  return shown;
}

std::string AgeText(double seconds) {
  const auto whole = [](double number) { return std::to_string(static_cast<long long>(number)); };
  constexpr double kMinute = 60;
  constexpr double kHour = 3600;
  constexpr double kDay = 86400;
  if (seconds < 2 * kMinute) return whole(seconds) + " s";
  if (seconds < 2 * kHour) return whole(seconds / kMinute) + " min";
  if (seconds < 2 * kDay) return whole(seconds / kHour) + " h";
  return whole(std::min(seconds / kDay, 1e9)) + " days";
}

std::string WithoutCredentials(std::string_view text) {
  const std::size_t at = text.rfind('@');
  const std::size_t begin = BeginOfAddress(text);
  // Without a colon it is no password.
  if (at == std::string_view::npos || text.find(':', begin) > at) return std::string(text);
  return std::string(text.substr(0, begin)) + "..." + std::string(text.substr(at));
}

}  // namespace vantoscope
