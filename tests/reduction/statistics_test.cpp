#include "reduction/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "reduction/special_channels.h"
#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

struct Row {
  const char* name;
  std::vector<double> samples;
  double low, high;
  double min, max, ave, rms, acrms;
};

class Statistics : public ::testing::TestWithParam<Row> {};

// RMS and AC RMS of the rows are worked out by hand; the sums are short enough to be exact but for
// the last bit.
TEST_P(Statistics, OfOneBlock) {
  const Row& row = GetParam();
  RecordingMeter m;
  m.telvix.channels = {{1, -1, 1, "", 0}, {2, row.low, row.high, "", 0}};
  m.meter.config.WindowSize = static_cast<std::int32_t>(row.samples.size());
  const std::optional<Block> block =
      MakeBlock({std::vector<double>(row.samples.size(), 77.0), row.samples});
  const auto statistic = [&](StatisticIndex index) {
    const double value = ChannelStatistic(m.meter, index, 1, block);
    EXPECT_EQ(m.meter.runtime.Reading, value);
    return value;
  };
  EXPECT_EQ(statistic(kStatisticMin), row.min);
  EXPECT_EQ(statistic(kStatisticMax), row.max);
  EXPECT_EQ(statistic(kStatisticAve), row.ave);
  EXPECT_DOUBLE_EQ(statistic(kStatisticRms), row.rms);
  EXPECT_DOUBLE_EQ(statistic(kStatisticAcRms), row.acrms);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, Statistics,
    ::testing::Values(
        Row{"BothSigns", {-3, 1, 5, 1}, -10, 10, -3, 5, 1, 3, 2.8284271247461903},
        Row{"AllAboveTheRange", {20, 30}, -10, 10, 10, 30, 25, 25.495097567963924, 5},
        Row{"AllBelowTheRange", {-30, -20}, -10, 10, -30, -10, -25, 25.495097567963924, 5},
        Row{"OneSample", {-4}, -10, 10, -4, -4, -4, 4, 0},
        // Ten additions of 0.1, not one division of 10.
        Row{"TenOnes", std::vector<double>(10, 1.0), -10, 10, 1, 1, 0.9999999999999999, 1, 0},
        Row{"NoSamples", {}, -10, 10, 10, -10, 0, 0, 0}),
    [](const auto& row) { return row.param.name; });

// A sine of amplitude 1 on an offset of 1e8: a difference of mean squares would read nonsense.
// 1000 samples over whole periods, so the AC RMS is 1/sqrt(2) but for the rounding of the samples.
TEST(StatisticsNumerics, AcRmsSurvivesALargeOffset) {
  RecordingMeter m;
  m.meter.config.WindowSize = 1000;
  std::vector<double> samples(1000);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = 1e8 + std::sin(2 * std::numbers::pi * static_cast<double>(i) / 100);
  }
  const std::optional<Block> block = MakeBlock({samples});
  EXPECT_NEAR(ChannelStatistic(m.meter, kStatisticAcRms, 0, block), std::numbers::sqrt2 / 2, 1e-7);
}

// The order of additions decides the last bits: a big number first, then small ones that vanish
// one by one beside it, over more samples than any stretch of a blocked sum.
TEST(StatisticsNumerics, SumsInAscendingOrder) {
  RecordingMeter m;
  m.telvix.channels[0] = {1, -1e300, 1e300, "", 0};
  m.meter.config.WindowSize = 512;
  std::vector<double> samples(512, 2.0);
  samples[0] = 4.503599627370496e15 * 512 * 2;  // 2^52 * 2^9 * 2: a quotient of 2^53
  const std::optional<Block> block = MakeBlock({samples});
  // Every later quotient is 2^-8, below half a unit of 2^53, so none of the 511 leaves a trace;
  // together, or before the big one, they would.
  EXPECT_EQ(ChannelStatistic(m.meter, kStatisticAve, 0, block), 9007199254740992.0);
}

TEST(ChannelStatistic, OutOfReachLeavesReadingAlone) {
  RecordingMeter m;
  m.meter.config.WindowSize = 2;
  m.meter.runtime.Reading = 42;
  const std::optional<Block> block = MakeBlock({{1, 2}});
  EXPECT_EQ(ChannelStatistic(m.meter, kStatisticAve, 0, std::nullopt), 0.0);
  EXPECT_EQ(m.meter.runtime.Reading, 42);
  EXPECT_EQ(ChannelStatistic(m.meter, 6, 0, block), 42);
  EXPECT_EQ(ChannelStatistic(m.meter, -1, 0, block), 42);
  EXPECT_TRUE(m.log.empty());
}

TEST(ChannelStatistic, CoversTheWindowOnly) {
  RecordingMeter m;
  m.meter.config.WindowSize = 2;
  const std::optional<Block> block = MakeBlock({{1, 3, 100}});
  EXPECT_EQ(ChannelStatistic(m.meter, kStatisticAve, 0, block), 2);
}

TEST(SpecialChannels, TextsOfRawWords) {
  const std::vector<std::pair<int, const char*>> counts = {
      {-32768, "0"}, {-32767, "0"}, {-32766, "0"},    {-32765, "1"},   {-32762, "2"},
      {-32758, "2"}, {0, "8192"},   {32766, "16384"}, {32767, "16384"}};
  for (const auto& [word, text] : counts) EXPECT_EQ(CounterText(word), text) << word;
  const std::vector<std::pair<int, const char*>> bytes = {{0, "0"},     {255, "0"},    {256, "1"},
                                                          {4660, "12"}, {32767, "7F"}, {-1, "FF"},
                                                          {-256, "FF"}, {-32768, "80"}};
  for (const auto& [word, text] : bytes) EXPECT_EQ(DigitalText(word), text) << word;
}

}  // namespace
}  // namespace vantoscope::test
