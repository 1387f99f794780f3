// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/open_device.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "sources/device_text.h"
#include "sources/mqtt/mqtt_device.h"
#include "sources/opening.h"
#include "sources/recording/recording.h"
#include "sources/recording/stream_text.h"
#include "sources/simulator.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

constexpr int kFriendlyModel = 64;
constexpr std::string_view kMqttPrefix = "mqtt://";
constexpr std::string_view kSimulatorPrefix = "sim:";

/// Refuses what is meant for no file, with what to write instead. A password in an address is not
/// repeated.
void RefuseNoPath(const std::string& text) {
  if (text.starts_with("sigrok:")) {
    throw SourceError("The instrument '" + text + "' is read by telvixd: after 'telvixd --from " +
                      text +
                      " --to localhost:1883/lab/bench1' the device of a meter is "
                      "mqtt://localhost:1883/lab/bench1.");
  }
  if (text.starts_with("file://")) {
    throw SourceError("A recording is named by its path, as in /data/run.csv, without file://.");
  }
  if (text.starts_with("mqtts://")) {
    throw SourceError("TLS is chosen by the port 8883 or by ?tls, as in mqtt://host:8883/root.");
  }
  if (text.find("://") != std::string::npos || text.starts_with("mqtt:")) {
    throw SourceError("The device '" + WithoutCredentials(text) +
                      "' is of an unknown kind; a network host is written mqtt://HOST:PORT/ROOT.");
  }
  if (text.find_first_of("./") == std::string::npos) {
    throw SourceError("There is neither a device nor a file '" + text + "'; the simulator is sim.");
  }
}

bool IsPath(const std::string& text) {
  return !text.empty() && text != "sim" && !text.starts_with(kSimulatorPrefix) &&
         !text.starts_with(kMqttPrefix) && !LooksLikeDeviceText(text);
}

/// Waits for the file system.
DeviceText RecordingAt(const std::string& path) {
  std::error_code ignored;
  DeviceText device{.kind = "FI", .model = kFriendlyModel, .rest = path, .options = {}};
  if (path == kStandardInput || std::filesystem::exists(path, ignored)) return device;
  const std::size_t question = path.rfind('?');
  if (question != std::string::npos) {
    device.options = ParseOptions(std::string_view(path).substr(question + 1), '&');
    device.rest.resize(question);
  }
  if (device.rest == kStandardInput) return device;
  if (!std::filesystem::exists(device.rest, ignored)) {
    device.rest = PercentDecoded(device.rest).value_or(device.rest);
    if (!std::filesystem::exists(device.rest, ignored)) RefuseNoPath(path);
  }
  return device;
}

/// `text` is what the user wrote.
std::unique_ptr<Device> OpenParsed(const std::string& text, DeviceText device, Clock clock,
                                   const Meanwhile& meanwhile) {
  if (device.kind != "SM" && device.kind != "FI" && device.kind != "MQ") {
    throw SourceError("The device '" + WithoutCredentials(text) + "' is of the unknown kind " +
                      device.kind +
                      "; there are SM (simulator), FI (recording) and MQ (network host).");
  }
  if (device.model != 64 && device.model != 32) {
    throw SourceError("The device '" + WithoutCredentials(text) +
                      "' is of an unknown model; the kind " + device.kind +
                      " has the models 64 and 32.");
  }
  if (device.kind == "SM") return OpenSimulator(std::move(device), std::move(clock));
  if (device.kind == "FI") return OpenRecording(std::move(device), std::move(clock), meanwhile);
  return OpenMqttDevice(device, meanwhile);
}

}  // namespace

DeviceText ParseAnyDeviceText(const std::string& text) {
  const std::string_view view = text;
  if (text.empty()) throw SourceError("The device text is empty; SM64 is the simulator.");
  if (text == "sim") return ParseDeviceText(kDefaultDevice);
  if (text.starts_with(kSimulatorPrefix)) {
    return ParseRest("SM", kFriendlyModel, view.substr(kSimulatorPrefix.size()));
  }
  if (text.starts_with(kMqttPrefix)) {
    return ParseRest("MQ", kFriendlyModel, view.substr(kMqttPrefix.size()));
  }
  if (IsPath(text)) return RecordingAt(text);
  return ParseDeviceText(text);
}

std::unique_ptr<Device> OpenDevice(const std::string& text, Clock clock,
                                   const Meanwhile& meanwhile) {
  if (!meanwhile || !IsPath(text)) {
    return OpenParsed(text, ParseAnyDeviceText(text), std::move(clock), meanwhile);
  }
  return OpenBeside(
      [text, clock = std::move(clock)](Opening& opening) {
        return OpenParsed(text, RecordingAt(text), clock, [&opening](const std::string& sentence) {
          if (!sentence.empty()) opening.SetMissing(sentence);
          return !opening.GivenUp();
        });
      },
      NotOpenYet(text), meanwhile);
}

void RefuseStream(const std::string& text, const Meanwhile& meanwhile) {
  const auto refuse = [text](Opening&) -> std::unique_ptr<Device> {
    const DeviceText device = ParseAnyDeviceText(text);
    if (device.kind != "FI" || !IsStream(device.rest)) return nullptr;
    throw SourceError("Only one meter can read the stream '" + device.rest +
                      "', a group cannot; after 'telvixd --from " + text +
                      " --to localhost:1883/lab/bench1' its device is "
                      "mqtt://localhost:1883/lab/bench1, or after tee the file that tee writes.");
  };
  OpenBeside(refuse, NotOpenYet(text), meanwhile);
}

}  // namespace vantoscope
