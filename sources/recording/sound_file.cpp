// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/sound_file.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string>

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
  VANTOSCOPE_LIBRARY_FUNCTION(readf_short, sf_readf_short);
  VANTOSCOPE_LIBRARY_FUNCTION(readf_int, sf_readf_int);
  VANTOSCOPE_LIBRARY_FUNCTION(readf_float, sf_readf_float);
};

const SoundLibrary& Library() {
  static const SoundLibrary library;
  return library;
}

struct CloseSound {
  void operator()(SNDFILE* sound) const { Library().close(sound); }
};
using OpenSound = std::unique_ptr<SNDFILE, CloseSound>;

/// All frames, channel by channel.
template <typename Sample, typename ReadFrames>
std::vector<std::vector<Sample>> ReadFrameByFrame(const RecordedFile& file, SNDFILE* sound,
                                                  std::size_t channels, std::size_t most_samples,
                                                  ReadFrames read_frames) {
  std::vector<std::vector<Sample>> samples(channels);
  std::vector<Sample> piece(std::max(kPiece, channels));
  const auto frames = static_cast<sf_count_t>(piece.size() / channels);
  // The number of frames in the header is not to be trusted: a file may have been cut.
  for (sf_count_t count = 0; (count = read_frames(sound, piece.data(), frames)) > 0;) {
    const auto got = static_cast<std::size_t>(count);
    if ((samples[0].size() + got) * channels > most_samples) {
      throw SourceError("The recording '" + file.Path() +
                        "' is too large to replay: it has more than " +
                        std::to_string(most_samples) + " samples.");
    }
    for (std::size_t channel = 0; channel < channels; ++channel) {
      for (std::size_t frame = 0; frame < got; ++frame) {
        samples[channel].push_back(piece[frame * channels + channel]);
      }
    }
  }
  for (auto& channel : samples) channel.shrink_to_fit();
  return samples;
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

Sound ReadSound(const RecordedFile& file, std::size_t most_samples) {
  const SoundLibrary& library = Library();
  SF_INFO info{};
  const OpenSound sound(library.open_fd(file.Descriptor(), SFM_READ, &info, SF_FALSE));
  if (!sound) {
    throw SourceError("The recording '" + file.Path() +
                      "' cannot be read as a sound file: " + library.strerror(nullptr));
  }
  Sound result{.rate = static_cast<double>(info.samplerate), .channels = {}};
  const auto channels = static_cast<std::size_t>(info.channels);
  switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
    case SF_FORMAT_IMA_ADPCM:
    case SF_FORMAT_MS_ADPCM:
    case SF_FORMAT_ALAC_16:
      for (auto& words : ReadFrameByFrame<std::int16_t>(file, sound.get(), channels, most_samples,
                                                        library.readf_short)) {
        result.channels.emplace_back(std::move(words), 0x1p15);
      }
      break;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_ALAC_32:
      for (auto& words : ReadFrameByFrame<std::int32_t>(file, sound.get(), channels, most_samples,
                                                        library.readf_int)) {
        result.channels.emplace_back(std::move(words), 0x1p31);
      }
      break;
    default:
      for (auto& values : ReadFrameByFrame<float>(file, sound.get(), channels, most_samples,
                                                  library.readf_float)) {
        result.channels.emplace_back(std::move(values));
      }
  }
  if (result.channels[0].Size() == 0) {
    throw SourceError("The recording '" + file.Path() + "' holds no sound.");
  }
  return result;
}

}  // namespace vantoscope
