// telvixd: acquires from one device and publishes its scans through an MQTT broker, for any number
// of meters on any number of machines.
#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <iostream>
#include <memory>
#include <string>

#include "host/host.h"
#include "host/sigrok_device.h"
#include "sources/open_device.h"
#include "text/version.h"

namespace vantoscope {
namespace {

struct Options {
  std::string from = std::string(kDefaultDevice);
  std::string to;
  int interval_ms = 40;
};

void Say(const std::string& line) { std::cerr << "telvixd: " << line << std::endl; }

std::unique_ptr<Device> OpenAny(const std::string& text) {
  if (text.starts_with(kSigrokPrefix)) return std::make_unique<SigrokDevice>(text);
  return OpenDevice(text);
}

int Run(const Options& options) {
  const MqttAddress address = ParseMqttTarget(options.to);
  // Before any thread begins, so that only the wait between two blocks takes them.
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ends, signal);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  const std::unique_ptr<Device> device = OpenAny(options.from);
  Host host(*device, address, Say);
  return host.Run(std::chrono::milliseconds(options.interval_ms), ends);
}

}  // namespace
}  // namespace vantoscope

int main(int argc, char** argv) {
  vantoscope::Options options;
  CLI::App app(
      "Acquires from one device and publishes its scans through an MQTT broker, so that meters on "
      "any machine can show them. Ends when the device ends or on SIGINT, SIGTERM or SIGHUP.",
      "telvixd");
  app.add_option("--from", options.from,
                 "Device to read:\n"
                 "sim or SM64:rate=1000,channels=12,seed=1   simulator (the default)\n"
                 "/data/run.csv, /data/x.wav?loop            recording\n"
                 "sigrok:DRIVER[:OPTION=VALUE...]            instrument of libsigrok;\n"
                 "                                           sigrok:demo needs no hardware\n"
                 "mqtt://host/root                           another host, handed on");
  app.add_option("--to", options.to,
                 "Broker and root topic, HOST[:PORT]/ROOT or /SOCKET!ROOT;\n"
                 "port 8883 or ?tls means TLS, ?cafile=PATH whom to trust")
      ->required();
  app.add_option("--interval", options.interval_ms, "Milliseconds between blocks (40)")
      ->check(CLI::Range(1, 10'000));
  app.set_version_flag("--version", vantoscope::VersionText("telvixd"));
  app.footer(
      "Environment:\n"
      "  VANTOSCOPE_MQTT_CREDENTIALS   file with the user name in its first line and the password\n"
      "                                in its second\n\n"
      "Example:\n"
      "  mosquitto -p 1883 &\n"
      "  telvixd --from sim --to localhost:1883/lab/bench1 &\n"
      "  vantoscope -dmqtt://localhost:1883/lab/bench1 -nBench -i-1");
  CLI11_PARSE(app, argc, argv);
  try {
    return vantoscope::Run(options);
  } catch (const std::exception& error) {
    vantoscope::Say(error.what());
    return 1;
  }
}
