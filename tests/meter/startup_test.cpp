#include "meter/startup.h"

#include <gtest/gtest.h>

#include "tests/support/spy.h"

namespace vantoscope::test {

TEST(StartUpTest, RunsInItsOrder) {
  SpyMeter m;
  m.platform.DecimalSeparator = [] { return ","; };
  m.channels = {{.number = 1}, {.number = 2, .low = -2000, .high = 500}};
  m.scans = [](int) { return Scans{{1}, {2}}; };
  m.stored["debug"] = "True";
  StartUp(m.meter, "-dSM64:rate=10 -nTank_Farm -i1");
  EXPECT_EQ(m.log.Text({"SetDeviceName", "StartupToggle", "Start", "DeviceName", "MoveLabel",
                        "?Caption", "Title", "?BorderStyle", "Command1", "ScaleHigh",
                        "SetWindowPos", "Timer1", "Message", "Evaluate"}),
            "SetDeviceName SM64:rate=10|StartupToggle -1|StartupToggle 0|Start|DeviceName|"
            "MoveLabel 0 0 325.5 174|?Caption|Title Tank Farm Channel 2|?BorderStyle|"
            "Title Tank Farm Channel 2|Command1 on|ScaleHigh 1|SetWindowPos -1|Timer1 on|Start|"
            "Message information [Vantoscope] #0|Start|Start|Evaluate 1.|Timer1 on|");
  EXPECT_EQ(m.places, std::set<std::string>{"Vantoscope.ini [Tank Farm2]"});
  EXPECT_EQ(m.runtime.DecimalSep, ",");
  EXPECT_EQ(m.runtime.DisplayFormat, "0.000");  // of the wider end, -2000
  EXPECT_EQ(m.runtime.PreparedEquation, "#0");
  EXPECT_EQ(m.label_text, "009000");
}

TEST(StartUpTest, KnowsTheKindOfTheChannel) {
  for (const auto& [number, special] : {std::pair(-3, kTrue), {-1, kTrue}, {999, kFalse}}) {
    SpyMeter m;
    m.SetNumbers({number});
    StartUp(m.meter, "");
    EXPECT_EQ(m.runtime.SpecialChannel, special) << number;
    EXPECT_EQ(m.places, std::set<std::string>{"Vantoscope.ini [1]"});
  }
}

TEST(StartUpTest, RefusesAnIndexOutsideTheListBeforeAnySetting) {
  for (const char* line : {"-dSM64 -nA -i1", "-dSM64 -nA -i-2", "-dSM64 -nA -i99999"}) {
    SpyMeter m;
    EXPECT_THROW(StartUp(m.meter, line), SourceError) << line;
    EXPECT_TRUE(m.places.empty());
  }
}

TEST(StartUpTest, ABadEquationStopsEvenAMeterThatUsesNone) {
  SpyMeter m;
  m.stored["Math"] = "#99";
  StartUp(m.meter, "-dSM64 -nA -i0");
  EXPECT_FALSE(m.timer1);
  EXPECT_EQ(m.label_text, "009000");
}

TEST(StartUpTest, BankSizeByModel) {
  for (const char* device : {"SM32", "SM35:rate=1", "SM36", "SM37", "\u00fcM32"})
    EXPECT_EQ(ChannelsPerBankOf(device), 16) << device;
  for (const char* device : {"SM64", "SM33", "SM34", "SM38", "SM3x", "SM", "", "S", "32"})
    EXPECT_EQ(ChannelsPerBankOf(device), 32) << device;
}

}  // namespace vantoscope::test
