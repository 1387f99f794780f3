#include "sources/mqtt/scan_ring.h"

#include <gmock/gmock.h>

namespace vantoscope {
namespace {

using testing::ElementsAre;

/// Scans of two channels: scan n holds 10 n and -n.
std::vector<std::int16_t> Scans(int first, int count) {
  std::vector<std::int16_t> words;
  for (int n = first; n < first + count; ++n) {
    for (const int word : {10 * n, -n}) words.push_back(static_cast<std::int16_t>(word));
  }
  return words;
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
    ScanRing ring(2, 6);
    ring.Append(10, Scans(10, 4));
    EXPECT_EQ(ring.Append(first, Scans(first, count)), is_new);
    EXPECT_EQ(ring.Next(), next);
    EXPECT_EQ(ring.Since(0, 99).first, oldest);
    EXPECT_EQ(ring.Since(0, 99).words, Scans(oldest, next - oldest));
  }
}

TEST(ScanRing, WrapsAroundAndGrowsWithoutLosingScans) {
  ScanRing ring(2, 4);
  EXPECT_EQ(ring.Since(-1, 9).scans, 0U);
  ring.Append(0, Scans(0, 1));
  for (int n = 1; n < 21; n += 2) {
    ring.Append(n, Scans(n, 2));
    EXPECT_EQ(ring.Since(n - 1, 99).words, Scans(n - 1, 3));
  }
  ring.Reserve(7);  // held 17 to 20, the oldest of them not in the first place
  ring.Reserve(3);
  ring.Append(21, Scans(21, 3));
  EXPECT_EQ(ring.Since(0, 99).words, Scans(17, 7));
  EXPECT_EQ(ring.Since(18, 2).words, Scans(18, 2));
}

TEST(ScanRing, GivesTheNewestAsABlockOrNothing) {
  ScanRing ring(2, 5);
  ring.Append(1, Scans(1, 3));
  // A digital input is a byte, whatever its factor.
  const std::vector<ChannelInfo> channels = {{1, "", "", 0, 0, 0.5, 100}, {-1, "", "", 0, 0, 1, 0}};
  EXPECT_FALSE(ring.Newest(4, kRawWords, channels));
  EXPECT_THAT(ring.Newest(2, kRawWords, channels)->Channel(1), ElementsAre(-2, -3));
  const Block values = ring.Newest(3, kEngineeringUnits, channels).value();
  EXPECT_THAT(values.Channel(0), ElementsAre(105, 110, 115));
  EXPECT_THAT(values.Channel(1), ElementsAre(255, 255, 255));
}

}  // namespace
}  // namespace vantoscope
