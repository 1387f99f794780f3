// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/sound_file.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "meter/data_source.h"
#include "sources/shared_library.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

constexpr std::size_t kPiece = 32768;  // samples read in one go

class SoundLibrary {
  const SharedLibrary library_{"A sound file", "libsndfile.so.1", "libsndfile1"};

 public:
  VANTOSCOPE_LIBRARY_FUNCTION(open_fd, sf_open_fd);
  VANTOSCOPE_LIBRARY_FUNCTION(close, sf_close);
  VANTOSCOPE_LIBRARY_FUNCTION(strerror, sf_strerror);
  VANTOSCOPE_LIBRARY_FUNCTION(seek, sf_seek);
  VANTOSCOPE_LIBRARY_FUNCTION(readf_short, sf_readf_short);
  VANTOSCOPE_LIBRARY_FUNCTION(readf_int, sf_readf_int);
  VANTOSCOPE_LIBRARY_FUNCTION(readf_float, sf_readf_float);
};

const SoundLibrary& Library() {
  static const SoundLibrary library;
  return library;
}

/// What libsndfile gives the samples of a file as, without loss.
enum class Kind { kWords16, kWords32, kFloat };

Kind KindOf(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
    case SF_FORMAT_IMA_ADPCM:
    case SF_FORMAT_MS_ADPCM:
    case SF_FORMAT_ALAC_16:
      return Kind::kWords16;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_ALAC_32:
      return Kind::kWords32;
    default:
      return Kind::kFloat;
  }
}

/// Of these any frame can be read exactly without those before it.
bool IsUncompressed(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
      return true;
    default:
      return false;
  }
}

/// The next frames, at most that many, added channel by channel; their number.
template <typename Sample, typename ReadFrames>
std::size_t AddFrames(SNDFILE* sound, std::size_t most, std::vector<std::vector<Sample>>& samples,
                      ReadFrames read_frames) {
  const std::size_t channels = samples.size();
  std::vector<Sample> piece(std::max(kPiece, channels));
  std::size_t frames = 0;
  while (frames < most) {
    const std::size_t wanted = std::min(piece.size() / channels, most - frames);
    const sf_count_t count = read_frames(sound, piece.data(), static_cast<sf_count_t>(wanted));
    if (count <= 0) break;
    for (std::size_t channel = 0; channel < channels; ++channel) {
      for (std::size_t frame = 0; frame < static_cast<std::size_t>(count); ++frame) {
        samples[channel].push_back(piece[frame * channels + channel]);
      }
    }
    frames += static_cast<std::size_t>(count);
  }
  for (auto& channel : samples) channel.shrink_to_fit();
  return frames;
}

template <typename Sample, typename ReadFrames, typename... Divisor>
std::vector<StoredChannel> Frames(SNDFILE* sound, std::size_t channels, std::size_t most,
                                  ReadFrames read_frames, Divisor... divisor) {
  std::vector<std::vector<Sample>> samples(channels);
  AddFrames(sound, most, samples, read_frames);
  std::vector<StoredChannel> stored;
  stored.reserve(channels);
  for (auto& channel : samples) stored.emplace_back(std::move(channel), divisor...);
  return stored;
}

}  // namespace

bool LooksLikeSound(std::string_view path, std::string_view first_bytes) {
  using namespace std::string_view_literals;
  struct Magic {
    std::string_view first;
    std::size_t place;        // of the second one
    std::string_view second;  // which tells it from a text that begins the same
  };
  static constexpr std::array<Magic, 12> kMagics{{{"RIFF", 8, "WAVE"},
                                                  {"RIFX", 8, "WAVE"},
                                                  {"RF64", 8, "WAVE"},
                                                  {"riff", 4, "\x2E\x91\xCF\x11"},
                                                  {"FORM", 8, "AIF"},
                                                  {"FORM", 8, "8SVX"},
                                                  {"fLaC", 5, "\0\0"sv},
                                                  {"OggS", 4, "\0"sv},
                                                  {".snd", 4, "\0\0"sv},
                                                  {"dns.", 6, "\0\0"sv},
                                                  {"caff", 4, "\0"sv},
                                                  {"ID3", 4, "\0"sv}}};
  static constexpr std::array<std::string_view, 14> kEndings{
      ".wav",  ".aif", ".aiff", ".aifc", ".flac", ".ogg", ".oga",
      ".opus", ".mp3", ".au",   ".snd",  ".w64",  ".caf", ".rf64"};
  const auto has = [&](const Magic& magic) {
    return first_bytes.starts_with(magic.first) &&
           first_bytes.substr(std::min(magic.place, first_bytes.size())).starts_with(magic.second);
  };
  const auto ends_so = [&](std::string_view ending) {
    return path.size() >= ending.size() &&
           SameIgnoringCase(path.substr(path.size() - ending.size()), ending);
  };
  const bool is_text = std::ranges::none_of(first_bytes, [](char c) {
    return (IsControl(c) && c != '\t' && c != '\r' && c != '\n') || (c & 0x80) != 0;
  });
  return std::ranges::any_of(kMagics, has) || (!is_text && std::ranges::any_of(kEndings, ends_so));
}

struct SoundFile::Open {
  ~Open() {
    if (sound != nullptr) Library().close(sound);
  }
  SNDFILE* sound = nullptr;
  SF_INFO info{};
};

SoundFile::SoundFile(const RecordedFile& file) : open_(std::make_unique<Open>()) {
  open_->sound = Library().open_fd(file.Descriptor(), SFM_READ, &open_->info, SF_FALSE);
  if (open_->sound == nullptr) {
    throw SourceError("The recording '" + file.Path() +
                      "' cannot be read as a sound file: " + Library().strerror(nullptr));
  }
}

SoundFile::~SoundFile() = default;

double SoundFile::Rate() const { return open_->info.samplerate; }

std::size_t SoundFile::Channels() const { return static_cast<std::size_t>(open_->info.channels); }

bool SoundFile::IsWords() const { return KindOf(open_->info.format) == Kind::kWords16; }

std::optional<std::int64_t> SoundFile::RandomFrames() {
  const std::int64_t frames = open_->info.frames;
  if (open_->info.seekable == 0 || !IsUncompressed(open_->info.format) || frames <= 0) return {};
  // The number of frames in the header is not to be trusted: a file may have been cut.
  const bool last_is_there = SeekTo(frames - 1) && Next(1).front().Size() == 1;
  if (!SeekTo(0) || !last_is_there) return {};
  return frames;
}

bool SoundFile::SeekTo(std::int64_t frame) {
  return Library().seek(open_->sound, frame, SEEK_SET) == frame;
}

std::vector<StoredChannel> SoundFile::Next(std::size_t most_frames) {
  const SoundLibrary& library = Library();
  SNDFILE* const sound = open_->sound;
  switch (KindOf(open_->info.format)) {
    case Kind::kWords16:
      return Frames<std::int16_t>(sound, Channels(), most_frames, library.readf_short, 0x1p15);
    case Kind::kWords32:
      return Frames<std::int32_t>(sound, Channels(), most_frames, library.readf_int, 0x1p31);
    default:
      return Frames<float>(sound, Channels(), most_frames, library.readf_float);
  }
}

Sound ReadSound(SoundFile& sound, const RecordedFile& file, std::size_t most_samples) {
  const std::size_t most_frames = most_samples / sound.Channels();
  Sound result{.rate = sound.Rate(), .channels = sound.Next(most_frames + 1)};
  if (result.channels[0].Size() > most_frames) {
    throw SourceError("The recording '" + file.Path() +
                      "' is too large to replay: it has more than " + std::to_string(most_samples) +
                      " samples.");
  }
  if (result.channels[0].Size() == 0) {
    throw SourceError("The recording '" + file.Path() + "' holds no sound.");
  }
  return result;
}

Sound ReadSound(const RecordedFile& file, std::size_t most_samples) {
  SoundFile sound(file);
  return ReadSound(sound, file, most_samples);
}

}  // namespace vantoscope
