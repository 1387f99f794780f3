// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>

#include "reduction/frequency.h"
#include "reduction/special_channels.h"
#include "reduction/statistics.h"
#include "tests/support/spy.h"

namespace vantoscope::test {

std::vector<double> Repeat(const std::vector<double>& pattern, int times) {
  std::vector<double> samples;
  for (int i = 0; i < times; ++i) samples.insert(samples.end(), pattern.begin(), pattern.end());
  return samples;
}

/// Over which the order of operations shows in the last digits of every sum.
std::vector<double> Uneven(double first, int step) {
  std::vector<double> samples = {first};
  for (int i = 1; i < 300; ++i) samples.push_back(i * step % 101 / 7.0 - 5);
  return samples;
}

// Min, Max, Ave, RMS and AC RMS over a range of -10 to 10. The uneven ones by another
// implementation of the formulas, term by term.
TEST(StatisticsTest, OfOneChannelOverTheWindow) {
  const std::pair<std::vector<double>, std::array<double, 5>> rows[] = {
      {{-3, 1, 5, 1}, {-3, 5, 1, 3, 2.8284271247461903}},
      {{20, 30}, {10, 30, 25, 25.495097567963924, 5}},
      {{-30, -20}, {-30, -10, -25, 25.495097567963924, 5}},
      {{-4}, {-4, -4, -4, 4, 0}},
      {Repeat({1}, 10), {1, 1, 0.9999999999999999, 0.9999999999999999, 0}},
      {{}, {10, -10, 0, 0, 0}},
      {Uneven(4e4, 7), {-5, 4e4, 135.44000000000008, 2309.4057351751467, 2305.4307311346124}},
      {Uneven(1e3, 37), {-5, 1e3, 5.477619047619045, 57.92351219760534, 57.663931143092285}}};
  for (const auto& [samples, values] : rows) {
    SpyMeter m;
    m.channels = {{.low = -1, .high = 1}, {}};
    m.config.WindowSize = static_cast<std::int32_t>(samples.size());
    std::vector<double> longer = samples;
    longer.push_back(1e6);
    const auto block = MakeBlock({std::vector<double>(longer.size(), 77), longer});
    for (std::int16_t s = 0; s < 5; ++s) {
      EXPECT_EQ(ChannelStatistic(m.meter, s, 1, block), values.at(s)) << s << " of " << longer[0];
      EXPECT_EQ(m.runtime.Reading, values.at(s));
    }
  }
}

TEST(StatisticsTest, ANanIsNeitherLeastNorGreatestAndNoBlockLeavesTheReading) {
  SpyMeter m;
  m.config.WindowSize = 4;
  const auto block = MakeBlock({{NAN, -3, 4, NAN}});
  EXPECT_EQ(ChannelStatistic(m.meter, kStatisticMin, 0, block), -3);
  EXPECT_EQ(ChannelStatistic(m.meter, kStatisticMax, 0, block), 4);
  m.log.clear();
  EXPECT_EQ(ChannelStatistic(m.meter, kStatisticMin, 0, std::nullopt), 0);
  EXPECT_EQ(ChannelStatistic(m.meter, 6, 0, block), 4);
  EXPECT_EQ(ChannelStatistic(m.meter, -1, 0, block), 4);
  EXPECT_EQ(m.runtime.Reading, 4);
  EXPECT_EQ(m.log.Text(), "");
}

// At 1000 samples per second.
TEST(FrequencyTest, CountsWholePeriodsBetweenLikeCrossings) {
  const std::tuple<const char*, double, std::vector<double>> rows[] = {
      {"starts above", 250, Repeat({10, 10, -10, -10}, 3)},
      {"starts below", 250, Repeat({-10, -10, 10, 10}, 3)},
      {"sample 1 goes unseen", 2000.0 / 7, {10, -10, -10, 10, 10, -10, -10, 10, 10, -10, -10}},
      {"the largest block", 500, Repeat({1, -1}, 16383)},
      {"constant", 0, Repeat({3.25}, 50)},
      {"less than one period", 0, {10, 10, -10, -10, 10, 10}},
      {"the rest of the next period is dropped", 200, {1, 1, -1, -1, -1, 1, 1, -1, -1, 1}},
      {"none", 0, {}},
      // Mean 0 and band 0.2. First sample inside the band: never placed, whatever follows.
      {"starts in the dead band", 0, {0.1, 10, -10, 10, -10, 10, -10, 10, -10, -0.1}},
      // Range -100 to 100, so the thresholds are 2 and -2; a sample on one is no crossing.
      {"starts on a threshold", 0, {2, 100, -100, 100, -100, 100, -100, -2}},
      {"just beyond the band", 500, {100, -100, 2.1, -2.1, 2.1, -2.1, 2.1, -2.1}},
      {"ripple up to the thresholds", 125, {100, 2, -100, -2, 2, -1, 100,  -2, 2,  1,  -100, -2,
                                            2,   0, 100,  -2, 2, 1,  -100, -1, -1, -1, 0,    0}},
      // Mean 1/6 and band 0.04; the middle of the range is 1.
      {"the band follows the mean", 500, {3, -1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1}},
      {"a nan makes every comparison fail", 0, Repeat({10, 10, -10, NAN}, 5)}};
  for (const auto& [name, frequency, samples] : rows) {
    int asked = 0;
    EXPECT_DOUBLE_EQ(EstimateFrequency(samples, [&] { return ++asked, 1000.0; }), frequency)
        << name;
    EXPECT_EQ(asked, frequency > 0 ? 1 : 0) << name;
  }
}

TEST(SpecialChannelsTest, TextsOfRawWords) {
  std::string counts;
  for (const int word : {-32768, -32766, -32765, -32762, -32758, 0, 32766, 32767})
    counts += CounterText(word) + " ";
  EXPECT_EQ(counts, "0 0 1 2 2 8192 16384 16384 ");
  std::string bytes;
  for (const int word : {255, 256, 4096, 4660, 32767, -1, -256, -32768})
    bytes += DigitalText(word) + " ";
  EXPECT_EQ(bytes, "0 1 10 12 7F FF FF 80 ");
}

}  // namespace vantoscope::test
