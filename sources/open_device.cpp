#include "sources/open_device.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "sources/device_text.h"
#include "sources/mqtt/mqtt_device.h"
#include "sources/recording/recording.h"
#include "sources/simulator.h"

namespace vantoscope {
namespace {

constexpr std::string_view kMqttPrefix = "mqtt://";

std::string FullRecordingText(const std::string& path) {
  std::error_code ignored;
  DeviceText device{.kind = "FI", .model = 64, .rest = path, .options = {}};
  const std::size_t question = path.rfind('?');
  if (!std::filesystem::exists(path, ignored)) {
    if (question != std::string::npos) {
      device.options = ParseOptions(std::string_view(path).substr(question + 1), '&');
      device.rest.resize(question);
    }
    if (!std::filesystem::exists(device.rest, ignored)) {
      device.rest = PercentDecoded(device.rest).value_or(device.rest);
    }
  }
  device.rest = std::filesystem::absolute(device.rest, ignored).string();
  return FullText(device);
}

}  // namespace

std::string FullDeviceText(const std::string& text) {
  if (text.empty()) throw SourceError("The device text is empty; SM64 is the simulator.");
  if (text == "sim") return std::string(kDefaultDevice);
  if (text.starts_with("sim:")) return std::string(kDefaultDevice) + text.substr(3);
  if (text.starts_with(kMqttPrefix)) return "MQ64:" + text.substr(kMqttPrefix.size());
  if (LooksLikeDeviceText(text)) return text;
  return FullRecordingText(text);
}

std::unique_ptr<Device> OpenDevice(const std::string& text, Clock clock) {
  const std::string full = FullDeviceText(text);
  DeviceText device = ParseDeviceText(full);
  if (device.kind != "SM" && device.kind != "FI" && device.kind != "MQ") {
    throw SourceError("The device '" + text + "' is of the unknown kind " + device.kind +
                      "; there are SM (simulator), FI (recording) and MQ (network host).");
  }
  if (device.model != 64 && device.model != 32) {
    throw SourceError("The device '" + text + "' is of an unknown model; the kind " + device.kind +
                      " has the models 64 and 32.");
  }
  if (device.kind == "SM") return OpenSimulator(std::move(device), std::move(clock));
  if (device.kind == "FI") return OpenRecording(std::move(device), std::move(clock));
  return OpenMqttDevice(device);
}

}  // namespace vantoscope
