// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "text/booleans.h"
#include "text/numbers.h"
#include "text/picture.h"
#include "text/shown_text.h"
#include "text/terminal_text.h"

namespace vantoscope {

// 0.125 and 0.375 are exact, so the tie goes to the even digit; 2.675 lies below its decimal text.
TEST(FormatPictureTest, GivesTheText) {
  const std::tuple<double, const char*, const char*> rows[] = {
      {1.5, "0.000", "1.500"}, {123.4, "0.", "123."},  {3, "#.##", "3."},
      {0, "#.##", "."},        {0.25, "#.##", ".25"},  {-.25, "#.##", "-.25"},
      {-1e-9, "#.##", "-."},   {-0.0, "0.0", "0.0"},   {9.996, "0.0", "10.0"},
      {0.996, "#.##", "1."},   {.125, "0.00", "0.12"}, {2.675, ".00", "2.67"},
      {.375, "0.00", "0.38"},  {7.5, "00.0", "07.5"},  {7, "#0.0", "7.0"},
      {12.6, "0", "13"},       {0, "##", ""},          {1.25, "0.0##", "1.25"},
      {1.2, "0.0##", "1.2"},   {1.04, ".#0#", "1.04"}, {1, "0.#0", "1.0"},
      {2.5, "0.0.0", "2.50"},  {2.5, "-0 V", "-2 V"},  {2.5, "le", "le"},
      {NAN, "0.00", "nan"},    {INFINITY, "0", "inf"}, {-INFINITY, "", "-inf"},
      {1e6, "", "1000000"},    {-3, "", "-3"},         {0.1, "", "0.1"},
      {-0.0, "", "0"}};
  for (const auto& [value, picture, text] : rows)
    EXPECT_EQ(FormatPicture(value, picture, "."), text) << value << " by " << picture;
  EXPECT_EQ(FormatPicture(-1.5, "0.00", ","), "-1,50");
  EXPECT_EQ(FormatPicture(0.1, "", "\u066B"), "0\u066B1");
  EXPECT_EQ(FormatPicture(0.1, "#.#################", "."), ".10000000000000001");
  EXPECT_EQ(FormatPicture(0.1, "#.################", "."), ".1");
  EXPECT_EQ(FormatPicture(1e-7, "#.################", "."), ".0000001");
  EXPECT_EQ(FormatPicture(INFINITY, "~ 0.0 V", "."), "~ inf V");
  EXPECT_EQ(FormatPicture(1e22, "0.0", "."), "10000000000000000000000.0");
}

TEST(FormatPictureTest, WidestNumbersFit) {
  const std::string text = FormatPicture(-DBL_MAX, "0.0", ".");
  EXPECT_EQ(text.size(), 1 + 309 + 2U);
  EXPECT_EQ(text.substr(0, 8), "-1797693");
  EXPECT_EQ(FormatPicture(0.5, "0." + std::string(252, '#'), "."), "0.5");
  EXPECT_EQ(FormatPicture(5e-324, "", ".").substr(300), std::string(25, '0') + "5");
}

TEST(NumberFromTextTest, ReadsTheNumberAtTheFront) {
  const std::string zeros(400, '0');
  const std::pair<double, const char*> rows[] = {
      {-12.5, "-12.5"},   {12.5, "12.5 V"},   {12.5, "+12.5"},    {2.5, "25d-1"},
      {1e10, "1E+10"},    {1e10, "1D10"},     {3, "3 eV"},        {2, "2e+"},
      {0.5, ".5"},        {5, "5."},          {1, "1,5"},         {1, "1\r2"},
      {1, "1-2"},         {13, "\t1 \n3. x"}, {100, "1 e 2"},     {0, "abc"},
      {0, "--1"},         {0, "-."},          {0, "&"},           {0, ".e5"},
      {0, "inf"},         {0, "0x10"},        {0, "1e-999"},      {0, "0e999"},
      {0, "&HX"},         {0, "&12"},         {5e-324, "5e-324"}, {255, "&HFF&"},
      {255, "& H F F &"}, {255, "&hff"},      {65535, "&HFFFF&"}, {-1, "&HFFFF"},
      {-1, "&HFFFFFFFF"}, {-1, "&o177777"},   {-32768, "&h8000"}, {32767, "&H7FFF"},
      {65536, "&H10000"}, {15, "&O17"},       {15, "&O178"},      {31, "&H1FG"}};
  const std::pair<double, const char*> long_rows[] = {
      {16777215, "&HFFFFFF&"}, {65535, "&O177777&"},           {INT32_MIN, "&H80000000&"},
      {-DBL_MAX, "-1e999"},    {0, "1e-99999999999999999999"}, {DBL_MAX, "1e99999999999"},
      {-1, "&HFFFFFFFFFF&"}};
  for (const auto& [number, text] : rows) EXPECT_EQ(NumberFromText(text), number) << text;
  for (const auto& [number, text] : long_rows) EXPECT_EQ(NumberFromText(text), number) << text;
  EXPECT_EQ(NumberFromText("12e9223372036854775807"), DBL_MAX);
  EXPECT_EQ(NumberFromText("0." + zeros + "1e400"), 0.1);
  EXPECT_EQ(NumberFromText("1" + zeros + "e-400"), 1);
  EXPECT_EQ(NumberFromText({"1\0002", 3}), 1);
  EXPECT_EQ(NumberFromText(""), 0);
}

TEST(BoolFromTextTest, ReadsWordsAndWholeNumbers) {
  for (const char* text : {"true", "TRUE", "1", "-1", "0.25", "2e1", "&HFF"})
    EXPECT_EQ(BoolFromText(text), kTrue) << text;
  for (const char* text : {"False", "fAlse", "0", "0.0", "&H0&"})
    EXPECT_EQ(BoolFromText(text), kFalse) << text;
  for (const char* text : {"", "yes", "1x", "tru", "truely", "1,0", ".", "&H", "1 V", "-"})
    EXPECT_EQ(BoolFromText(text), std::nullopt) << text;
}

TEST(FloatTextTest, IsTheGeneralForm) {
  const std::pair<float, const char*> rows[] = {
      {1000, "1000"},      {-0.25F, "-0,25"},       {1e10F, "1E+10"},
      {0.1F, "0,1"},       {2.0F / 3, "0,6666667"}, {1234567, "1234567"},
      {0.0001F, "0,0001"}, {1e-5F, "1E-05"},        {-0.0F, "0"},
      {INFINITY, "inf"},   {9999999.5F, "1E+07"}};
  for (const auto& [value, text] : rows) EXPECT_EQ(FloatText(value, ","), text);
  EXPECT_EQ(FloatText(12345678, "."), "1.234568E+07");
  EXPECT_EQ(FloatText(FLT_MAX, "."), "3.402823E+38");
}

TEST(RoundingTest, HalfGoesToTheEvenNeighbourAndTheRangeHolds) {
  const std::pair<double, int> rows[] = {{2.5, 2}, {3.5, 4},  {-2.5, -2}, {-3.5, -4}, {-0.5, 0},
                                         {0.5, 0}, {2.51, 3}, {0.49, 0},  {NAN, 0}};
  for (const auto& [value, rounded] : rows) EXPECT_EQ(RoundToInt32(value), rounded) << value;
  EXPECT_EQ(RoundToInt32(1e300), INT32_MAX);
  EXPECT_EQ(RoundToInt32(-1e300), INT32_MIN);
  EXPECT_EQ(RoundToInt16(32767.5), 32767);
  EXPECT_EQ(RoundToInt16(-32768.5), -32768);
  EXPECT_EQ(NarrowToFloat(1e300), FLT_MAX);
  EXPECT_EQ(NarrowToFloat(-INFINITY), -FLT_MAX);
}

TEST(ShownText, HasNoControlCharactersAndNoPasswords) {
  EXPECT_EQ(Escaped("a\n\r\t\x1b[2J\x7f\u009b2J\u00a0\u00e9\xc2"),
            "a\\n\\r\\t\\x1b[2J\\x7f\\xc2\\x9b2J\u00a0\u00e9\xc2");
  const std::pair<const char*, const char*> rows[] = {{"mqtt://me:pw@h:1/x", "mqtt://...@h:1/x"},
                                                      {"MQ64:me:p@w@h/x", "MQ64:...@h/x"},
                                                      {"me:pw/q@h/x", "...@h/x"},
                                                      {"/data/at@noon.csv", "/data/at@noon.csv"},
                                                      {"sim", "sim"}};
  for (const auto& [text, shown] : rows) EXPECT_EQ(WithoutCredentials(text), shown);
}

TEST(TerminalText, GoesByTheCellsOfItsCharacters) {
  EXPECT_EQ(
      Table({{"\u6e29", "1", "a"}, {"e\u0301", "23", ""}, {"\xff", "", "b"}}, {false, true, false}),
      "\u6e29   1  a\ne\u0301   23\n\xff       b\n");
  EXPECT_EQ(Wrapped("\u6e29\u5ea6 ab  c abcdefgh i", 7), "\u6e29\u5ea6 ab\nc\nabcdefgh\ni\n");
  EXPECT_EQ(Wrapped("", 7), "");
}

}  // namespace vantoscope
