// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_settings.h"

#include <algorithm>

namespace vantoscope {

SigrokSettings ParseSigrokSettings(std::string_view text) {
  constexpr double kMinRate = 0.01;
  text.remove_prefix(kSigrokPrefix.size());
  SigrokSettings settings;
  settings.driver = text.substr(0, text.find(':'));
  text.remove_prefix(std::min(text.size(), settings.driver.size() + 1));
  DeviceText device;
  device.options = ParseOptions(text, ':');
  settings.rate = TakeNumber(device, "rate", kMinRate, kMaxSigrokRate);
  settings.range = TakeRange(device, "range");
  settings.conn = TakeOption(device, "conn");
  settings.serialcomm = TakeOption(device, "serialcomm");
  settings.instrument = std::move(device.options);
  return settings;
}

std::string SigrokText(const SigrokSettings& settings) {
  std::string text = std::string(kSigrokPrefix) + settings.driver;
  const auto add = [&text](const std::string& name, const std::string& value) {
    text += ':' + PercentEncoded(name, ":=") + '=' + PercentEncoded(value, ":");
  };
  if (settings.conn) add("conn", *settings.conn);
  if (settings.serialcomm) add("serialcomm", *settings.serialcomm);
  if (settings.rate) add("rate", ShortestText(*settings.rate));
  if (settings.range) {
    add("range", ShortestText(settings.range->low) + ".." + ShortestText(settings.range->high));
  }
  for (const auto& [name, value] : settings.instrument) add(name, value);
  return text;
}

}  // namespace vantoscope
