// The replay of samples in memory at their rate. Where they came from is no matter of this file,
// but for watching that the file stays.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/recording/recorded_channel.h"
#include "sources/recording/recorded_file.h"

namespace vantoscope {

/// A recording in memory; channels and samples in the order of the channel list, all samples of one
/// length above 0.
struct RecordedScans {
  std::vector<ChannelInfo> channels;
  std::vector<Samples> samples;
  double rate = 1;
};

/// When a replay takes which scan.
struct ReplayTimes {
  std::int64_t start = 0;  ///< of scan 0, in nanoseconds since the Unix epoch
  bool loop = false;
};

std::unique_ptr<Device> MakeReplay(std::string name, RecordedScans scans, ReplayTimes times,
                                   std::unique_ptr<RecordedFile> file, Clock clock);

}  // namespace vantoscope
