// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_list.h"

#include <string_view>

#include "host/sigrok_settings.h"
#include "sources/json_text.h"
#include "text/shown_text.h"
#include "text/terminal_text.h"

namespace vantoscope {
namespace {

constexpr std::size_t kTerminal = 80;

std::string PlaceOf(const SigrokDriver& driver) {
  if (!driver.takes_conn) return {};
  return driver.takes_serialcomm ? "serial" : "conn";
}

/// Those that are there, with blanks between them.
std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (!word.empty()) text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

/// "5 analog channels: A0 A1 ..." in lines that are indented.
std::string ChannelLines(const std::vector<std::string>& names, std::string_view kind) {
  if (names.empty()) return {};
  const std::string lines =
      Wrapped(std::to_string(names.size()) + ' ' + std::string(kind) +
                  (names.size() == 1 ? " channel: " : " channels: ") + Escaped(Joined(names)),
              kTerminal - 2);
  std::string indented;
  for (std::size_t at = 0; at < lines.size();) {
    const std::size_t end = lines.find('\n', at) + 1;
    indented += "  " + lines.substr(at, end - at);
    at = end;
  }
  return indented;
}

}  // namespace

std::string DriversText(const std::vector<SigrokDriver>& drivers) {
  std::vector<std::vector<std::string>> rows{{"Driver", "Place", "Instruments"}};
  for (const SigrokDriver& driver : drivers) {
    rows.push_back({driver.name, PlaceOf(driver), driver.reads});
  }
  return Table(rows, {false, false, false}) + '\n' +
         Wrapped(
             "telvixd --list sigrok:DRIVER tells which instruments are there. One that is not "
             "found by itself is named by its place, as in "
             "sigrok:DRIVER:conn=/dev/ttyUSB0:serialcomm=9600/8n1.",
             kTerminal);
}

std::string DriversJson(const std::vector<SigrokDriver>& drivers) {
  Json list = Json::array();
  for (const SigrokDriver& driver : drivers) {
    list.push_back({{"driver", driver.name},
                    {"instruments", driver.reads},
                    {"conn", driver.takes_conn},
                    {"serialcomm", driver.takes_serialcomm}});
  }
  return JsonText({{"drivers", std::move(list)}});
}

std::string InstrumentsText(const std::vector<FoundInstrument>& instruments) {
  std::string text;
  for (const FoundInstrument& found : instruments) {
    text += found.from + '\n';
    text += "  " + Escaped(Joined({found.vendor, found.model, found.version, found.serial})) + '\n';
    text += ChannelLines(found.analog, "analog") + ChannelLines(found.logic, "logic") + '\n';
  }
  return text + "telvixd --from " + instruments.front().from +
         " --to localhost:1883/lab/bench1\npublishes it.\n";
}

std::string InstrumentsJson(const std::vector<FoundInstrument>& instruments) {
  Json list = Json::array();
  for (const FoundInstrument& found : instruments) {
    list.push_back({{"from", found.from},
                    {"vendor", found.vendor},
                    {"model", found.model},
                    {"version", found.version},
                    {"serial", found.serial},
                    {"analog", found.analog},
                    {"logic", found.logic}});
  }
  return JsonText({{"instruments", std::move(list)}});
}

}  // namespace vantoscope
