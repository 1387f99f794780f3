#include "sources/mqtt/scan_ring.h"

#include <gmock/gmock.h>

namespace vantoscope {
namespace {

using testing::ElementsAre;
using Words = std::vector<std::int16_t>;

/// Scans of two channels: scan n holds 10 n and -n.
Words Scans(std::int16_t first, std::int16_t count) {
  Words words;
  for (std::int16_t n = first; n < first + count; ++n) {
    words.push_back(static_cast<std::int16_t>(10 * n));
    words.push_back(static_cast<std::int16_t>(-n));
  }
  return words;
}

TEST(ScanRing, HoldsConsecutiveScansOnly) {
  struct Row {
    const char* name;
    std::int16_t first, count;  // appended to scans 10 to 13 in a ring of 6
    std::size_t taken;
    bool gap;
    std::int64_t oldest, next;
  };
  const Row rows[] = {
      {"joins", 14, 2, 2, false, 10, 16},
      {"joins and pushes the oldest out", 14, 4, 4, false, 12, 18},
      {"longer than the ring", 14, 9, 9, false, 17, 23},
      {"overlaps", 12, 4, 2, false, 10, 16},
      {"is the same again", 10, 4, 0, false, 10, 14},
      {"older", 2, 3, 0, false, 10, 14},
      {"covers all and more", 8, 9, 3, false, 11, 17},
      {"after a gap", 20, 3, 3, true, 20, 23},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ScanRing ring(2, 6);
    ring.Append(10, Scans(10, 4));
    const auto taken = ring.Append(row.first, Scans(row.first, row.count));
    EXPECT_EQ(taken.scans, row.taken);
    EXPECT_EQ(taken.gap, row.gap);
    EXPECT_EQ(ring.Next(), row.next);
    ASSERT_EQ(static_cast<std::int64_t>(ring.Size()), row.next - row.oldest);
    for (std::size_t i = 0; i < ring.Size(); ++i) {
      const auto n = static_cast<std::int16_t>(row.oldest) + static_cast<std::int16_t>(i);
      EXPECT_THAT(ring.Scan(i), ElementsAre(10 * n, -n));
    }
  }
}

TEST(ScanRing, GrowsWithoutLosingScans) {
  ScanRing ring(2, 4);
  ring.Append(0, Scans(0, 6));  // wrapped: holds 2 to 5
  ring.Reserve(7);
  ring.Append(6, Scans(6, 3));
  EXPECT_EQ(ring.Since(0, 100).words, Scans(2, 7));
  ring.Reserve(3);
  EXPECT_EQ(ring.Capacity(), 7U);
}

TEST(ScanRing, GivesScansSince) {
  ScanRing ring(2, 5);
  EXPECT_EQ(ring.Since(0, 9).scans, 0U);
  ring.Append(100, Scans(100, 7));  // holds 102 to 106
  struct Row {
    const char* name;
    std::int64_t next;
    std::size_t limit;
    std::int64_t first;
    std::size_t scans;
  };
  const Row rows[] = {{"all held", 102, 9, 102, 5}, {"no longer held", 5, 9, 102, 5},
                      {"limited", 103, 2, 103, 2},  {"none yet", 107, 9, 0, 0},
                      {"beyond", 500, 9, 0, 0},     {"newest", -1, 9, 106, 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const RawScans got = ring.Since(row.next, row.limit);
    EXPECT_EQ(got.first, row.first);
    EXPECT_EQ(got.scans, row.scans);
    EXPECT_EQ(got.words,
              Scans(static_cast<std::int16_t>(row.first), static_cast<std::int16_t>(row.scans)));
  }
}

TEST(ScanRing, GivesTheNewestAsABlockOrNothing) {
  ScanRing ring(2, 5);
  ring.Append(1, Scans(1, 3));
  const std::vector<ChannelInfo> channels = {{1, "", "", 0, 0, 0.5, 100}, {2, "", "", 0, 0, -2, 0}};
  EXPECT_FALSE(ring.Newest(4, kRawWords, channels));
  const auto raw = ring.Newest(2, kRawWords, channels);
  ASSERT_TRUE(raw);
  EXPECT_THAT(raw->Channel(0), ElementsAre(20, 30));
  EXPECT_THAT(raw->Channel(1), ElementsAre(-2, -3));
  const auto units = ring.Newest(3, kEngineeringUnits, channels);
  ASSERT_TRUE(units);
  EXPECT_THAT(units->Channel(0), ElementsAre(105, 110, 115));
  EXPECT_THAT(units->Channel(1), ElementsAre(2, 4, 6));
}

}  // namespace
}  // namespace vantoscope
