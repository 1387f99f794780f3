#include "sources/simulator.h"

#include <gmock/gmock.h>

#include <cmath>

#include "tests/support/running_device.h"

namespace vantoscope {
namespace {

using test::kNow;
using test::kSecond;
using test::RunningDevice;

TEST(Simulator, ListsAnalogFirstAndHighestNumberLast) {
  const std::pair<const char*, std::vector<int>> rows[] = {
      {"SM64:channels=1", {1}},
      {"SM64:channels=8", {1, 2, 3, 4, 5, 6, 7, 8}},
      {"SM64:channels=9", {1, 2, 3, 4, 5, 6, 7, 8, 999}},
      {"SM64", {1, 2, 3, 4, 5, 6, 7, 8, -1, -2, -3, 999}},
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
  RunningDevice early("SM64:channels=20");
  RunningDevice late("SM32:channels=20", kNow + 3 * kSecond);
  const RawScans old = late->ScansSince(ScanIndexAt(kNow, 1000) - 999, 1000);
  ASSERT_EQ(old.scans, 1000U);
  late->GetData(1000, kRawWords);
  late.now = kNow;  // the clock is set back
  for (std::size_t channel = 0; channel < 20; ++channel) {
    const ChannelInfo& info = early->Channels()[channel];
    const std::vector<double> raw = early.Values(channel, 1000, kRawWords);
    const std::vector<double> values = early.Values(channel, 1000);
    EXPECT_EQ(late.Values(channel, 1000), values) << info.name;
    for (std::size_t i = 0; i < 1000; ++i) {
      ASSERT_EQ(raw[i], old.words[i * 20 + channel]) << info.name << i;
      if (info.number == -1) continue;
      ASSERT_EQ(values[i], info.offset + info.factor * raw[i]) << info.name << i;
    }
    EXPECT_EQ(early->LatestValue(static_cast<std::int16_t>(channel)), values.back()) << info.name;
  }
}

TEST(Simulator, RangesEncloseFiveMinutesAndMoveThroughThem) {
  const RunningDevice device("SM64:rate=100,channels=16");
  const Block block = *device->GetData(30000, kEngineeringUnits);
  for (std::size_t channel = 0; channel < block.Channels(); ++channel) {
    const ChannelInfo& info = device->Channels()[channel];
    const auto [least, greatest] = std::ranges::minmax(block.Channel(channel));
    EXPECT_GE(least, info.low) << info.name;
    EXPECT_LE(greatest, info.high) << info.name;
    EXPECT_LT(least, greatest) << info.name;
  }
}

TEST(Simulator, MainsIsTwoHundredThirtyVoltsOfFiftyHertz) {
  const Block block = *RunningDevice("SM64")->GetData(500, kEngineeringUnits);
  double square_sum = 0;
  double power = 0;
  int rises = 0;
  for (std::size_t i = 0; i < 500; ++i) {
    if (i > 0 && block(3, i - 1) < 0 && block(3, i) >= 0) ++rises;
    square_sum += block(3, i) * block(3, i);
    power += block(3, i) * block(4, i);
  }
  EXPECT_EQ(rises, 25);  // half a second
  EXPECT_NEAR(std::sqrt(square_sum / 500), 230, 0.1);
  // 230 V, 10 A, and a current that lags by a twelfth of a period: 2300 W times cos 30 degrees.
  EXPECT_NEAR(power / 500, 1991.9, 1);
}

TEST(Simulator, HandsOnTheScansOfTheLast65536) {
  RunningDevice device("SM64:channels=1");
  const std::int64_t newest = ScanIndexAt(kNow, 1000);
  EXPECT_EQ(device->ScansSince(-1, 100).first, newest);
  EXPECT_EQ(device->ScansSince(0, 10).first, newest - 65535);
  device.now += kSecond;
  EXPECT_EQ(device->ScansSince(newest + 1, 2000).scans, 1000U);
}

TEST(Simulator, DeliversOnlyBetweenStartAndStopAndUntilItsHostCloses) {
  RunningDevice device("SM64:close=5");
  device->Stop();
  EXPECT_FALSE(device->GetData(1, kRawWords));
  EXPECT_EQ(device->ScansSince(-1, 1).scans, 0U);
  EXPECT_THROW(device->LatestValue(0), SourceError);
  device.now += 5 * kSecond - 1;
  device->Start();  // the five seconds run since the first start
  EXPECT_FALSE(device->HostGone());
  EXPECT_TRUE(device->GetData(1, kRawWords));
  device.now += 1;
  EXPECT_TRUE(device->HostGone());
  EXPECT_FALSE(device->GetData(1, kRawWords));
}

TEST(Simulator, AnotherSeedGivesOtherNoiseAndPhase) {
  const RunningDevice one("SM64:seed=1");
  const RunningDevice two("SM64:seed=2");
  EXPECT_NE(one.Values(3, 100), two.Values(3, 100));  // mains has no noise
  EXPECT_NE(one.Values(5, 100), two.Values(5, 100));
}

TEST(ScanIndexAt, IsExactTodayAndNeverFalls) {
  EXPECT_EQ(ScanIndexAt(kNow, 1e6), 1'732'312'345'678'901);
  EXPECT_EQ(ScanIndexAt(kNow, 0.5), 866'156'172);
  EXPECT_EQ(ScanIndexAt(-1, 1), -1);
  // 359.3 Hz: scan n begins at n / 359.3 s, so 3593 scans take exactly ten seconds.
  EXPECT_EQ(ScanIndexAt(10 * kSecond, 359.3), 3593);
  EXPECT_EQ(ScanIndexAt(10 * kSecond - 1, 359.3), 3592);
}

}  // namespace
}  // namespace vantoscope
