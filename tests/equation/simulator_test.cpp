// The worked examples of the help page, on the simulator at a moment that stands still, with the
// real evaluator. What the signals are stands in sources/simulator.cpp; the results are by hand.
#include <gtest/gtest.h>

#include "equation/equation_tick.h"
#include "equation/muparser_evaluator.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "sources/device_control.h"
#include "tests/support/recording.h"

namespace vantoscope {
namespace {

TEST(WorkedExamplesTest, ReadWhatTheSignalsAre) {
  struct Row {
    const char* equation;
    std::int32_t window;
    double value;
    double within;
  };
  DeviceControl telvix([] { return std::int64_t{1'000'000'012'345'000'000}; });
  telvix.SetDeviceName("sim");
  telvix.Start();
  const std::vector<Row> rows = {
      {"CH4*CH5", 3, telvix.LatestValue(3) * telvix.LatestValue(4), 1e-9},
      {"CH4RMS*CH5RMS", 200, 2300, 0.5},                    // 230 V times 10 A
      {"max(CH4MAX,-CH4MIN)/CH4RMS", 200, 1.4055, 0.0088},  // a peak met within 9 degrees
      {"CH4ACRMS/CH4RMS", 200, 1, 1e-6},                    // no direct part
      {"(CH7-CH[T-1]7)*RATE", 3, 1, 1.6},       // 1 mm/s; a step of the converter is 1.53 mm/s
      {"(CH7-CH[T-20]7)*RATE/20", 3, 1, 0.08},  // a twentieth of it
      {"100*CH8ACRMS/CH8AVE", 1000, 100, 0.3},  // a square from 0 to 5 V
      {"#freq3", 2000, 50, 50.0 / 1900},        // one sample in what lies between the crossings
      {"#freq3", 200, 50, 50.0 / 150},
      {"#freq7*60", 5000, 60, 0.1},  // the square as a pulse: one a second
      {"CH1>0 ? RATE : 0", 3, 1000, 0},
      {"CHa7-#11", 3, 0, 0},  // number 999 has a label too
  };
  test::RecordingMeter rig;
  Meter meter{telvix, rig.form, rig.platform};
  meter.runtime.StatisticNames = rig.meter.runtime.StatisticNames;
  meter.runtime.ChannelsPerBank = 32;
  meter.runtime.EquationEngine = CreateMuParserEvaluator();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.equation);
    meter.config.WindowSize = row.window;
    meter.runtime.PreparedEquation = NormaliseEquation(meter, row.equation);
    ASSERT_TRUE(PrepareEquation(meter, meter.runtime.PreparedEquation));
    ASSERT_TRUE(EquationTick(meter));
    EXPECT_NEAR(meter.runtime.Reading, row.value, row.within);
  }
}

}  // namespace
}  // namespace vantoscope
