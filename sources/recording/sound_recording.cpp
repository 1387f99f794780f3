// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/sound_recording.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "meter/data_source.h"
#include "sources/device_text.h"
#include "sources/recording/sound_file.h"

namespace vantoscope {
namespace {

constexpr std::size_t kMostSamples = 100'000'000;
constexpr std::size_t kPieceSamples = 65536;
constexpr std::int64_t kLooks = 32;

/// What full scale, 1, stands for.
struct Scale {
  double factor = 1;
  double offset = 0;
};

/// Full scale, or as far as `extent`, of samples, goes beyond it.
Range RangeOf(const Scale& scale, Range extent) {
  const double peak = std::max({1.0, -extent.low, extent.high});
  return {.low = scale.offset - scale.factor * peak, .high = scale.offset + scale.factor * peak};
}

std::vector<ChannelInfo> ListChannels(const std::vector<Range>& extents, const Scale& scale,
                                      bool are_words) {
  std::vector<ChannelInfo> channels;
  for (const Range& extent : extents) {
    ChannelInfo channel;
    channel.number = static_cast<std::int16_t>(channels.size() + 1);
    const Range range = RangeOf(scale, extent);
    channel.low = range.low;
    channel.high = range.high;
    if (are_words) {
      channel.encoding = Encoding::kInt16;
      channel.factor = scale.factor / 32768;
      channel.offset = scale.offset;
    }
    channels.push_back(std::move(channel));
  }
  return channels;
}

class LongSound final : public ScanSource {
 public:
  LongSound(std::unique_ptr<RecordedFile> file, std::unique_ptr<SoundFile> sound,
            std::int64_t frames, const Scale& scale)
      : file_(std::move(file)),
        sound_(std::move(sound)),
        frames_(frames),
        scale_(scale),
        piece_frames_(static_cast<std::int64_t>(
            std::max<std::size_t>(kPieceSamples / sound_->Channels(), 1))) {}

  /// Of samples from all over the file.
  std::vector<Range> LookAtExtents() {
    std::vector<Range> extents(sound_->Channels());
    if (sound_->IsWords()) return extents;
    for (std::int64_t i = 0; i < kLooks; ++i) {
      const auto samples = Frames(frames_ / kLooks * i, piece_frames_ / 8 + 1);
      for (std::size_t channel = 0; channel < samples.size(); ++channel) {
        extents[channel] = Joined(extents[channel], samples[channel].Extent());
      }
    }
    return extents;
  }

  void ReadOn() override {}
  [[nodiscard]] std::int64_t Known() const override { return frames_; }
  [[nodiscard]] bool Complete() const override { return true; }
  [[nodiscard]] const RecordedFile& File() const override { return *file_; }

  std::shared_ptr<const ScanPiece> Read(std::int64_t scan) override {
    ScanPiece piece;
    piece.first = scan - scan % piece_frames_;
    piece.end = std::min(piece.first + piece_frames_, frames_);
    piece.stored = Frames(piece.first, piece.end - piece.first);
    if (static_cast<std::int64_t>(piece.stored[0].Size()) < piece.end - piece.first) {
      throw SourceError("The recording '" + file_->Path() + "' was truncated.");
    }
    for (StoredChannel& stored : piece.stored) {
      if (!sound_->IsWords()) piece.extents.push_back(RangeOf(scale_, stored.Extent()));
      stored.Calibrate(scale_.factor, scale_.offset);
    }
    return std::make_shared<const ScanPiece>(std::move(piece));
  }

 private:
  std::vector<StoredChannel> Frames(std::int64_t first, std::int64_t count) {
    if (!sound_->SeekTo(first)) count = 0;
    return sound_->Next(static_cast<std::size_t>(count));
  }

  std::unique_ptr<RecordedFile> file_;
  std::unique_ptr<SoundFile> sound_;
  std::int64_t frames_;
  Scale scale_;
  std::int64_t piece_frames_;
};

}  // namespace

RecordedScans OpenSound(std::unique_ptr<RecordedFile> file, std::optional<Range> range,
                        std::uint64_t whole_bytes) {
  const Range full = range.value_or(Range{.low = -1, .high = 1});
  const Scale scale{.factor = (full.high - full.low) / 2, .offset = (full.high + full.low) / 2};
  auto sound = std::make_unique<SoundFile>(*file);
  RecordedScans recorded;
  recorded.rate = sound->Rate();
  const bool are_words = sound->IsWords();
  recorded.description = std::string("sound of ") + (are_words ? "16-bit words" : "numbers") +
                         "; scans per second: " + ShortestText(recorded.rate);
  const auto frames = file->Size() > whole_bytes ? sound->RandomFrames() : std::nullopt;
  if (frames) {
    auto source = std::make_unique<LongSound>(std::move(file), std::move(sound), *frames, scale);
    recorded.channels = ListChannels(source->LookAtExtents(), scale, are_words);
    recorded.source = std::move(source);
    return recorded;
  }
  Sound samples = ReadSound(*sound, *file, kMostSamples);
  std::vector<Range> extents;
  for (StoredChannel& stored : samples.channels) {
    extents.push_back(stored.Extent());
    stored.Calibrate(scale.factor, scale.offset);
  }
  recorded.channels = ListChannels(extents, scale, are_words);
  ScanPiece piece;
  piece.end = static_cast<std::int64_t>(samples.channels[0].Size());
  piece.stored = std::move(samples.channels);
  recorded.source = InMemory(std::move(piece), std::move(file));
  return recorded;
}

}  // namespace vantoscope
