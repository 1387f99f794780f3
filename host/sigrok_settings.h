// SPDX-License-Identifier: GPL-3.0-or-later
// The text that selects an instrument of libsigrok, as its parts:
//
//   sigrok:DRIVER[:OPTION=VALUE...]
//
//   rate=HZ        scans per second, 0.01 to 1000000
//   range=LO..HI   of every analog channel, in its unit
//   conn=          where the instrument is, and
//   serialcomm=    how its serial port is set, both in libsigrok's own form
//
// Every other option is a setting of the instrument under libsigrok's own name for it, as in
// `sigrok:demo:samplerate=2000`. Whether there is such a setting, only the library knows.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sources/device_text.h"
#include "sources/range.h"

namespace vantoscope {

inline constexpr std::string_view kSigrokPrefix = "sigrok:";
inline constexpr double kMaxSigrokRate = 1e6;

struct SigrokSettings {
  std::string driver;
  std::optional<double> rate;
  std::optional<Range> range;
  std::optional<std::string> conn;
  std::optional<std::string> serialcomm;
  DeviceOptions instrument;  ///< its own settings

  bool operator==(const SigrokSettings&) const = default;
};

/// `text` begins with kSigrokPrefix. Throws SourceError for a rate or range that is none.
SigrokSettings ParseSigrokSettings(std::string_view text);

/// The text of the settings; ParseSigrokSettings gives them back.
std::string SigrokText(const SigrokSettings& settings);

}  // namespace vantoscope
