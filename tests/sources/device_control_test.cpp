#include "sources/device_control.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sources/device_text.h"
#include "sources/open_device.h"
#include "tests/support/refusal.h"

namespace vantoscope {
namespace {

using test::Refusal;
using testing::AllOf;
using testing::HasSubstr;

TEST(DeviceText, RoundTripsThroughItsParts) {
  struct Row {
    const char* text;
    DeviceText parts;
  };
  const Row rows[] = {
      {"FI64:/data/run%201.csv?follow", {"FI", 64, "/data/run 1.csv", {{"follow", ""}}}},
      {"FI32:/a%3Fb%25.wav?range=-1..1&loop",
       {"FI", 32, "/a?b%.wav", {{"range", "-1..1"}, {"loop", ""}}}},
      {"MQ64:/run/m.sock!lab/b?timeout=5", {"MQ", 64, "/run/m.sock!lab/b", {{"timeout", "5"}}}},
      {"FI64:/d/Messung_\xC3\xBC\"$(x);`&.csv", {"FI", 64, "/d/Messung_\xC3\xBC\"$(x);`&.csv", {}}},
      {"XY07:", {"XY", 7, "", {}}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ParseDeviceText(row.text), row.parts) << row.text;
    EXPECT_EQ(ParseDeviceText(FullText(row.parts)), row.parts) << row.text;
    EXPECT_THAT(FullText(row.parts), testing::Not(HasSubstr(" ")));
  }
  EXPECT_EQ(FullText({"FI", 64, "/data/run 1.csv", {{"follow", ""}}}),
            "FI64:/data/run%201.csv?follow");
  EXPECT_EQ(ParseDeviceText("sm64").kind, "SM");
}

TEST(DeviceText, RefusesBrokenPercentSequences) {
  for (const char* text : {"FI64:/a%", "FI64:/a%2", "FI64:/a%zz", "FI64:/a%00b", "FI64:/a?b=%4"}) {
    EXPECT_THROW(ParseDeviceText(text), SourceError) << text;
  }
}

TEST(DeviceControl, TakesFriendlyFormsAndReadsBackFullOnes) {
  const std::pair<const char*, const char*> rows[] = {
      {"sim", "SM64"},
      {"sim:rate=500", "SM64:rate=500"},
      {"sm32", "SM32"},
      {"SM64?channels=2&close=5", "SM64:channels=2,close=5"},
  };
  for (const auto& [text, full] : rows) {
    DeviceControl control;
    control.SetDeviceName(text);
    EXPECT_EQ(control.DeviceName(), full);
  }
  EXPECT_EQ(DeviceControl().DeviceName(), "SM64");
  EXPECT_EQ(FullText(ParseAnyDeviceText("mqtt://host:1883/lab/bench1")),
            "MQ64:host:1883/lab/bench1");
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
  EXPECT_EQ(control.ChannelCount(), 12);
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
  EXPECT_EQ(control.GetData(1, kRawWords)->Channels(), 12U);
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
