// SPDX-License-Identifier: GPL-3.0-or-later
// A text table that somebody is writing, to a file or a stream: the newest scans of it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/device.h"
#include "sources/opening.h"
#include "sources/range.h"
#include "sources/recording/recorded_file.h"
#include "sources/recording/text_reader.h"
#include "sources/recording/text_source.h"

namespace vantoscope {

/// How somebody wants it to be followed.
struct Following {
  CsvReading reading = {};
  std::optional<Range> range = {};
  bool rotate = false;
  FollowClocks clocks = {};
  /// Who reads on.
  std::unique_ptr<TextReader> (*reader)(std::unique_ptr<TextSource>) = TextReader::Beside;
};

/// Throws SourceError as OpenRecording does.
std::unique_ptr<Device> MakeFollow(std::string name, std::unique_ptr<RecordedFile> file,
                                   Following following);

/// Of a named pipe or standard input (stream_text.h). Waits for the first lines; throws SourceError
/// when there are none to come.
std::unique_ptr<Device> FollowStream(std::string name, const std::string& path, Following following,
                                     Opening& opening);

}  // namespace vantoscope
