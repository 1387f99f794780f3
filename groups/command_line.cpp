#include "groups/command_line.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "text/characters.h"
#include "text/numbers.h"
#include "text/utf8.h"
#include "text/words.h"

namespace vantoscope {
namespace {

/// What stands behind "-" and the letter, in either case.
std::optional<std::string_view> ValueBehind(char upper_letter, std::string_view token) {
  if (token.size() < 2 || token[0] != '-' || Upper(token[1]) != upper_letter) return std::nullopt;
  return token.substr(2);
}

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

void ReadCommandLine(Meter& meter, std::string_view command_line) {
  const std::vector<std::string_view> tokens = CutAtBlanks(command_line);
  if (const auto device = ValueBehind('D', tokens[0])) {
    meter.telvix.SetDeviceName(std::string(*device));
  }

  if (tokens.size() < 2) return;
  const auto name = ValueBehind('N', tokens[1]);
  meter.runtime.MeterName = name ? WithBlanks(*name) : meter.form.Title();

  if (tokens.size() < 3) return;
  const auto index_text = ValueBehind('I', tokens[2]);
  if (!index_text) return;
  const double index = NumberFromText(*index_text);
  if (index != -1) {
    meter.runtime.ChannelIndex = RoundToInt16(index);
    return;
  }
  meter.runtime.ChannelIndex = 0;
  LaunchFurtherMeters(meter, tokens[1]);
}

}  // namespace vantoscope
