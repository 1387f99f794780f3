#include "presentation/display_format.h"
#include "text/picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "presentation/reading_display.h"
#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

struct Picture {
  const char* name;
  double value;
  const char* picture;
  const char* text;
};

class Pictures : public ::testing::TestWithParam<Picture> {};

TEST_P(Pictures, GiveTheText) {
  const Picture& row = GetParam();
  EXPECT_EQ(FormatPicture(row.value, row.picture, "."), row.text);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Pictures,
    ::testing::Values(
        Picture{"Zeros", 1.5, "0.000", "1.500"}, Picture{"NoDigitBehind", 123.4, "0.", "123."},
        Picture{"SharpsWhole", 3, "#.####", "3."}, Picture{"SharpsZero", 0, "#.####", "."},
        Picture{"SharpsFraction", 0.25, "#.####", ".25"},
        Picture{"NegativeFraction", -0.25, "#.####", "-.25"},
        Picture{"NegativeVanishes", -1e-9, "#.####", "-."},
        Picture{"NegativeZero", -0.0, "0.0", "0.0"},
        Picture{"RoundsUpNotOff", 9.9999, "0.00", "10.00"},
        Picture{"CarriesIntoANewDigit", 0.99996, "#.####", "1."},
        // 0.125 is exact: the tie goes to the even digit. 0.145 lies below its decimal text,
        // 2.675 too, and 1.005 as well.
        Picture{"ExactTie", 0.125, "0.00", "0.12"}, Picture{"BelowTie", 2.675, "0.00", "2.67"},
        Picture{"LeadingZeros", 7.5, "000.0", "007.5"},
        Picture{"SharpBeforeZero", 7, "#0.0", "7.0"}, Picture{"NoPoint", 12.6, "0", "13"},
        Picture{"SharpNoPointZero", 0, "#", ""}, Picture{"MixedPlaces", 1.25, "0.0##", "1.25"},
        Picture{"MixedPlacesShort", 1.2, "0.0##", "1.2"},
        Picture{"SeventeenPlaces", 0.1, "#.#################", ".10000000000000001"},
        Picture{"SixteenPlaces", 0.1, "#.################", ".1"},
        Picture{"SmallNoExponent", 1e-7, "#.################", ".0000001"},
        Picture{"LargeNoExponent", 1e22, "0.0", "10000000000000000000000.0"},
        Picture{"TextAround", 2.5, "~ 0.0 V", "~ 2.5 V"},
        Picture{"TextOnly", 2.5, "level", "level"}, Picture{"Nan", std::nan(""), "0.00", "nan"},
        Picture{"Infinite", kInf, "0.00", "inf"}, Picture{"MinusInfinite", -kInf, "0.", "-inf"},
        Picture{"EmptyWhole", 16777215, "", "16777215"}, Picture{"EmptyNegative", -3, "", "-3"},
        Picture{"EmptyFraction", 0.1, "", "0.1"}, Picture{"EmptyZero", -0.0, "", "0"}),
    [](const auto& row) { return row.param.name; });

TEST(FormatPicture, WritesTheLocalesSeparator) {
  EXPECT_EQ(FormatPicture(-1.5, "0.00", ","), "-1,50");
  EXPECT_EQ(FormatPicture(0, "#.#", ","), ",");
  EXPECT_EQ(FormatPicture(0.1, "", ","), "0,1");
  EXPECT_EQ(FormatPicture(1.5, "0.0", "\u066B"), "1\u066B5");
}

TEST(FormatPicture, WidestNumbersFit) {
  const std::string text = FormatPicture(-std::numeric_limits<double>::max(), "0.0", ".");
  EXPECT_EQ(text.size(), 1 + 309 + 2U);
  EXPECT_EQ(text.substr(0, 8), "-1797693");
  const std::string picture = "0." + std::string(252, '#');
  EXPECT_EQ(FormatPicture(0.5, picture, "."), "0.5");
  EXPECT_EQ(FormatPicture(std::numeric_limits<double>::denorm_min(), "", ".").substr(0, 4), "0.00");
}

TEST(DisplayFormat, FollowsTheRange) {
  struct Row {
    float low, high;
    int zeros;
  };
  // The sign plays no part; a tie takes the high end; 1000 lies a hair below its power of ten in
  // the quotient of logarithms, and 0.01 and 1e-5 below theirs as 32-bit floats.
  const std::vector<Row> rows = {{0, 0.005F, 11}, {0, 0.05F, 10}, {0, 0.5F, 9},   {0, 5, 6},
                                 {-10, 10, 5},    {0, 100, 4},    {0, 1000, 4},   {0, 5000, 3},
                                 {0, 50000, 2},   {0, 500000, 0}, {0, 1e6F, 0},   {-5, 20, 5},
                                 {-5, 2, 6},      {-2000, 10, 3}, {0, 0.01F, 11}, {0, 0, 6},
                                 {0, 3e38F, 0},   {0, 1e-5F, 14}};
  for (const Row& row : rows) {
    RecordingMeter m;
    m.meter.runtime.ScaleLow = row.low;
    m.meter.runtime.ScaleHigh = row.high;
    DeriveDisplayFormat(m.meter.config, m.meter.runtime);
    EXPECT_EQ(m.meter.runtime.DisplayFormat,
              "0." + std::string(static_cast<std::size_t>(row.zeros), '0'))
        << row.low << " to " << row.high;
  }
}

TEST(DisplayFormat, UserFormatOfTwoCharactersWins) {
  for (const auto& [user, format] : std::vector<std::pair<const char*, const char*>>{
           {"0.", "0."}, {"0", "0.000000"}, {"°", "0.000000"}, {"", "0.000000"}, {"ab", "ab"}}) {
    RecordingMeter m;
    m.meter.runtime.ScaleHigh = 5;
    m.meter.config.UserFormat = user;
    DeriveDisplayFormat(m.meter.config, m.meter.runtime);
    EXPECT_EQ(m.meter.runtime.DisplayFormat, format) << user;
    EXPECT_EQ(m.meter.config.UserFormat, user);
  }
}

TEST(Alarm, ComparesAsSinglePrecision) {
  MeterConfig config;
  config.ForeColor = 1;
  config.HighLimitColor = 2;
  config.LowLimitColor = 3;
  config.HighLimit = 1000;
  config.LowLimit = -1000;
  EXPECT_EQ(ReadingColor(config, 5000), 1) << "alarm off";
  config.AlarmEnabled = kTrue;
  // The next 32-bit float above 1000 is 1000.00006103515625; half way is the last that narrows to
  // 1000.
  const std::vector<std::pair<double, Color>> rows = {
      {1000, 1},  {1000.00001, 1}, {1000.0001, 2}, {-1000, 1},        {-1000.0001, 3},
      {1e300, 2}, {-1e300, 3},     {kInf, 2},      {std::nan(""), 1}, {0, 1}};
  for (const auto& [reading, color] : rows)
    EXPECT_EQ(ReadingColor(config, reading), color) << reading;
  config.LowLimit = 2000;  // above the high limit: high wins, and nothing is inside
  EXPECT_EQ(ReadingColor(config, 1500), 2);
  EXPECT_EQ(ReadingColor(config, 500), 3);
}

TEST(ReadingDisplay, ColoursThenWritesNumberAndUnit) {
  RecordingMeter m;
  m.telvix.channels[0].unit = " bar";
  m.meter.config.ForeColor = 7;
  m.meter.config.MathUnit = "W";
  m.meter.runtime.Reading = 1.5;
  const auto shown = [&](bool extra, Bool16 unit, std::int16_t method) {
    m.log.clear();
    m.meter.config.ShowUnit = unit;
    m.meter.config.DataMethod = method;
    DisplayReading(m.meter, extra);
    return m.log;
  };
  EXPECT_EQ(shown(false, kFalse, kMethodRms), (Log{"LabelForeColor 7", "LabelText 1.500"}));
  EXPECT_EQ(shown(false, kTrue, kMethodRms),
            (Log{"LabelForeColor 7", "EngUnit 0", "LabelText 1.500 bar"}));
  EXPECT_EQ(shown(false, kTrue, kMethodCalc), (Log{"LabelForeColor 7", "LabelText 1.500W"}));
  EXPECT_EQ(shown(true, kFalse, kMethodCalc), (Log{"LabelForeColor 7", "LabelText 1.5000"}));
  EXPECT_EQ(shown(true, kTrue, kMethodNone).back(), "LabelText 1.5000 bar");
  EXPECT_EQ(shown(true, kTrue, kMethodCalc).back(), "LabelText 1.5000W");
}

}  // namespace
}  // namespace vantoscope::test
