#include "meter/startup.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

std::size_t Place(const Log& log, const std::string& entry) {
  const auto found = std::find(log.begin(), log.end(), entry);
  EXPECT_NE(found, log.end()) << entry;
  return static_cast<std::size_t>(found - log.begin());
}

TEST(StartUp, RunsInItsOrder) {
  RecordingMeter m;
  m.telvix.channels = {{1, -10, 10, "V", 0}, {2, 0, 500, "bar", 0}};
  m.telvix.blocks.push_back(MakeBlock({{1}, {2}}));
  m.profile.values["debug"] = "True";
  StartUp(m.meter, "-dSM64:rate=10 -nTank_Farm -i1");

  const std::vector<std::string> order = {"SetDeviceName SM64:rate=10",
                                          "StartupToggle -1",
                                          "StartupToggle 0",
                                          "Start",
                                          "DeviceName",
                                          "MoveLabel",
                                          "Read Vantoscope.ini [Tank Farm2] Caption",
                                          "Title Tank Farm Channel 2",
                                          "Read Vantoscope.ini [Tank Farm2] BorderStyle",
                                          "ScaleHigh 1",
                                          "SetWindowPos -1",
                                          "Timer1 on",
                                          "Message information [Vantoscope] #0"};
  for (std::size_t i = 1; i < order.size(); ++i) {
    EXPECT_LT(Place(m.log, order[i - 1]), Place(m.log, order[i])) << order[i];
  }
  EXPECT_EQ(m.log.back(), "Timer1 on");
  EXPECT_EQ(m.meter.runtime.DisplayFormat, "0.0000");
  EXPECT_EQ(m.meter.runtime.PreparedEquation, "#0");
  EXPECT_EQ(m.meter.runtime.SpecialChannel, kFalse);
  EXPECT_EQ(m.form.label_text, "009000");
}

TEST(StartUp, WithoutCommandLineIsSection1) {
  RecordingMeter m;
  m.telvix.blocks.push_back(MakeBlock({{1}}));
  StartUp(m.meter, "");
  EXPECT_EQ(m.meter.runtime.SectionName, "1");
  EXPECT_EQ(m.form.title, " Channel 1");
}

TEST(StartUp, RefusesAnIndexOutsideTheListBeforeAnySetting) {
  for (const char* line : {"-dSM64 -nA -i1", "-dSM64 -nA -i-2", "-dSM64 -nA -i99999"}) {
    RecordingMeter m;
    EXPECT_THROW(StartUp(m.meter, line), SourceError) << line;
    EXPECT_EQ(std::count_if(m.log.begin(), m.log.end(),
                            [](const std::string& e) { return e.starts_with("Write"); }),
              0);
  }
}

TEST(StartUp, ABadEquationStopsEvenAMeterThatUsesNone) {
  RecordingMeter m;
  m.profile.values["Math"] = "#99";
  StartUp(m.meter, "-dSM64 -nA -i0");
  EXPECT_FALSE(m.form.timer1);
  EXPECT_EQ(m.form.label_text, "009000");
  EXPECT_EQ(m.log.back(), "Timer1 off");
}

TEST(StartUp, BankSizeByModel) {
  const std::vector<std::pair<const char*, int>> rows = {
      {"SM64", 32}, {"SM32", 16}, {"SM35:rate=1", 16}, {"SM36", 16}, {"SM37", 16},
      {"SM34", 32}, {"SM3x", 32}, {"SM", 32},          {"", 32},     {"S", 32}};
  for (const auto& [device, channels] : rows) {
    EXPECT_EQ(ChannelsPerBankOf(device), channels) << device;
  }
}

}  // namespace
}  // namespace vantoscope::test
