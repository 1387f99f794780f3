// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/device_control.h"

#include <gmock/gmock.h>

#include "sources/open_device.h"
#include "tests/support/refusal.h"

namespace vantoscope {
namespace {

using test::Refusal;
using testing::HasSubstr;

TEST(DeviceText, RoundTripsThroughItsParts) {
  const std::pair<const char*, DeviceText> rows[] = {
      {"FI64:/data/run%201.csv?follow", {"FI", 64, "/data/run 1.csv", {{"follow", ""}}}},
      {"FI32:/M_\xC3\xBC\"$(x);`%26%7F%3F%25.csv?range=-1..1&loop",
       {"FI", 32, "/M_\xC3\xBC\"$(x);`&\x7F?%.csv", {{"range", "-1..1"}, {"loop", ""}}}},
      {"XY07", {"XY", 7, "", {}}},
      {"XY07?a%3Db=c=d", {"XY", 7, "", {{"a=b", "c=d"}}}},
  };
  for (const auto& [text, parts] : rows) {
    EXPECT_EQ(ParseDeviceText(text), parts) << text;
    EXPECT_EQ(FullText(parts), text);
  }
  for (const char* broken : {"FI64:/a%", "FI64:/a%2", "FI64:/a%zz", "FI64:/a%00b", "FI64:?b=%4",
                             "FI64:a?=", "FI64:a?b&=c"}) {
    EXPECT_THROW(ParseDeviceText(broken), SourceError) << broken;
  }
}

TEST(DeviceText, TakesFriendlyForms) {
  const std::pair<const char*, const char*> rows[] = {
      {"sim", "SM64"},
      {"sm32", "SM32"},
      {"SM64?channels=2&close=5", "SM64:channels=2,close=5"},
      {"sim:rate=500,channels=2?close=5", "SM64:rate=500,channels=2,close=5"},
  };
  for (const auto& [text, full] : rows) EXPECT_EQ(OpenDevice(text)->Name(), full);
  EXPECT_EQ(DeviceControl().DeviceName(), "SM64");
  EXPECT_EQ(ParseAnyDeviceText("mqtt://host:1883/lab/a%20b?tls"),
            (DeviceText{"MQ", 64, "host:1883/lab/a b", {{"tls", ""}}}));
}

TEST(DeviceControl, RefusesWithWhatAndWhy) {
  const std::pair<const char*, const char*> rows[] = {
      {"ZZ64:x", "'ZZ64:x' is of the unknown kind ZZ"},
      {"SM50", "'SM50' is of an unknown model; the kind SM has the models 64 and 32"},
      {"SM64:rate=0", "rate=0 is not a number from 0.001 to 1e+06"},
      {"SM64:rate=0x10", "rate=0x10 is not a number"},
      {"SM64:rate=nan", "rate=nan is not a number"},
      {"SM64:channels=1.5", "channels=1.5 is not a whole number"},
      {"SM64:chanels=3", "no option 'chanels'; it knows rate, channels,"},
      {"", "empty; SM64 is the simulator"},
      {"sigrok:demo", "after 'telvixd --from sigrok:demo --to localhost:1883/lab/bench1' the"},
      {"http://me:secret@h/x?y",
       "'http://...@h/x?y' is of an unknown kind; a network host is written"},
      {"mqtt:h/x", "written mqtt://HOST:PORT/ROOT"},
      {"mqtts://h/x", "mqtt://host:8883/root"},
      {"file:///data/run.csv", "/data/run.csv, without file://"},
      {"demo", "neither a device nor a file 'demo'; the simulator is sim"},
  };
  for (const auto& [text, part] : rows) {
    EXPECT_THAT(Refusal([&] { DeviceControl().SetDeviceName(text); }), HasSubstr(part));
  }
}

TEST(DeviceControl, HandsOnWhatExistsAndRefusesTheRest) {
  DeviceControl control;
  control.SetDeviceName("SM64:rate=50,channels=3");
  control.Start();
  EXPECT_EQ(control.ChannelCount(), 3);
  EXPECT_EQ(control.SampleRate(), 50);
  const std::pair<std::function<double(std::int16_t)>, double> calls[] = {
      {[&](std::int16_t channel) { return control.ScaleLow(channel); }, -50},
      {[&](std::int16_t channel) { return control.ScaleHigh(channel); }, 150},
      {[&](std::int16_t channel) { return control.ChannelNumber(channel); }, 2},
      {[&](std::int16_t channel) { return control.EngUnit(channel).size(); }, 3},
      {[&](std::int16_t channel) { return control.LatestValue(channel) > 10; }, 1},
  };
  for (const auto& [call, value] : calls) {
    EXPECT_EQ(call(1), value);
    EXPECT_THAT(Refusal([&] { call(-1); }), HasSubstr("index -1 is not in the list"));
    EXPECT_THAT(Refusal([&] { call(3); }), HasSubstr("has 3 channels, counted from 0"));
  }
  EXPECT_THROW(control.GetData(-1, kRawWords), SourceError);
  EXPECT_THROW(control.GetData(1, 2), SourceError);
  EXPECT_EQ(control.GetData(0, kRawWords)->Samples(), 0U);
  control.Stop();
  EXPECT_FALSE(control.GetData(1, kRawWords));
}

TEST(DeviceControl, TellsOnceThatTheHostIsGone) {
  std::int64_t now = 0;
  DeviceControl control([&] { return now; });
  int closed = 0;
  control.HostClosed = [&] { ++closed; };
  control.CheckHost();  // of no device yet
  control.SetDeviceName("SM64:close=5");
  control.Start();
  for (const int expected : {0, 1, 1}) {
    control.CheckHost();
    EXPECT_EQ(closed, expected);
    now = 5'000'000'000;
  }
}

}  // namespace
}  // namespace vantoscope
