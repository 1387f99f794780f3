#include "sources/mqtt/scan_ring.h"

#include <gmock/gmock.h>

namespace vantoscope {
namespace {

using testing::ElementsAre;
using Words = std::vector<std::int16_t>;

/// Scans of two channels: scan n holds 10 n and -n.
Words Scans(int first, int count) {
  Words words;
  for (int n = first; n < first + count; ++n) {
    for (const int word : {10 * n, -n}) words.push_back(static_cast<std::int16_t>(word));
  }
  return words;
}

TEST(ScanRing, HoldsConsecutiveScansOnly) {
  struct Row {
    const char* name;
    int first, count;  // appended to scans 10 to 13 in a ring of 6
    std::size_t taken;
    int oldest, next;
  };
  const Row rows[] = {
      {"joins and pushes the oldest out", 14, 4, 4, 12, 18},
      {"longer than the ring", 14, 9, 9, 17, 23},
      {"overlaps", 12, 4, 2, 10, 16},
      {"is the same again", 10, 4, 0, 10, 14},
      {"covers all and more", 8, 9, 3, 11, 17},
      {"after a gap", 20, 3, 3, 20, 23},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ScanRing ring(2, 6);
    ring.Append(10, Scans(10, 4));
    EXPECT_EQ(ring.Append(row.first, Scans(row.first, row.count)), row.taken);
    EXPECT_EQ(ring.Next(), row.next);
    EXPECT_EQ(ring.Since(0, 99).first, row.oldest);
    EXPECT_EQ(ring.Since(0, 99).words, Scans(row.oldest, row.next - row.oldest));
  }
}

TEST(ScanRing, GrowsWithoutLosingScans) {
  ScanRing ring(2, 4);
  EXPECT_EQ(ring.Since(-1, 9).scans, 0U);
  ring.Append(0, Scans(0, 6));  // wrapped: holds 2 to 5
  ring.Reserve(7);
  ring.Reserve(3);
  ring.Append(6, Scans(6, 3));
  EXPECT_EQ(ring.Since(0, 99).words, Scans(2, 7));
  EXPECT_EQ(ring.Since(3, 2).words, Scans(3, 2));
}

TEST(ScanRing, GivesTheNewestAsABlockOrNothing) {
  ScanRing ring(2, 5);
  ring.Append(1, Scans(1, 3));
  // A digital input is a byte, whatever its factor.
  const std::vector<ChannelInfo> channels = {{1, "", "", 0, 0, 0.5, 100}, {-1, "", "", 0, 0, 1, 0}};
  EXPECT_FALSE(ring.Newest(4, kRawWords, channels));
  const Block raw = ring.Newest(2, kRawWords, channels).value();
  EXPECT_THAT(raw.Channel(0), ElementsAre(20, 30));
  EXPECT_THAT(raw.Channel(1), ElementsAre(-2, -3));
  const Block units = ring.Newest(3, kEngineeringUnits, channels).value();
  EXPECT_THAT(units.Channel(0), ElementsAre(105, 110, 115));
  EXPECT_THAT(units.Channel(1), ElementsAre(255, 255, 255));
}

}  // namespace
}  // namespace vantoscope
