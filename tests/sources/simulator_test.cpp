// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/simulator.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numeric>

#include "meter/channel_number.h"
#include "tests/support/running_device.h"

namespace vantoscope {
namespace {

using namespace test;

TEST(Simulator, ListsAnalogFirstAndHighestNumberLast) {
  const std::pair<const char*, std::vector<int>> rows[] = {
      {"SM64:channels=8", {1, 2, 3, 4, 5, 6, 7, 8}},
      {"SM64:channels=9", {1, 2, 3, 4, 5, 6, 7, 8, 999}},
      {"SM64:channels=14", {1, 2, 3, 4, 5, 6, 7, 8, -1, -2, -3, 9, 10, 999}},
  };
  for (const auto& [text, numbers] : rows) {
    std::vector<int> found;
    const RunningDevice device(text);
    for (const ChannelInfo& channel : device->Channels()) found.push_back(channel.number);
    EXPECT_EQ(found, numbers) << text;
  }
}

TEST(Simulator, AnyTwoMetersAgreeOnAScanWheneverTheyLook) {
  // A thousand scans are five minutes, in which every channel moves.
  const RunningDevice early("SM64:rate=3.37,channels=20");
  RunningDevice late("SM32:rate=3.37,channels=20", kNow + 3 * kSecond);
  const Scans old = late->ScansSince(ScanIndexAt(kNow, 3.37) - 999, 1000);
  ASSERT_EQ(old.scans, 1000U);
  late.now = kNow;  // the clock is set back
  const RunningDevice other("SM64:rate=3.37,channels=20,seed=2");
  for (std::size_t channel = 0; channel < 20; ++channel) {
    const std::vector<double> words = early.Values(channel, 1000, kRawWords);
    ASSERT_TRUE(std::ranges::equal(words, std::get<0>(old.channels[channel])));
    const std::vector<double> values = early.Values(channel, 1000);
    EXPECT_EQ(late.Values(channel, 1000), values) << channel;
    EXPECT_EQ(early->LatestValue(static_cast<std::int16_t>(channel)), values.back()) << channel;
    const ChannelInfo& info = early->Channels()[channel];
    EXPECT_EQ(other.Values(channel, 1000) == values, IsSpecial(info.number)) << channel;
    const auto [least, greatest] = std::ranges::minmax(values);
    EXPECT_TRUE(info.low <= least && least < greatest && greatest <= info.high) << channel;
    if (IsSpecial(info.number)) continue;
    EXPECT_EQ(values[7], info.offset + info.factor * words[7]) << channel;
  }
}

TEST(Simulator, MainsIsTwoHundredThirtyVoltsOfFiftyHertz) {
  const RunningDevice device("SM64");
  const std::vector<double> volts = device.Values(3, 500);
  const std::vector<double> amperes = device.Values(4, 500);
  const auto mean_product = [&](const std::vector<double>& other) {
    return std::inner_product(volts.begin(), volts.end(), other.begin(), 0.0) / 500;
  };
  int rises = 0;
  for (std::size_t i = 1; i < 500; ++i) rises += volts[i - 1] < 0 && volts[i] >= 0 ? 1 : 0;
  EXPECT_EQ(rises, 25);  // half a second
  EXPECT_NEAR(std::sqrt(mean_product(volts)), 230, 0.1);
  // 230 V, 10 A, and a current that lags by a twelfth of a period: 2300 W times cos 30 degrees.
  EXPECT_NEAR(mean_product(amperes), 1991.9, 1);
}

TEST(Simulator, HandsOnTheScansOfTheLast65536) {
  const RunningDevice device("SM64:channels=1", 100 * kSecond);
  EXPECT_EQ(device->ScansSince(-1, 100).first, 100'000);
  EXPECT_EQ(device->ScansSince(0, 10).first, 100'000 - 65535);
  EXPECT_EQ(device->ScansSince(99'001, 2000).scans, 1000U);
}

TEST(Simulator, DeliversOnlyBetweenStartAndStopAndUntilItsHostCloses) {
  RunningDevice device("SM64:close=5");
  device->Stop();
  EXPECT_TRUE(device.Values(0, 1).empty());
  EXPECT_EQ(device->ScansSince(-1, 1).scans, 0U);
  EXPECT_THROW(device->LatestValue(0), SourceError);
  device.now += 5 * kSecond - 1;
  device->Start();  // the five seconds run since the first start
  EXPECT_FALSE(device->HostGone());
  EXPECT_FALSE(device.Values(0, 1).empty());
  device.now += 1;
  EXPECT_TRUE(device->HostGone());
  EXPECT_TRUE(device.Values(0, 1).empty());
}

TEST(Simulator, KnowsTheAgeOfItsNewestScan) {
  const RunningDevice device("SM64:rate=4");  // the newest one is that of the half second
  EXPECT_NEAR(device->DataFreshness().age.value(), 0.178901234, 1e-9);
  EXPECT_EQ(device->DataFreshness().limit, 2);
  EXPECT_EQ(RunningDevice("SM64:rate=0.1")->DataFreshness().limit, 30);
  device->Stop();
  EXPECT_EQ(device->DataFreshness().age, std::nullopt);
}

TEST(ScanIndexAt, IsExactTodayAndNeverFalls) {
  EXPECT_EQ(ScanIndexAt(1'732'312'345'000'003'999, 1e6), 1'732'312'345'000'003);
  EXPECT_EQ(ScanIndexAt(-1, 1), -1);
  // 359.3 Hz: scan n begins at n / 359.3 s, so 3593 scans take exactly ten seconds.
  EXPECT_EQ(ScanIndexAt(10 * kSecond, 359.3), 3593);
  EXPECT_EQ(ScanIndexAt(10 * kSecond - 1, 359.3), 3592);
}

}  // namespace
}  // namespace vantoscope
