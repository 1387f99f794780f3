#include "text/numbers.h"
#include "text/booleans.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace vantoscope {
namespace {

TEST(NumberFromText, ReadsTheNumberAtTheFront) {
  struct Row {
    double number;
    std::vector<std::string> texts;
  };
  const Row rows[] = {
      {-12.5, {"-12.5"}},
      {12.5, {"12.5 V"}},
      {1, {"1,5", "1\r2", "1-2", std::string("1\0002", 3), "1" + std::string(400, '0') + "e-400"}},
      {2.5, {"25d-1"}},
      {1e10, {"1E+10"}},
      {3, {"3 eV"}},
      {2, {"2e+"}},
      {0.5, {".5"}},
      {5, {"5."}},
      {1235, {" \t1 2\n3 . 5 e 1 x"}},
      {0,
       {"", "abc", "--1", "-.", "&", ".e5", "inf", "0x10", "1e-999", "1e-99999999999999999999",
        "0e999", "&HX", "&12"}},
      {-DBL_MAX, {"-1e999"}},
      {DBL_MAX, {"12e9223372036854775807", "1e99999999999999999999"}},
      {0.1, {"0." + std::string(500, '0') + "1e500", "0.10000000000000001"}},
      {5e-324, {"5e-324"}},
      {16777215, {"&HFFFFFF&"}},
      {255, {"&HFF&", "& H F F &"}},
      {65535, {"&HFFFF&", "&O177777&"}},
      {-1, {"&HFFFF", "&HFFFFFFFF", "&o177777"}},
      {-32768, {"&h8000"}},
      {65536, {"&H10000"}},
      {-2147483648.0, {"&H80000000&"}},
      {15, {"&O17"}},
      {31, {"&H1FG"}},
  };
  for (const auto& [number, texts] : rows) {
    for (const std::string& text : texts) EXPECT_EQ(NumberFromText(text), number) << text;
  }
}

TEST(BoolFromText, ReadsWordsAndWholeNumbers) {
  struct Row {
    const char* text;
    std::optional<Bool16> value;
  };
  const Row rows[] = {
      {"true", kTrue},       {"TRUE", kTrue},       {"True", kTrue},
      {"False", kFalse},     {"fAlse", kFalse},     {"0", kFalse},
      {"1", kTrue},          {"-1", kTrue},         {"0.0", kFalse},
      {"0.25", kTrue},       {"2e1", kTrue},        {"&H0&", kFalse},
      {"&HFF", kTrue},       {"", std::nullopt},    {"yes", std::nullopt},
      {"1x", std::nullopt},  {"tru", std::nullopt}, {"truely", std::nullopt},
      {"1,0", std::nullopt}, {".", std::nullopt},   {"&H", std::nullopt},
      {"1 V", std::nullopt}, {"-", std::nullopt},   {"\xC3\xBC", std::nullopt},
  };
  for (const Row& row : rows) EXPECT_EQ(BoolFromText(row.text), row.value) << row.text;
}

TEST(FloatText, IsTheGeneralForm) {
  struct Row {
    float value;
    const char *separator, *text;
  };
  const Row rows[] = {
      {1000, ".", "1000"},        {-0.25F, ".", "-0.25"},
      {1e10F, ".", "1E+10"},      {12.5F, ",", "12,5"},
      {0.1F, ".", "0.1"},         {1.0F / 3, ".", "0.3333333"},
      {1234567, ".", "1234567"},  {12345678, ",", "1,234568E+07"},
      {0.0001F, ".", "0.0001"},   {0.00001F, ".", "1E-05"},
      {-0.0F, ".", "0"},          {FLT_MAX, ".", "3.402823E+38"},
      {9999999.5F, ".", "1E+07"}, {std::numeric_limits<float>::infinity(), ".", "inf"}};
  for (const Row& row : rows) EXPECT_EQ(FloatText(row.value, row.separator), row.text) << row.text;
}

// A limit may lose digits at the first save and must stand still from then on.
TEST(FloatText, SettlesAfterOneRoundTrip) {
  for (const float value :
       {8589973000.0F, 16777217.0F, 0.1F, -123.4567F, 1.1754944e-38F, FLT_MAX}) {
    const std::string once = FloatText(NarrowToFloat(NumberFromText(FloatText(value, "."))), ".");
    const std::string twice = FloatText(NarrowToFloat(NumberFromText(once)), ".");
    EXPECT_EQ(once, twice);
  }
}

TEST(Rounding, HalfGoesToTheEvenNeighbourAndTheRangeHolds) {
  struct Row {
    double value;
    std::int32_t rounded;
  };
  const Row rows[] = {{2.5, 2},  {3.5, 4},  {-2.5, -2},          {2.500001, 3},
                      {-0.5, 0}, {6.4, 6},  {1e300, 2147483647}, {-1e300, -2147483647 - 1},
                      {0.49, 0}, {-3.5, -4}};
  for (const Row& row : rows) EXPECT_EQ(RoundToInt32(row.value), row.rounded) << row.value;
  EXPECT_EQ(RoundToInt32(std::nan("")), 0);
  EXPECT_EQ(RoundToInt32(2147483647.4), 2147483647);

  EXPECT_EQ(RoundToInt16(32767.5), 32767);
  EXPECT_EQ(RoundToInt16(-32768.5), -32768);

  EXPECT_EQ(NarrowToFloat(1e300), FLT_MAX);
  EXPECT_EQ(NarrowToFloat(-std::numeric_limits<double>::infinity()), -FLT_MAX);
}

}  // namespace
}  // namespace vantoscope
