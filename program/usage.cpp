// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/usage.h"

#include "text/version.h"

namespace vantoscope {
namespace {

constexpr std::string_view kHelp =
    R"(Usage: vantoscope [-dDEVICE [-nNAME [-iINDEX]]]
       vantoscope --list [DEVICE] [--json]

Shows one channel of a data acquisition host as one big number that stays on top.

  -dDEVICE  where the data comes from; the built-in simulator if left out
              sim                      the simulator
              /path/to/recording.csv   a recording, as a text table or a sound file
              -                        a text table on standard input, as it comes
              mqtt://host:port/root    a host in the network, published by telvixd
  -nNAME    name of the meter, "_" stands for a space; each name and channel has
            settings of its own
  -iINDEX   channel, counted from 0; -1 opens a meter for every channel

Arguments have this order and none may hold a space; one that has no effect is
told on standard error. The settings are kept in
$XDG_CONFIG_HOME/vantoscope/Vantoscope.ini (~/.config if that is not set).

  --list     print the channels of a device: index, label in equations, value now
             and more; without one, what kinds of devices there are; with --json
             for scripts
  --help     this text
  --version  the version
)";

}  // namespace

std::optional<std::string> PrintedFor(std::string_view word) {
  if (word == "--help") return std::string(kHelp);
  if (word == "--version") return VersionText("vantoscope") + "\n";
  return std::nullopt;
}

}  // namespace vantoscope
