// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/command_line.h"

#include <algorithm>
#include <string>
#include <vector>

#include "text/characters.h"
#include "text/numbers.h"
#include "text/utf8.h"
#include "text/words.h"

namespace vantoscope {
namespace {

std::string WithBlanks(std::string_view name) {
  std::string text(name);
  std::replace(text.begin(), text.end(), '_', ' ');
  return text;
}

void LaunchFurtherMeters(Meter& meter, std::string_view name_token) {
  const std::int16_t count = meter.telvix.ChannelCount();
  for (int index = 1; index < count; ++index) {
    const std::string device = meter.telvix.DeviceName();
    meter.platform.processes.Start("vantoscope.exe -d" + device + " -n" +
                                       std::string(WithoutFirstCharacters(name_token, 2)) + " -i" +
                                       std::to_string(index),
                                   kShowNoActivate);
  }
}

}  // namespace

std::optional<std::string_view> ValueBehind(char upper_letter, std::string_view word) {
  if (word.size() < 2 || word[0] != '-' || Upper(word[1]) != upper_letter) return std::nullopt;
  return word.substr(2);
}

std::optional<std::string_view> IndexText(std::string_view command_line) {
  const std::vector<std::string_view> words = CutAtBlanks(command_line);
  return words.size() < 3 ? std::nullopt : ValueBehind('I', words[2]);
}

std::int16_t IndexOf(std::string_view command_line) {
  return RoundToInt16(NumberFromText(IndexText(command_line).value_or("")));
}

bool OpensGroup(std::string_view command_line) {
  const auto index = IndexText(command_line);
  return index && NumberFromText(*index) == -1;
}

void ReadCommandLine(Meter& meter, std::string_view command_line) {
  const std::vector<std::string_view> tokens = CutAtBlanks(command_line);
  if (const auto device = ValueBehind('D', tokens[0])) {
    meter.telvix.SetDeviceName(std::string(*device));
  }

  if (tokens.size() < 2) return;
  const auto name = ValueBehind('N', tokens[1]);
  meter.runtime.MeterName = name ? WithBlanks(*name) : meter.form.Title();

  if (!OpensGroup(command_line)) {
    meter.runtime.ChannelIndex = IndexOf(command_line);  // 0 where there is none
    return;
  }
  meter.runtime.ChannelIndex = 0;
  LaunchFurtherMeters(meter, tokens[1]);
}

}  // namespace vantoscope
