// SPDX-License-Identifier: GPL-3.0-or-later
// Sound files that somebody else wrote, whole or torn, by way of a file in memory.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "meter/data_source.h"
#include "sources/recording/sound_file.h"

using namespace vantoscope;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMostSamples = 100'000;
  const int memory = memfd_create("sound", MFD_CLOEXEC);
  if (memory < 0 || write(memory, data, size) != static_cast<ssize_t>(size)) std::abort();
  try {
    const RecordedFile file("/proc/self/fd/" + std::to_string(memory));
    const Sound sound = ReadSound(file, kMostSamples);
    const std::size_t frames = sound.channels.at(0).Size();
    if (frames == 0 || frames * sound.channels.size() > kMostSamples) std::abort();
    for (const StoredChannel& channel : sound.channels) {
      if (channel.Size() != frames) std::abort();
      const Range extent = channel.Extent();
      if (!(extent.low <= extent.high)) std::abort();
    }
  } catch (const SourceError& error) {
    if (*error.what() == '\0') std::abort();
  }
  close(memory);
  return 0;
}
