#include "sources/device_control.h"

#include <gmock/gmock.h>

#include "sources/open_device.h"
#include "tests/support/refusal.h"

namespace vantoscope {
namespace {

using test::Refusal;
using testing::AllOf;
using testing::HasSubstr;

TEST(DeviceText, RoundTripsThroughItsParts) {
  const std::pair<const char*, DeviceText> rows[] = {
      {"FI64:/data/run%201.csv?follow", {"FI", 64, "/data/run 1.csv", {{"follow", ""}}}},
      {"FI32:/a%3Fb%25.wav?range=-1..1&loop",
       {"FI", 32, "/a?b%.wav", {{"range", "-1..1"}, {"loop", ""}}}},
      {"FI64:/d/Messung_\xC3\xBC\"$(x);`%26%7F.csv",
       {"FI", 64, "/d/Messung_\xC3\xBC\"$(x);`&\x7F.csv", {}}},
      {"XY07", {"XY", 7, "", {}}},
  };
  for (const auto& [text, parts] : rows) {
    EXPECT_EQ(ParseDeviceText(text), parts) << text;
    EXPECT_EQ(FullText(parts), text);
  }
  for (const char* broken : {"FI64:/a%", "FI64:/a%2", "FI64:/a%zz", "FI64:/a%00b", "FI64:?b=%4"}) {
    EXPECT_THROW(ParseDeviceText(broken), SourceError) << broken;
  }
}

TEST(DeviceText, TakesFriendlyForms) {
  const std::pair<const char*, const char*> rows[] = {
      {"sim", "SM64"},
      {"sm32", "SM32"},
      {"sim:rate=500", "SM64:rate=500"},
      {"SM64?channels=2&close=5", "SM64:channels=2,close=5"},
      {"sim:rate=500,channels=2?close=5", "SM64:rate=500,channels=2,close=5"},
  };
  for (const auto& [text, full] : rows) EXPECT_EQ(OpenDevice(text)->Name(), full);
  EXPECT_EQ(DeviceControl().DeviceName(), "SM64");
  EXPECT_EQ(ParseAnyDeviceText("mqtt://host:1883/lab/a%20b?tls"),
            (DeviceText{"MQ", 64, "host:1883/lab/a b", {{"tls", ""}}}));
}

TEST(DeviceControl, RefusesWithWhatAndWhy) {
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"ZZ64:x", {"ZZ64:x", "unknown kind ZZ"}},
      {"SM50", {"SM50", "model", "64 and 32"}},
      {"SM64:rate=0", {"rate=0", "0.001 to 1e+06"}},
      {"SM64:rate=0x10", {"rate=0x10"}},
      {"SM64:rate=nan", {"rate=nan"}},
      {"SM64:channels=1.5", {"channels=1.5", "whole"}},
      {"SM64:chanels=3", {"'chanels'", "channels"}},
      {"SM64:%", {"%25"}},
      {"", {"empty", "SM64"}},
  };
  for (const auto& [text, parts] : rows) {
    const std::string message = Refusal([&] { DeviceControl().SetDeviceName(text); });
    for (const char* part : parts) EXPECT_THAT(message, HasSubstr(part)) << text;
  }
}

TEST(DeviceControl, RefusesChannelsAndBlocksThatDoNotExist) {
  DeviceControl control;
  control.Start();
  for (const std::int16_t channel : std::initializer_list<std::int16_t>{-1, 12}) {
    const auto names_it = AllOf(HasSubstr(std::to_string(channel)), HasSubstr("12 channels"));
    EXPECT_THAT(Refusal([&] { control.ScaleHigh(channel); }), names_it);
    EXPECT_THAT(Refusal([&] { control.ScaleLow(channel); }), names_it);
    EXPECT_THAT(Refusal([&] { control.ChannelNumber(channel); }), names_it);
    EXPECT_THAT(Refusal([&] { control.EngUnit(channel); }), names_it);
    EXPECT_THAT(Refusal([&] { control.LatestValue(channel); }), names_it);
  }
  EXPECT_THROW(control.GetData(-1, kRawWords), SourceError);
  EXPECT_THROW(control.GetData(1, 2), SourceError);
  EXPECT_EQ(control.GetData(0, kRawWords)->Samples(), 0U);
}

TEST(DeviceControl, HandsOnWhatTheDeviceSays) {
  DeviceControl control([] { return 0; });
  control.SetDeviceName("SM64:rate=50,channels=3");
  EXPECT_EQ(control.ChannelCount(), 3);
  EXPECT_EQ(control.SampleRate(), 50);
  EXPECT_EQ(control.ChannelNumber(1), 2);
  EXPECT_EQ(control.ScaleLow(1), -50);
  EXPECT_EQ(control.ScaleHigh(1), 150);
  EXPECT_EQ(control.EngUnit(2), "bar");
  EXPECT_FALSE(control.GetData(1, kRawWords));
  control.Start();
  EXPECT_EQ((*control.GetData(1, kEngineeringUnits))(2, 0), control.LatestValue(2));
  control.Stop();
  EXPECT_FALSE(control.GetData(1, kRawWords));
}

TEST(DeviceControl, TellsOnceThatTheHostIsGone) {
  std::int64_t now = 0;
  DeviceControl control([&] { return now; });
  int closed = 0;
  control.HostClosed = [&] { ++closed; };
  control.CheckHost();
  control.SetDeviceName("SM64:close=5");
  control.Start();
  control.CheckHost();
  EXPECT_EQ(closed, 0);
  now = 5'000'000'000;
  control.CheckHost();
  control.CheckHost();
  EXPECT_EQ(closed, 1);
}

}  // namespace
}  // namespace vantoscope
