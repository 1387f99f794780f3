#include "sources/mqtt/scan_ring.h"

#include <algorithm>

#include "sources/channel_words.h"

namespace vantoscope {

ScanRing::ScanRing(std::size_t channels, std::size_t capacity)
    : channels_(std::max<std::size_t>(channels, 1)),
      capacity_(std::max<std::size_t>(capacity, 1)) {}

std::size_t ScanRing::Append(std::int64_t first, std::span<const std::int16_t> words) {
  std::size_t scans = words.size() / channels_;
  if (size_ > 0) {
    if (first > next_) {
      Clear();
    } else {
      const auto held = static_cast<std::uint64_t>(next_ - first);
      if (held >= scans) return 0;
      words = words.subspan(static_cast<std::size_t>(held) * channels_);
      scans -= static_cast<std::size_t>(held);
      first = next_;
    }
  }
  if (scans == 0) return 0;
  const std::size_t taken = scans;
  next_ = first + static_cast<std::int64_t>(scans);
  if (scans > capacity_) {
    words = words.subspan((scans - capacity_) * channels_);
    scans = capacity_;
  }
  // Not initialised, so that the system gives memory page by page as scans arrive.
  if (!words_) words_ = std::make_unique_for_overwrite<std::int16_t[]>(capacity_ * channels_);
  const std::size_t slot = (oldest_ + size_) % capacity_;
  const std::size_t before_wrap = std::min(scans, capacity_ - slot) * channels_;
  std::copy_n(words.data(), before_wrap, words_.get() + slot * channels_);
  std::copy_n(words.data() + before_wrap, scans * channels_ - before_wrap, words_.get());
  const std::size_t dropped = size_ + scans > capacity_ ? size_ + scans - capacity_ : 0;
  oldest_ = (oldest_ + dropped) % capacity_;
  size_ += scans - dropped;
  return taken;
}

void ScanRing::Clear() {
  size_ = 0;
  oldest_ = 0;
  next_ = 0;
}

void ScanRing::Reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  if (words_) {
    auto larger = std::make_unique_for_overwrite<std::int16_t[]>(capacity * channels_);
    for (std::size_t place = 0; place < size_; ++place) {
      std::ranges::copy(Scan(place), larger.get() + place * channels_);
    }
    words_ = std::move(larger);
    oldest_ = 0;
  }
  capacity_ = capacity;
}

std::span<const std::int16_t> ScanRing::Scan(std::size_t place) const {
  return {words_.get() + (oldest_ + place) % capacity_ * channels_, channels_};
}

RawScans ScanRing::Since(std::int64_t next, std::size_t limit) const {
  const std::int64_t oldest = next_ - static_cast<std::int64_t>(size_);
  RawScans result = ScansWanted(next, limit, oldest, next_ - 1);
  result.words.reserve(result.scans * channels_);
  for (std::size_t scan = 0; scan < result.scans; ++scan) {
    const auto words = Scan(static_cast<std::size_t>(result.first - oldest) + scan);
    result.words.insert(result.words.end(), words.begin(), words.end());
  }
  return result;
}

std::optional<Block> ScanRing::Newest(std::size_t count, std::int32_t mode,
                                      const std::vector<ChannelInfo>& channels) const {
  if (count > size_) return std::nullopt;
  Block block(channels_, count);
  for (std::size_t sample = 0; sample < count; ++sample) {
    const auto words = Scan(size_ - count + sample);
    for (std::size_t channel = 0; channel < channels_; ++channel) {
      const std::int16_t word = words[channel];
      block(channel, sample) = mode == kRawWords ? word : WordScale(channels[channel])(word);
    }
  }
  return block;
}

}  // namespace vantoscope
