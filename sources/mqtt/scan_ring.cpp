// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/scan_ring.h"

#include <algorithm>

#include "sources/channel_words.h"

namespace vantoscope {

ScanRing::ScanRing(const std::vector<ChannelInfo>& channels, std::size_t capacity)
    : capacity_(std::max<std::size_t>(capacity, 1)) {
  for (const ChannelInfo& channel : channels) {
    if (channel.encoding == Encoding::kInt16) {
      channels_.emplace_back(std::unique_ptr<std::int16_t[]>());
    } else {
      channels_.emplace_back(std::unique_ptr<double[]>());
    }
  }
}

std::size_t ScanRing::Append(const Scans& scans) {
  std::size_t known = 0;
  if (size_ > 0 && scans.first > next_) {
    Clear();
  } else if (size_ > 0) {
    const auto held = static_cast<std::uint64_t>(next_ - scans.first);
    if (held >= scans.scans) return 0;
    known = static_cast<std::size_t>(held);
  }
  const std::size_t taken = scans.scans - known;
  if (taken == 0) return 0;
  const std::size_t kept = std::min(taken, capacity_);
  Store(scans, scans.scans - kept, kept);
  const std::size_t dropped = size_ + kept > capacity_ ? size_ + kept - capacity_ : 0;
  oldest_ = SlotOf(dropped);
  size_ += kept - dropped;
  next_ = scans.first + static_cast<std::int64_t>(scans.scans);
  return taken;
}

/// `count` scans from the place `skip` on, behind those that are held.
void ScanRing::Store(const Scans& scans, std::size_t skip, std::size_t count) {
  const std::size_t slot = SlotOf(size_);
  const std::size_t before_wrap = std::min(count, capacity_ - slot);
  for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
    std::visit(
        [&]<typename T>(std::unique_ptr<T[]>& slots) {
          // Not initialised, so that the system gives memory page by page as scans arrive.
          if (!slots) slots = std::make_unique_for_overwrite<T[]>(capacity_);
          const T* const from = std::get<std::vector<T>>(scans.channels[channel]).data() + skip;
          std::copy_n(from, before_wrap, slots.get() + slot);
          std::copy_n(from + before_wrap, count - before_wrap, slots.get());
        },
        channels_[channel]);
  }
}

void ScanRing::Clear() {
  size_ = 0;
  oldest_ = 0;
  next_ = 0;
}

void ScanRing::Reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  for (Slots& channel : channels_) {
    std::visit(
        [&]<typename T>(std::unique_ptr<T[]>& slots) {
          if (!slots) return;
          auto larger = std::make_unique_for_overwrite<T[]>(capacity);
          CopyOut(slots, 0, std::span(larger.get(), size_));
          slots = std::move(larger);
        },
        channel);
  }
  oldest_ = 0;
  capacity_ = capacity;
}

/// The samples of one channel, from that place among those held on: 0 is the oldest.
template <typename T>
void ScanRing::CopyOut(const std::unique_ptr<T[]>& slots, std::size_t place,
                       std::span<T> to) const {
  if (to.empty()) return;
  const std::size_t slot = SlotOf(place);
  const std::size_t before_wrap = std::min(to.size(), capacity_ - slot);
  std::copy_n(slots.get() + slot, before_wrap, to.begin());
  std::copy_n(slots.get(), to.size() - before_wrap, to.subspan(before_wrap).begin());
}

Scans ScanRing::Since(std::int64_t next, std::size_t limit) const {
  const std::int64_t oldest = next_ - static_cast<std::int64_t>(size_);
  Scans result = ScansWanted(next, limit, oldest, next_ - 1);
  const auto place = static_cast<std::size_t>(result.first - oldest);
  for (const Slots& channel : channels_) {
    std::visit(
        [&]<typename T>(const std::unique_ptr<T[]>& slots) {
          std::vector<T> samples(result.scans);
          CopyOut(slots, place, std::span(samples));
          result.channels.emplace_back(std::move(samples));
        },
        channel);
  }
  return result;
}

std::optional<Block> ScanRing::Newest(std::size_t count, std::int32_t mode,
                                      const std::vector<ChannelInfo>& channels) const {
  if (count > size_) return std::nullopt;
  Block block(channels_.size(), count);
  const std::size_t slot = SlotOf(size_ - count);
  const std::size_t before_wrap = std::min(count, capacity_ - slot);
  for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
    double* const to = block.Channel(channel).data();
    std::visit(
        [&]<typename T>(const std::unique_ptr<T[]>& slots) {
          if (!slots) return;
          const std::span<const T> stored(slots.get(), capacity_);
          CopyAsElements(channels[channel], mode, stored.subspan(slot, before_wrap), to);
          CopyAsElements(channels[channel], mode, stored.first(count - before_wrap),
                         to + before_wrap);
        },
        channels_[channel]);
  }
  return block;
}

}  // namespace vantoscope
