// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/channel_words.h"

#include <gmock/gmock.h>

#include <cmath>

#include "sources/mqtt/mqtt_feed.h"
#include "tests/support/running_device.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using namespace test;
using testing::ElementsAreArray;

TEST(ChannelWords, SpreadARangeOverTheWords) {
  ChannelInfo info;
  info.low = 100;
  info.high = 100 + 65535;
  EXPECT_EQ(WordOf(info, 100), -32768);
  EXPECT_EQ(WordOf(info, 101.6), -32766) << "the nearest there is";
  EXPECT_EQ(WordOf(info, INFINITY), 32767);
  EXPECT_EQ(WordOf(info, NAN), -32768);
  SpreadAroundMiddle(info, {.low = 100, .high = 100 + 65534}, 32767);
  EXPECT_EQ(WordOf(info, 100), -32767);
  EXPECT_EQ(WordOf(info, 100 + 65534), 32767);
}

/// The newest scans of a device as a meter in the network gets them: by way of the payloads of the
/// host's list and scans.
Block OverTheWire(Device& device, std::int16_t count, std::int32_t mode) {
  MqttFeed feed(std::chrono::seconds(30));
  const std::string info = EncodeInfo({1, 1, "", device.SampleRate(), device.Channels()});
  feed.OnMessage("info", std::as_bytes(std::span(info)), true, {});
  const std::int64_t newest = device.ScansSince(-1, 1).first;
  const Scans scans = device.ScansSince(newest - count + 1, 65535);
  feed.OnMessage("scan", EncodeScans(scans, 1, 1, {}), false, {});
  return feed.GetData(static_cast<std::size_t>(count), mode, {}).value();
}

/// Expects the values and the raw words of a channel, from the device and through the wire.
void ExpectByEveryWay(Device& device, std::size_t channel, const std::vector<double>& values,
                      const std::vector<double>& words) {
  const auto count = static_cast<std::int16_t>(values.size());
  for (const auto& [mode, expected] :
       {std::pair{kEngineeringUnits, values}, std::pair{kRawWords, words}}) {
    SCOPED_TRACE(device.Name() + " mode " + std::to_string(mode));
    EXPECT_THAT(device.GetData(count, mode)->Channel(channel), ElementsAreArray(expected));
    EXPECT_THAT(OverTheWire(device, count, mode).Channel(channel), ElementsAreArray(expected));
  }
  EXPECT_EQ(device.LatestValue(static_cast<std::int16_t>(channel)), values.back());
}

TEST(ChannelWords, OfARecordingAreTheSameByEveryWay) {
  const ScratchFolder folder;
  WriteBytes(folder / "a.csv",
             "DigIn,Level,Temp,CNTR,rcntr\n0,-32768,1,0,16383\n127,0,1,2,3\n"
             "128,32767,1,3,2\n255,5,1,16383,0\n-1,7,2,1,1\n");  // -1: a signed byte
  for (const char* options : {"?start=0", "?follow&range=-5..5", "?loop&range=-5..5"}) {
    const RunningDevice device("FI64:" + folder / "a.csv" + options, 4 * kSecond);
    std::vector<int> numbers;
    for (const ChannelInfo& channel : device->Channels()) numbers.push_back(channel.number);
    EXPECT_THAT(numbers, ElementsAreArray({1, -1, -2, -3, 2}));
    ExpectByEveryWay(*device, 0, {-32768, 0, 32767, 5, 7}, {-32768, 0, 32767, 5, 7});
    ExpectByEveryWay(*device, 1, {0, 127, 128, 255, 255}, {0, 0x7F00, -32768, -256, -256});
    ExpectByEveryWay(*device, 2, {0, 2, 3, 16383, 1}, {-32768, -32760, -32756, 32764, -32764});
    ExpectByEveryWay(*device, 3, {16383, 3, 2, 0, 1}, {32764, -32756, -32760, -32768, -32764});
    EXPECT_EQ(device->Channels()[1].low, 0);
    EXPECT_EQ(device->Channels()[1].high, 255);
    EXPECT_EQ(device->Channels()[2].high, 16384);
  }
}

TEST(ChannelWords, NumbersOfARecordingAreTheSameByEveryWay) {
  const ScratchFolder folder;
  WriteBytes(folder / "a.csv", "Energy,Level\n0.1,0.3\n123456.7,5\n");
  for (const char* options : {"?start=0", "?follow"}) {
    const RunningDevice device("FI64:" + folder / "a.csv" + options, kSecond);
    EXPECT_THAT(OverTheWire(*device, 2, kEngineeringUnits).Channel(0),
                testing::ElementsAre(0.1, 123456.7));
  }
  // A word that is missing is no 0.
  WriteBytes(folder / "b.csv", "Level,DigIn,Cntr\n1,7,5\n2,?,n/a\n3,200,16383\n");
  const RunningDevice gaps("FI64:" + folder / "b.csv" + "?start=0", 2 * kSecond);
  for (const auto& [channel, words] :
       {std::pair{1, std::array{0x700, -0x3800}}, std::pair{2, std::array{-32748, 32764}}}) {
    for (const Block& block :
         {gaps->GetData(3, kRawWords).value(), OverTheWire(*gaps, 3, kRawWords)}) {
      EXPECT_THAT(block.Channel(static_cast<std::size_t>(channel)),
                  testing::ElementsAre(words[0], testing::IsNan(), words[1]));
    }
  }
  // Beyond the range of the first look.
  const RunningDevice device("FI64:" + folder / "a.csv" + "?follow&range=0..50", kSecond);
  WriteBytes(folder / "a.csv", FileBytes(folder / "a.csv") + "1,180.5\n");
  EXPECT_THAT(OverTheWire(*device, 3, kEngineeringUnits).Channel(1),
              testing::ElementsAre(0.3, 5, 180.5));
  EXPECT_EQ(device->Channels()[1].high, 500) << "twice 180.5 is 361";
}

TEST(ChannelWords, OfTheSimulatorAreTheSameByEveryWay) {
  // The digital input shows the second as a byte, the counters count ten steps of it.
  for (const int second : {1, 127, 128, 255, 300}) {
    const RunningDevice device("SM64:rate=10", second * kSecond);
    const int byte = second % 256;
    const int count = 10 * second;
    ExpectByEveryWay(*device, 8, {1.0 * byte}, {256.0 * (byte < 128 ? byte : byte - 256)});
    ExpectByEveryWay(*device, 9, {1.0 * count}, {4.0 * count - 32768});
    ExpectByEveryWay(*device, 10, {16383.0 - count}, {4 * (16383.0 - count) - 32768});
  }
}

}  // namespace
}  // namespace vantoscope
