#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "sources/open_device.h"

namespace vantoscope {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kNow = 1'732'312'345 * kSecond + 678'901'234;

/// A running simulator and the time it goes by.
struct Bench {
  explicit Bench(const std::string& text, std::int64_t start = kNow)
      : now(start), device(OpenDevice(text, [this] { return now; })) {
    device->Start();
  }
  std::int64_t now;
  std::unique_ptr<Device> device;
};

TEST(Simulator, ListsAnalogFirstAndHighestNumberLast) {
  const std::pair<const char*, std::vector<int>> rows[] = {
      {"SM64", {1, 2, 3, 4, 5, 6, 7, 8, -1, -2, -3, 999}},
      {"SM64:channels=1", {1}},
      {"SM64:channels=9", {1, 2, 3, 4, 5, 6, 7, 8, 999}},
      {"SM64:channels=14", {1, 2, 3, 4, 5, 6, 7, 8, -1, -2, -3, 9, 10, 999}},
  };
  for (const auto& [text, numbers] : rows) {
    std::vector<int> found;
    const Bench bench(text);
    for (const ChannelInfo& channel : bench.device->Channels()) found.push_back(channel.number);
    EXPECT_EQ(found, numbers) << text;
  }
}

TEST(Simulator, AnyTwoMetersAgreeOnAScanWheneverTheyLook) {
  Bench early("SM64:channels=20");
  Bench late("SM32:channels=20", kNow + 3 * kSecond);
  const Block all = *early.device->GetData(1000, kEngineeringUnits);
  const RawScans old = late.device->ScansSince(ScanIndexAt(kNow, 1000) - 999, 1000);
  const Block raw = *early.device->GetData(1000, kRawWords);
  ASSERT_EQ(old.scans, 1000U);
  for (std::size_t channel = 0; channel < 20; ++channel) {
    const ChannelInfo& info = early.device->Channels()[channel];
    for (std::size_t i = 0; i < 1000; ++i) {
      const std::int16_t word = old.words[i * 20 + channel];
      ASSERT_EQ(raw(channel, i), word) << channel << " " << i;
      ASSERT_EQ(all(channel, i), info.offset + info.factor * word) << channel << " " << i;
    }
    EXPECT_EQ(early.device->LatestValue(static_cast<std::int16_t>(channel)), all(channel, 999));
  }
}

TEST(Simulator, RangesEncloseFiveMinutesAndMoveThroughThem) {
  Bench bench("SM64:rate=100,channels=16");
  const Block block = *bench.device->GetData(30000, kEngineeringUnits);
  for (std::size_t channel = 0; channel < block.Channels(); ++channel) {
    const ChannelInfo& info = bench.device->Channels()[channel];
    const auto [least, greatest] = std::ranges::minmax_element(block.Channel(channel));
    EXPECT_GE(*least, info.low) << info.name;
    EXPECT_LE(*greatest, info.high) << info.name;
    EXPECT_LT(*least, *greatest) << info.name;
  }
}

TEST(Simulator, MainsIsTwoHundredThirtyVoltsOfFiftyHertz) {
  Bench bench("SM64");
  const Block block = *bench.device->GetData(500, kEngineeringUnits);
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

TEST(Simulator, SpecialWordsCarryByteAndCounts) {
  Bench bench("SM64:rate=10", 0);
  for (std::int64_t second = 0; second < 300; ++second) {
    bench.now = second * kSecond;
    const Block raw = *bench.device->GetData(1, kRawWords);
    const auto digital = static_cast<std::int32_t>(raw(8, 0));
    EXPECT_EQ((digital >> 8) & 255, second % 256);
    EXPECT_EQ(digital & 255, 0);
    EXPECT_EQ(raw(9, 0), 4 * 10 * second - 32768);
    EXPECT_EQ(raw(10, 0), 4 * (16383 - 10 * second) - 32768);
  }
}

TEST(Simulator, ScansSinceGoesOnWithoutGapOrRepeat) {
  Bench bench("SM64:rate=1000,channels=2");
  const RawScans newest = bench.device->ScansSince(-1, 100);
  EXPECT_EQ(newest.scans, 1U);
  EXPECT_EQ(newest.first, ScanIndexAt(kNow, 1000));
  EXPECT_EQ(bench.device->ScansSince(newest.first + 1, 100).scans, 0U);
  bench.now += kSecond;
  EXPECT_EQ(bench.device->ScansSince(newest.first + 1, 300).scans, 300U);
  const RawScans tail = bench.device->ScansSince(newest.first + 901, 300);
  EXPECT_EQ(tail.first, newest.first + 901);
  EXPECT_EQ(tail.scans, 100U);
  EXPECT_GT(bench.device->ScansSince(0, 10).first, newest.first - 70000);
}

TEST(Simulator, DeliversOnlyBetweenStartAndStopAndUntilItsHostCloses) {
  Bench bench("SM64:close=5");
  bench.device->Stop();
  EXPECT_FALSE(bench.device->GetData(1, kRawWords));
  EXPECT_THROW(bench.device->LatestValue(0), SourceError);
  bench.device->Start();
  bench.now += 5 * kSecond - 1;
  EXPECT_FALSE(bench.device->HostGone());
  EXPECT_TRUE(bench.device->GetData(1, kRawWords));
  bench.now += 1;
  EXPECT_TRUE(bench.device->HostGone());
  EXPECT_FALSE(bench.device->GetData(1, kRawWords));
}

TEST(Simulator, AnotherSeedGivesOtherNoiseAndPhase) {
  const Block one = *Bench("SM64:seed=1").device->GetData(100, kRawWords);
  const Block two = *Bench("SM64:seed=2").device->GetData(100, kRawWords);
  for (const std::size_t channel : {0U, 3U, 5U, 6U}) {
    EXPECT_FALSE(std::ranges::equal(one.Channel(channel), two.Channel(channel))) << channel;
  }
}

TEST(ScanIndexAt, IsExactTodayAndNeverFalls) {
  EXPECT_EQ(ScanIndexAt(kNow, 1000), 1'732'312'345'678);
  EXPECT_EQ(ScanIndexAt(kNow, 1e6), 1'732'312'345'678'901);
  EXPECT_EQ(ScanIndexAt(kNow, 0.5), 866'156'172);
  // 359.3 Hz: scan n begins at n / 359.3 s, so 3593 scans take exactly ten seconds.
  EXPECT_EQ(ScanIndexAt(10 * kSecond, 359.3), 3593);
  EXPECT_EQ(ScanIndexAt(10 * kSecond - 1, 359.3), 3592);
}

}  // namespace
}  // namespace vantoscope
