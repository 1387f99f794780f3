// The text that selects an instrument of libsigrok, as its parts:
//
//   sigrok:DRIVER[:OPTION=VALUE...]
//
//   rate=HZ           scans per second, 0.01 to 1000000; see SigrokDevice
//   range=LO..HI      of every analog channel, in its unit
//   conn=, serialcomm=  where the instrument is, for the driver to look there
//
// Every other option is a setting of the instrument under libsigrok's own name for it, as in
// `sigrok:demo:samplerate=2000`. Whether there is such a setting, only the library knows.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
  std::vector<std::pair<std::string, std::string>> instrument;  ///< name and value, as written

  bool operator==(const SigrokSettings&) const = default;
};

/// `text` begins with kSigrokPrefix. Throws SourceError for a rate or range that is none.
SigrokSettings ParseSigrokSettings(std::string_view text);

}  // namespace vantoscope
