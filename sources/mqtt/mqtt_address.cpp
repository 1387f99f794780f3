// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_address.h"

#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include "meter/data_source.h"
#include "text/characters.h"
#include "text/shown_text.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

constexpr int kPlainPort = 1883;
constexpr int kTlsPort = 8883;
constexpr double kLongestSeconds = 86400;
constexpr std::size_t kLongestRoot = 1024;
constexpr std::size_t kLongestSocket = sizeof(sockaddr_un::sun_path) - 1;

std::string Shown(const std::string& text) {
  constexpr std::size_t kMost = 100;  // characters
  const std::string_view first = FirstCharacters(text, kMost);
  return Escaped(first) + (first.size() < text.size() ? "..." : "");
}

[[noreturn]] void Refuse(const std::string& text, const std::string& why) {
  // What stands before an @ may be a name and a password, and also what makes the rest wrong.
  if (text.find('@') != std::string::npos) {
    throw SourceError(
        "A network host is written without user name and password; they belong into the file that "
        "VANTOSCOPE_MQTT_CREDENTIALS names, and only HOST:PORT/ROOT or /PATH/OF/SOCKET!ROOT here.");
  }
  throw SourceError("\"" + Shown(text) + "\" names no network host: " + why +
                    "; HOST:PORT/ROOT or /PATH/OF/SOCKET!ROOT is expected.");
}

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

std::string SecondsText(std::chrono::milliseconds time) {
  return ShortestText(static_cast<double>(time.count()) / 1000);
}

/// A root is a topic of its own: no wildcard, no empty level, no broker's own tree.
void CheckRoot(const std::string& text, std::string_view root) {
  if (root.size() > kLongestRoot) {
    Refuse(text, "its root is longer than " + std::to_string(kLongestRoot) + " bytes");
  }
  if (std::ranges::any_of(root, IsControl)) Refuse(text, "its root has a control character");
  if (root.empty() || root.starts_with('$') || root.starts_with('/') || root.ends_with('/') ||
      root.find("//") != root.npos || root.find_first_of("#+") != root.npos) {
    Refuse(text, "its root is no plain topic");
  }
}

/// What stands before the root: HOST, HOST:PORT, [ADDRESS] or [ADDRESS]:PORT.
void ParseHost(const std::string& text, std::string_view host, MqttAddress& address) {
  if (host.find('@') != host.npos) Refuse(text, "it has a user name");
  std::string_view port;
  bool has_port = false;
  if (host.starts_with('[')) {
    const std::size_t close = host.find(']');
    if (close == host.npos) Refuse(text, "a ] is missing");
    port = host.substr(close + 1);
    has_port = !port.empty();
    if (has_port && !port.starts_with(':')) Refuse(text, "its address is not understood");
    if (has_port) port.remove_prefix(1);
    host = host.substr(1, close - 1);
  } else if (const std::size_t colon = host.find(':'); colon != host.npos) {
    has_port = true;
    port = host.substr(colon + 1);
    host = host.substr(0, colon);
  }
  if (host.empty()) Refuse(text, "the broker's name is missing");
  address.broker = host;
  address.port = address.tls ? kTlsPort : kPlainPort;
  if (!has_port) return;
  const char* end = port.data() + port.size();
  const auto [stop, error] = std::from_chars(port.data(), end, address.port);
  if (error != std::errc{} || stop != end || address.port < 1 || address.port > 65535) {
    Refuse(text, "its port is not a number from 1 to 65535");
  }
  if (address.port == kTlsPort) address.tls = true;
}

}  // namespace

std::string MqttAddress::Endpoint() const {
  if (port == 0) return broker;
  const bool v6 = broker.find(':') != std::string::npos;
  return (v6 ? '[' + broker + ']' : broker) + ':' + std::to_string(port);
}

MqttAddress ParseMqttAddress(DeviceText device) {
  MqttAddress address;
  if (const auto file = TakeOption(device, "cafile")) {
    address.ca_file = *file;
    address.tls = true;
  }
  if (TakeOption(device, "tls")) address.tls = true;
  if (const auto seconds = TakeNumber(device, "timeout", 0.1, kLongestSeconds)) {
    address.timeout = Milliseconds(*seconds);
  }
  if (const auto seconds = TakeNumber(device, "wait", 0.1, kLongestSeconds)) {
    address.wait = Milliseconds(*seconds);
    address.patient = true;
  }
  RefuseOtherOptions(device, "tls, cafile, timeout and wait");

  const std::string& text = device.rest;
  const bool socket = text.starts_with('/');
  const std::size_t separator = text.find(socket ? '!' : '/');
  if (separator == std::string::npos) Refuse(text, "the root topic is missing");
  address.root = text.substr(separator + 1);
  CheckRoot(text, address.root);
  if (socket) {
    if (address.tls) Refuse(text, "a Unix socket has no TLS");
    if (separator > kLongestSocket) Refuse(text, "the path of its socket is too long");
    address.broker = text.substr(0, separator);
  } else {
    ParseHost(text, std::string_view(text).substr(0, separator), address);
  }
  return address;
}

MqttAddress ParseMqttTarget(std::string_view text) {
  constexpr std::string_view kPrefix = "mqtt://";
  if (text.starts_with(kPrefix)) text.remove_prefix(kPrefix.size());
  // Not every text that looks like one is a device text: a broker may be pc01:1883, too.
  const bool in_full = LooksLikeDeviceText(text) && SameIgnoringCase(text.substr(0, 2), "MQ");
  return ParseMqttAddress(in_full ? ParseDeviceText(text) : ParseRest("MQ", 64, text));
}

DeviceText MqttDeviceText(int model, const MqttAddress& address) {
  DeviceText device{.kind = "MQ", .model = model, .rest = {}, .options = {}};
  device.rest = address.Endpoint() + (address.port == 0 ? '!' : '/') + address.root;
  if (!address.ca_file.empty()) {
    device.options.emplace_back("cafile", address.ca_file);
  } else if (address.tls && address.port != kTlsPort) {
    device.options.emplace_back("tls", "");
  }
  const MqttAddress usual;
  if (address.timeout != usual.timeout) {
    device.options.emplace_back("timeout", SecondsText(address.timeout));
  }
  if (address.patient) device.options.emplace_back("wait", SecondsText(address.wait));
  return device;
}

std::optional<MqttCredentials> ReadMqttCredentials() {
  const char* path = std::getenv("VANTOSCOPE_MQTT_CREDENTIALS");
  if (path == nullptr || *path == '\0') return std::nullopt;
  std::ifstream file(path);
  MqttCredentials credentials;
  struct stat status {};
  if (stat(path, &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0) {
    credentials.warning = std::string("The file ") + path +
                          " with the password for the broker can be read by others than its owner; "
                          "chmod 600 prevents that.";
  }
  if (!file || !std::getline(file, credentials.user) || credentials.user.empty()) {
    throw SourceError(std::string("The file ") + path +
                      " that VANTOSCOPE_MQTT_CREDENTIALS names cannot be read, or has no user name "
                      "in its first line.");
  }
  std::getline(file, credentials.password);
  for (std::string* line : {&credentials.user, &credentials.password}) {
    if (line->ends_with('\r')) line->pop_back();
  }
  return credentials;
}

}  // namespace vantoscope
