// SPDX-License-Identifier: GPL-3.0-or-later
// Texts that select a device, and the words of a command line. Each is read or refused with one
// sentence, and what was read gives the same again from its full form.
#include <algorithm>
#include <cstdlib>

#include "groups/command_line.h"
#include "groups/command_words.h"
#include "host/sigrok_settings.h"
#include "sources/mqtt/mqtt_address.h"
#include "sources/open_device.h"
#include "text/characters.h"

using namespace vantoscope;

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireOneLine(std::string_view sentence) {
  Require(!sentence.empty() && std::ranges::none_of(sentence, IsControl));
}

template <typename Read>
void ReadOrRefuse(Read read) {
  try {
    read();
  } catch (const SourceError& error) {
    Require(*error.what() != '\0');
  }
}

void CheckAddress(const MqttAddress& address) {
  const std::string full = FullText(MqttDeviceText(32, address));
  const MqttAddress again = ParseMqttAddress(ParseDeviceText(full));
  Require(FullText(MqttDeviceText(32, again)) == full);
  Require(again.broker == address.broker && again.root == address.root &&
          again.port == address.port && again.ca_file == address.ca_file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  ReadOrRefuse([&] {
    const DeviceText device = ParseAnyDeviceText(text);
    const std::string full = FullText(device);
    Require(full.find(' ') == std::string::npos);
    if (LooksLikeDeviceText(text)) Require(ParseDeviceText(full) == device);
  });
  ReadOrRefuse([&] { CheckAddress(ParseMqttTarget(text)); });
  ReadOrRefuse([&] { ParseSigrokSettings(std::string(kSigrokPrefix) + text); });
  for (const std::string& sentence : CheckWords(text).sentences) RequireOneLine(sentence);
  static_cast<void>(IndexOf(text));
  return 0;
}
