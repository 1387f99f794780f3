// SPDX-License-Identifier: GPL-3.0-or-later
// A sound file as samples: libsndfile below, loaded when the first sound file is opened; it
// and its decoders cost 2 ms of start-up and 0.2 MB of private memory.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "sources/recording/recorded_file.h"
#include "sources/recording/stored_channel.h"

namespace vantoscope {

struct Sound {
  double rate = 0;  ///< frames per second
  /// All of one length, full scale -1 to 1; float may go beyond.
  std::vector<StoredChannel> channels;
};

/// Whether the file is to be read as sound: by its first bytes or by the ending of its name.
bool LooksLikeSound(std::string_view path, std::string_view first_bytes);

class SoundFile {
 public:
  /// Throws SourceError when it is no sound file. Uses the descriptor of `file`, and is its only
  /// user for as long as it lives, but for reads from a given place.
  explicit SoundFile(const RecordedFile& file);
  SoundFile(const SoundFile&) = delete;
  SoundFile& operator=(const SoundFile&) = delete;
  ~SoundFile();

  [[nodiscard]] double Rate() const;
  [[nodiscard]] std::size_t Channels() const;
  /// Whether Next gives 16-bit words.
  [[nodiscard]] bool IsWords() const;
  /// How many frames there are, if any of them can be read without those before it: uncompressed
  /// ones, whose last one is there.
  [[nodiscard]] std::optional<std::int64_t> RandomFrames();
  bool SeekTo(std::int64_t frame);
  /// The frames from here on: 8 to 16 bits as 16-bit words, 24 and 32 bits as 32-bit ones,
  /// everything else as float, also what is infinite or no number. Fewer at the end of the file.
  std::vector<StoredChannel> Next(std::size_t most_frames);

 private:
  struct Open;
  std::unique_ptr<Open> open_;
};

/// Reads the whole file. Throws SourceError when it is no sound file, holds no frame, or more than
/// `most_samples` samples over all channels.
Sound ReadSound(const RecordedFile& file, std::size_t most_samples);
Sound ReadSound(SoundFile& sound, const RecordedFile& file, std::size_t most_samples);

}  // namespace vantoscope
