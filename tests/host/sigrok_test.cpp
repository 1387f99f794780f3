// SPDX-License-Identifier: GPL-3.0-or-later
// An instrument of libsigrok: its text, and scans out of the packets that it sends.
#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <type_traits>

#include "host/scan_assembly.h"
#include "host/sigrok_device.h"
#include "host/sigrok_values.h"
#include "tests/support/refusal.h"

// The demonstration driver of some releases keeps the channel lists of its packets.
extern "C" const char* __lsan_default_suppressions() { return "leak:sr_session_run\n"; }
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

namespace vantoscope {
namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using Values = std::vector<double>;

TEST(SigrokSettings, TellOursFromThoseOfTheLibrary) {
  SigrokSettings expected;
  expected.driver = "some-dmm";
  expected.rate = 0.01;
  expected.range = Range{.low = -0.5, .high = 1e3};
  expected.conn = "/dev/tty:1";
  expected.serialcomm = "9600/8n1";
  expected.instrument = {{"samplerate", "20k"}, {"averaging", ""}};
  EXPECT_EQ(ParseSigrokSettings("sigrok:some-dmm:samplerate=20k:range=-0.5..1e3:rate=0.01:"
                                "serialcomm=9600/8n1:conn=/dev/tty%3A1:averaging"),
            expected);
  EXPECT_EQ(ParseSigrokSettings("sigrok:demo:rate=1000000").rate, 1e6);
  for (const char* wrong : {"rate=0.009", "rate=1000001", "range=5", "range=5..5"}) {
    EXPECT_THROW(ParseSigrokSettings(std::string("sigrok:demo:") + wrong), SourceError) << wrong;
  }
}

/// A packet of two channels, of which the first is followed.
template <typename Sample>
Values OfPacket(std::vector<Sample> samples, bool shortest, sr_rational scale = {1, 1},
                sr_rational offset = {0, 1}, bool bigendian = false) {
  GSList second{};
  GSList first{.data = nullptr, .next = &second};
  sr_analog_encoding encoding{};
  encoding.unitsize = sizeof(Sample);
  encoding.is_float = std::is_floating_point_v<Sample>;
  encoding.is_signed = TRUE;
  encoding.is_bigendian = bigendian;
  encoding.scale = scale;
  encoding.offset = offset;
  sr_analog_meaning meaning{};
  meaning.channels = &first;
  sr_datafeed_analog analog{};
  analog.data = samples.data();
  analog.num_samples = static_cast<std::uint32_t>(samples.size() / 2);
  analog.encoding = &encoding;
  analog.meaning = &meaning;
  return Column(AnalogValues(analog, shortest), 2, 0);
}

TEST(SigrokValues, AreWhatThePacketSays) {
  const float swapped = std::bit_cast<float>(0x0000c03fU);  // 1.5, its bytes turned round
  EXPECT_THAT(OfPacket<float>({3, 9, -INFINITY, 9, NAN, 9}, true),
              ElementsAre(3, -INFINITY, testing::IsNan()));
  EXPECT_THAT(OfPacket<float>({0.005F, 9, 123456.7F, 9}, true), ElementsAre(0.005, 123456.7));
  EXPECT_THAT(OfPacket<float>({0.1F, 9}, false), ElementsAre(0x1.99999ap-4));
  EXPECT_THAT(OfPacket<float>({swapped, 9}, true, {1, 1}, {0, 1}, true), ElementsAre(1.5));
  EXPECT_THAT(OfPacket<float>({2, 9, 3, 9}, true, {1, 4}, {-10, 1}), ElementsAre(-9.5, -9.25));
  EXPECT_THAT(OfPacket<double>({1.234567891, 9, INFINITY, 9}, true),
              ElementsAre(1.234567891, INFINITY));
  EXPECT_THAT(OfPacket<std::int16_t>({-300, 9, 7, 9}, true, {1, 100}), ElementsAre(-3, 0.07F));
  EXPECT_THAT(Column(Values{1, 2, 3, 4}, 2, 1), ElementsAre(2, 4));
  const std::vector<std::uint8_t> samples{0x01, 0xff, 0x80, 0x12, 0x02};  // the last one is cut
  EXPECT_THAT(LogicValues(samples, 2, 0), ElementsAre(0x01, 0x80, 0x02));
  EXPECT_THAT(LogicValues(samples, 2, 1), ElementsAre(0xff, 0x12));
}

std::vector<double> Of(const Scans& scans, std::size_t channel) {
  return std::get<std::vector<double>>(scans.channels.at(channel));
}

TEST(ScanAssembly, WaitsUntilEverySignalHasItsValue) {
  const ScanAssembly::Time now{};
  ScanAssembly scans(3, std::nullopt);
  scans.Take(0, Values{1, 2, 3}, now);
  scans.Take(1, Values{-9}, now);
  scans.Take(2, {}, now);
  EXPECT_FALSE(scans.AllSeen());
  scans.Take(2, Values{10}, now);
  EXPECT_TRUE(scans.AllSeen());
  scans.Begin({2, 0}, {{}, {}}, now);
  EXPECT_THAT(Of(scans.Scans(now).Since(0, 9), 0), ElementsAre(10));
  scans.Take(2, Values{20, 30, 40}, now);
  scans.Take(1, Values{-8}, now);
  EXPECT_THAT(Of(scans.Scans(now).Since(0, 9), 0), ElementsAre(10, 20, 30));
  EXPECT_THAT(Of(scans.Scans(now).Since(0, 9), 1), ElementsAre(1, 2, 3));
  EXPECT_EQ(scans.Age(now + 3s), 3) << "the values of one signal make no scan";
  scans.Take(1, Values{-7}, now + 3s);
  EXPECT_EQ(scans.Age(now + 3s), 3);
  scans.Take(0, Values{4}, now + 3s);
  EXPECT_EQ(scans.Age(now + 4s), 1);
  EXPECT_THAT(Of(scans.Scans(now).Since(3, 9), 1), ElementsAre(4));
}

TEST(ScanAssembly, ASilentSignalStopsTheOthersFromTakingMemory) {
  const ScanAssembly::Time now{};
  ScanAssembly scans(2, std::nullopt);
  scans.Begin({0, 1}, {{}, {}}, now);
  for (const std::size_t signal : {0U, 0U, 0U, 1U, 1U, 1U}) {
    scans.Take(signal, Values(ScanAssembly::kMostWaiting / 2), now);
  }
  EXPECT_EQ(scans.Scans(now).Next(), static_cast<std::int64_t>(ScanAssembly::kMostWaiting));
}

TEST(ScanAssembly, HoldsTheLastValuesForFiveSeconds) {
  const ScanAssembly::Time begin{};
  ScanAssembly scans(2, 10);
  scans.Take(0, Values{1}, begin);
  scans.Take(1, Values{0, 2}, begin);
  scans.Begin({1, 0}, {{}, {}}, begin);
  EXPECT_THAT(Of(scans.Scans(begin).Since(0, 9), 0), ElementsAre(2)) << "scan 0 at once";
  scans.Take(0, Values{3}, begin + 199ms);
  EXPECT_THAT(Of(scans.Scans(begin + 201ms).Since(1, 9), 1), ElementsAre(1, 3));
  EXPECT_EQ(scans.Scans(begin + 5'199ms).Next(), 52);
  EXPECT_EQ(scans.Scans(begin + 5'300ms).Next(), 52) << "silent for too long";
  EXPECT_EQ(scans.Age(begin + 5'199ms), 5) << "a value that is held grows old";
  scans.Take(0, Values{4}, begin + 6s);
  scans.Scans(begin + 6'100ms);
  EXPECT_THAT(Of(scans.Scans(begin + 6'100ms).Since(60, 9), 1), ElementsAre(4, 4));
  EXPECT_THAT(Of(scans.Scans(begin + 6'100ms).Since(60, 9), 0), Each(testing::IsNan()))
      << "the other one is silent";
}

TEST(ScanAssembly, DropsWhatStandsUnderAnotherUnit) {
  const ScanAssembly::Time begin{};
  ScanAssembly held(1, 10);
  held.Take(0, Values{1}, begin);
  held.Begin({0}, {{}}, begin);
  held.BeginAnew(begin + 250ms);
  held.Take(0, Values{7}, begin + 250ms);
  EXPECT_EQ(held.Scans(begin + 299ms).Since(0, 9).scans, 0U);
  EXPECT_EQ(held.Scans(begin + 300ms).Since(0, 9),
            (Scans{.first = 3, .scans = 1, .channels = {Values{7}}}));

  ScanAssembly sampled(2, std::nullopt);
  sampled.Take(0, Values{1, 2, 3}, begin);
  sampled.Take(1, Values{5}, begin);
  sampled.Begin({0, 1}, {{}, {}}, begin);
  sampled.BeginAnew(begin);
  sampled.Take(0, Values{8}, begin);
  sampled.Take(1, Values{9}, begin);
  EXPECT_EQ(sampled.Scans(begin).Since(0, 9),
            (Scans{.first = 1, .scans = 1, .channels = {Values{8}, Values{9}}}));
}

TEST(SigrokDevice, ReadsTheDemoInstrument) {
  SigrokDevice device("sigrok:demo:rate=20000:range=-4..40");
  EXPECT_EQ(device.SampleRate(), 20000);
  std::vector<int> numbers;
  for (const ChannelInfo& channel : device.Channels()) numbers.push_back(channel.number);
  EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4, -1, 5));
  const auto too_late = std::chrono::steady_clock::now() + 5s;
  while (!device.GetData(1000, kEngineeringUnits) && std::chrono::steady_clock::now() < too_late) {
    std::this_thread::sleep_for(10ms);
  }
  const Block values = device.GetData(1000, kEngineeringUnits).value();
  EXPECT_THAT(values.Channel(0), Each(testing::AnyOf(10, -10))) << "a square wave, not clipped";
  EXPECT_EQ(device.Channels()[0].high, 40) << "as asked for";
  EXPECT_EQ(device.Channels()[0].low, -20) << "encloses what goes beyond";
  EXPECT_THAT(values.Channel(4), testing::Contains(255));
  EXPECT_THAT(values.Channel(4), Each(testing::Ge(0)));
  EXPECT_LT(device.DataFreshness().age.value(), 1);
}

TEST(SigrokDevice, SaysWhatTheLibraryDoesNotHave) {
  const auto why = [](const std::string& text) {
    return test::Refusal([&] { SigrokDevice device(text); });
  };
  EXPECT_EQ(why("sigrok:none"), "libsigrok has no driver 'none'.");
  EXPECT_EQ(why("sigrok:demo:colour=red"), "libsigrok has no setting colour=red.");
  EXPECT_EQ(why("sigrok:demo:samplerate=x"), "libsigrok has no setting samplerate=x.");
  EXPECT_EQ(why("sigrok:demo:rate=2000.25"),
            "The instrument does not sample at rate=2000.25; it stays at 2000 scans per second.");
}

}  // namespace
}  // namespace vantoscope
