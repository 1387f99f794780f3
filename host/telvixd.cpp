// SPDX-License-Identifier: GPL-3.0-or-later
// telvixd: acquires from one device and publishes its scans through an MQTT broker, for any number
// of meters on any number of machines.
#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "host/end_watch.h"
#include "host/host.h"
#include "host/sigrok_device.h"
#include "host/sigrok_list.h"
#include "host/sigrok_scan.h"
#include "sources/listing.h"
#include "sources/open_device.h"
#include "sources/standard_descriptors.h"
#include "text/shown_text.h"
#include "text/version.h"

namespace vantoscope {
namespace {

constexpr int kWrongCommandLine = 2;

struct Options {
  std::string from = std::string(kDefaultDevice);
  std::string to;
  int interval_ms = 40;
  std::string listed;  // a device; empty for the drivers
  bool json = false;
};

/// In one piece, whoever else writes there.
void Say(const std::string& line) { std::cerr << "telvixd: " + Escaped(line) + '\n' << std::flush; }

int SayWrong(const std::string& why) {
  Say(why);
  return kWrongCommandLine;
}

std::unique_ptr<Device> OpenAny(const std::string& text) {
  if (text.starts_with(kSigrokPrefix)) return std::make_unique<SigrokDevice>(text);
  return OpenDevice(text);
}

int Run(const Options& options, const MqttAddress& address) {
  EndWatch end;
  const std::unique_ptr<Device> device = OpenAny(options.from);
  Host host(*device, address, Say);
  return host.Run(std::chrono::milliseconds(options.interval_ms), end);
}

std::string ListOf(const Options& options) {
  if (options.listed.empty()) {
    const std::vector<SigrokDriver> drivers = SigrokDrivers();
    return options.json ? DriversJson(drivers) : DriversText(drivers);
  }
  if (options.listed.starts_with(kSigrokPrefix)) {
    const std::vector<FoundInstrument> found = ScanForInstruments(options.listed);
    return options.json ? InstrumentsJson(found) : InstrumentsText(found);
  }
  const std::unique_ptr<Device> device = OpenDevice(options.listed);
  const DeviceListing listing = ListDevice(*device, options.listed);
  return options.json ? ListingJson(listing) : ListingText(listing);
}

int RunList(const Options& options) {
  try {
    std::cout << ListOf(options) << std::flush;
  } catch (const std::exception& error) {
    Say(error.what());
    return EXIT_FAILURE;
  }
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
}

int RunGuarded(const Options& options) {
  std::optional<MqttAddress> address;
  try {
    address = ParseMqttTarget(options.to);
  } catch (const SourceError& error) {
    return SayWrong(std::string("--to: ") + error.what());
  }
  try {
    return Run(options, *address);
  } catch (const std::exception& error) {
    Say(error.what());
    return EXIT_FAILURE;
  }
}

}  // namespace
}  // namespace vantoscope

int main(int argc, char** argv) {
  vantoscope::FillStandardDescriptors();
  // A reader of standard error that goes away is no end.
  std::signal(SIGPIPE, SIG_IGN);
  vantoscope::Options options;
  CLI::App app(
      "Acquires from one device and publishes its scans through an MQTT broker, so that meters on "
      "any machine can show them. Ends when the device ends or on SIGINT, SIGTERM or SIGHUP.",
      "telvixd");
  app.add_option("--from", options.from,
                 "Device to read:\n"
                 "sim or SM64:rate=1000,channels=12,seed=1   simulator (the default)\n"
                 "/data/run.csv, /data/x.wav?loop            recording\n"
                 "-                                          text table on standard input\n"
                 "sigrok:DRIVER[:OPTION=VALUE...]            instrument of libsigrok;\n"
                 "                                           sigrok:demo needs no hardware\n"
                 "mqtt://host/root                           another host, handed on");
  app.add_option("--to", options.to,
                 "Broker and root topic, HOST[:PORT]/ROOT or /SOCKET!ROOT;\n"
                 "port 8883 or ?tls means TLS, ?cafile=PATH whom to trust");
  app.add_option("--interval", options.interval_ms, "Milliseconds between blocks, at most (40)")
      ->check(CLI::Range(1, 10'000));
  app.add_option("--list", options.listed,
                 "Print and exit: without a device the drivers of libsigrok, with\n"
                 "sigrok:DRIVER[:conn=...] the instruments that are there, with any\n"
                 "other device its channels")
      ->expected(0, 1)
      ->type_name("[DEVICE]");
  app.add_flag("--json", options.json, "What --list prints as JSON");
  app.set_version_flag("--version", vantoscope::VersionText("telvixd"));
  app.footer(
      "Environment:\n"
      "  VANTOSCOPE_MQTT_CREDENTIALS   file with the user name in its first line and the password\n"
      "                                in its second\n\n"
      "Exit code: 0 for an end that was asked for or that the device came to, 1 for what failed,\n"
      "2 for a wrong command line.\n\n"
      "Example:\n"
      "  mosquitto -p 1883 &\n"
      "  telvixd --from sim --to localhost:1883/lab/bench1 &\n"
      "  vantoscope -dmqtt://localhost:1883/lab/bench1 -nBench -i-1");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& wanted) {
    return app.exit(wanted);
  } catch (const CLI::ExtrasError&) {
    const std::string word = vantoscope::WithoutCredentials(app.remaining().front());
    return vantoscope::SayWrong('"' + word + "\" belongs to no option; --help shows what there is");
  } catch (const CLI::ParseError& error) {
    return vantoscope::SayWrong(error.what());
  }
  if (app.count("--list") > 0) {
    const bool alone = app.count("--from") + app.count("--to") + app.count("--interval") == 0;
    if (alone) return vantoscope::RunList(options);
    return vantoscope::SayWrong("--list prints and exits: only a device and --json go with it");
  }
  if (options.json) return vantoscope::SayWrong("--json goes with --list");
  if (options.to.empty()) return vantoscope::SayWrong("--to is required");
  return vantoscope::RunGuarded(options);
}
