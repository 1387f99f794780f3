// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/scan_ring.h"

#include <gmock/gmock.h>

namespace vantoscope {
namespace {

using testing::ElementsAre;

/// A channel of words and one of numbers.
std::vector<ChannelInfo> Channels() { return {{1, "", "", 0, 0, Encoding::kInt16, 0.5, 100}, {}}; }

/// Scan n holds the word 10 n and the number -n / 4.
Scans Some(int first, int count) {
  std::vector<std::int16_t> words;
  std::vector<double> numbers;
  for (int n = first; n < first + count; ++n) {
    words.push_back(static_cast<std::int16_t>(10 * n));
    numbers.push_back(-n / 4.0);
  }
  return {first, static_cast<std::size_t>(count), {words, numbers}};
}

TEST(ScanRing, HoldsConsecutiveScansOnly) {
  // First scan and count of what is appended to the scans 10 to 13 in a ring of 6; how many of it
  // are new, and what is held then: the oldest, and behind the newest.
  const std::tuple<const char*, int, int, std::size_t, int, int> rows[] = {
      {"joins and pushes the oldest out", 14, 4, 4, 12, 18},
      {"longer than the ring", 14, 9, 9, 17, 23},
      {"overlaps", 12, 4, 2, 10, 16},
      {"is the same again", 10, 4, 0, 10, 14},
      {"covers all and more", 8, 9, 3, 11, 17},
      {"after a gap", 20, 3, 3, 20, 23},
  };
  for (const auto& [name, first, count, is_new, oldest, next] : rows) {
    SCOPED_TRACE(name);
    ScanRing ring(Channels(), 6);
    ring.Append(Some(10, 4));
    EXPECT_EQ(ring.Append(Some(first, count)), is_new);
    EXPECT_EQ(ring.Next(), next);
    EXPECT_EQ(ring.Since(0, 99).first, oldest);
    EXPECT_EQ(ring.Since(0, 99), Some(oldest, next - oldest));
  }
}

TEST(ScanRing, WrapsAroundAndGrowsWithoutLosingScans) {
  ScanRing ring(Channels(), 4);
  EXPECT_EQ(ring.Since(-1, 9).scans, 0U);
  ring.Append(Some(0, 1));
  for (int n = 1; n < 21; n += 2) {
    ring.Append(Some(n, 2));
    EXPECT_EQ(ring.Since(n - 1, 99), Some(n - 1, 3));
  }
  ring.Reserve(7);  // held 17 to 20, the oldest of them not in the first place
  ring.Reserve(3);
  ring.Append(Some(21, 3));
  EXPECT_EQ(ring.Since(0, 99), Some(17, 7));
  EXPECT_EQ(ring.Since(18, 2), Some(18, 2));
}

TEST(ScanRing, GivesTheNewestAsABlockOrNothing) {
  ScanRing ring(Channels(), 5);
  ring.Append(Some(1, 3));
  EXPECT_FALSE(ring.Newest(4, kRawWords, Channels()));
  EXPECT_THAT(ring.Newest(2, kRawWords, Channels())->Channel(0), ElementsAre(20, 30));
  const Block values = ring.Newest(3, kEngineeringUnits, Channels()).value();
  EXPECT_THAT(values.Channel(0), ElementsAre(105, 110, 115));
  EXPECT_THAT(values.Channel(1), ElementsAre(-0.25, -0.5, -0.75));
  ring.Append(Some(4, 4));  // around the end of the ring
  const Block all = ring.Newest(5, kEngineeringUnits, Channels()).value();
  EXPECT_THAT(all.Channel(0), ElementsAre(115, 120, 125, 130, 135));
}

}  // namespace
}  // namespace vantoscope
