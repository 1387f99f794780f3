#include "reduction/frequency.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace vantoscope {
namespace {

std::vector<double> Repeat(const std::vector<double>& pattern, int times) {
  std::vector<double> samples;
  for (int i = 0; i < times; ++i) samples.insert(samples.end(), pattern.begin(), pattern.end());
  return samples;
}

TEST(FrequencyTest, CountsWholePeriodsBetweenLikeCrossings) {
  struct Row {
    const char* name;
    std::vector<double> samples;
    double frequency;  ///< at 1000 samples per second
  };
  const std::vector<Row> rows = {
      {"starts above", Repeat({10, 10, -10, -10}, 3), 250},
      {"starts below", Repeat({-10, -10, 10, 10}, 3), 250},
      {"a crossing at sample 1 goes unseen",
       {10, -10, -10, 10, 10, -10, -10, 10, 10, -10, -10, 10},
       2000.0 / 7},
      {"half the sample rate", Repeat({1, -1}, 8), 500},
      {"constant", std::vector<double>(50, 3.25), 0},
      {"less than one period", {10, 10, -10, -10, 10, 10}, 0},
      {"one period, the rest of the next dropped", {1, 1, -1, -1, -1, 1, 1, -1, -1, 1}, 200},
      {"none", {}, 0},
      // Mean 0 and band 0.2. First sample inside the band: never placed, whatever follows.
      {"starts in the dead band", {0.1, 10, -10, 10, -10, 10, -10, 10, -10, -0.1}, 0},
      // Range -100 to 100, so the thresholds are 2 and -2; a sample on one is no crossing.
      {"starts on a threshold", {2, 100, -100, 100, -100, 100, -100, -2}, 0},
      {"ripple and touches of a threshold inside the band",
       {100, 2, -100, -2, 2, -1, 100,  -2, 2,  1,  -100, -2,
        2,   0, 100,  -2, 2, 1,  -100, -1, -1, -1, 0,    0},
       125},
      // The band follows the mean: with 9 of 10 samples at 0 the spikes of 1 stand above 0.1.
      {"spikes above a quiet line", Repeat({0, 0, 0, 0, 0, 1, 0, 0, 0, 0}, 5), 100},
      {"a nan makes every comparison fail", Repeat({10, 10, -10, NAN}, 5), 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_DOUBLE_EQ(EstimateFrequency(row.samples, [] { return 1000.0; }), row.frequency);
  }
}

TEST(FrequencyTest, AsksForTheRateOnceAndOnlyWithAPeriod) {
  int asked = 0;
  const auto rate = [&asked] { return ++asked, 1000.0; };
  EstimateFrequency(Repeat({1, 1, 1}, 5), rate);
  EXPECT_EQ(asked, 0);
  EstimateFrequency(Repeat({1, 1, -1}, 5), rate);
  EXPECT_EQ(asked, 1);
}

// A sine of 50 Hz at 1000 samples per second has 20 samples a period: what comes out is exact but
// for the first period, which may be one sample short.
TEST(FrequencyTest, ResolvesASineToOneSampleInTheWindow) {
  for (const double phase : {0.3, 1.0, 2.0, 3.5, 4.5, 6.0}) {
    std::vector<double> samples(400);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] =
          325 * std::sin(2 * std::numbers::pi * 50 * static_cast<double>(i) / 1000 + phase);
    }
    EXPECT_NEAR(EstimateFrequency(samples, [] { return 1000.0; }), 50, 50.0 / 359);
  }
}

// The counters are as wide as the largest block: 32767 samples.
TEST(FrequencyTest, HoldsTheLargestBlock) {
  std::vector<double> samples = Repeat({1, -1}, 16384);
  samples.pop_back();
  EXPECT_DOUBLE_EQ(EstimateFrequency(samples, [] { return 1000.0; }), 500);
}

}  // namespace
}  // namespace vantoscope
