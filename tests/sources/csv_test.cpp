#include <gmock/gmock.h>

#include "meter/data_source.h"
#include "sources/recording/csv_layout.h"
#include "sources/recording/csv_numbers.h"
#include "sources/recording/csv_rows.h"

namespace vantoscope {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// Lines to skip, the unit of the times if there are any, and name|unit of every column.
std::string Described(const CsvLayout& layout) {
  std::ostringstream text;
  text << layout.lines_to_skip;
  if (layout.has_times) text << " " << layout.seconds_per_time_unit << "s";
  for (const CsvColumn& column : layout.columns) text << " " << column.name << "|" << column.unit;
  return text.str();
}

TEST(CsvLayout, FindsHeaderUnitsTimesAndNumbers) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"of two widths the greater", "Recorder\n1,2\n", "1 | |"},
      {"units in the header, and carriage returns",
       "Time [min],Level [m],Flow (l/min)\r\n0,1,2\r\n1,2,3\r\n", "1 60s Level|m Flow|l/min"},
      {"minimum is no time", "Min,Flow\n1,2\n2,3\n3,4\n", "1 Min| Flow|"},
      {"time by its unit", "x [MS],U [V]\n0,5\n10,6\n20,7\n", "1 0.001s U|V"},
      {"a falling time is a channel", "D [ms],U\n9,1\n7,2\n5,3\n", "1 D|ms U|"},
      {"even rise without header", "0.0,7\n0.1,7\n0.2,8\n", "0 1s |"},
      {"uneven rise without header", "1,7\n2,7\n30,8\n", "0 | |"},
      {"text columns", "Date,Note,U\n2024-05-01T12:00:00,ok,1\n2024-05-01T12:00:01,,2\n",
       "1 1s U|"},
      {"clock times, numbers as names", "Clock,1,2\n12:00:00.5,1,2\n12:00:01,3,4\n", "1 1s 1| 2|"},
      {"line of units", "Time;U;I\ns;V;(mA)\n0,5;1,5;2\n1;1,5;2\n", "2 1s U|V I|mA"},
      {"preamble", "Recorder X\nRate,100\n\nA,B,C\n1,2,3\n1,2,3\n1,2,3\n", "3 A| B| C|"},
      {"commented header", "# t,Level\n0,1\n1,2\n2,3\n", "1 1s Level|"},
      {"a bad field does not lose a column", "A,B\n1,2\nERR,3\n2,4\n", "1 A| B|"},
      {"Latin-1, and temperature is no time", "T,p [\xB0]\n1,2\n2,3\n3,4\n", "1 T| p|\xC2\xB0"},
  };
  for (const auto& [name, text, found] : rows) {
    EXPECT_EQ(Described(FindCsvLayout(text)), found) << name;
  }
}

TEST(CsvFields, AreNumbersAndTimes) {
  const std::pair<const char*, std::optional<double>> times[] = {
      {"00:01:02.25", 62.25},
      {"12:00:01,5", 43201.5},
      {"23:59", 86340},
      {"2024-02-29 12:00:00", 1709208000},             // date -u -d '2024-02-29 12:00' +%s
      {"1999-12-31T00:00:00.500+01:00", 946598400.5},  // zones are left alone
      {"2024-13-01", std::nullopt},
      {"12:xx", std::nullopt},
  };
  for (const auto& [text, seconds] : times) {
    EXPECT_EQ(TimeOfField(text, {.decimal_comma = true}), seconds) << text;
  }
}

TEST(CsvNumbers, AreReadAsTheirWritersSpellThem) {
  constexpr NumberStyle kPoint{.decimal_comma = false, .group = ','};
  constexpr NumberStyle kComma{.decimal_comma = true, .group = '.'};
  constexpr NumberStyle kEither{.decimal_comma = true};
  constexpr double kNone = -12345;  // no number
  const std::tuple<const char*, NumberStyle, double, const char*> rows[] = {
      {" +1,5e2 ", kEither, 150, ""},
      {"1.5", kEither, 1.5, ""},
      {"1.234", kEither, 1.234, ""},
      {"1.234", kComma, 1234, ""},
      {"0.123", kComma, 0.123, ""},
      {"1.23", kComma, 1.23, ""},
      {"1.234.567,25", kEither, 1234567.25, ""},
      {"1,234", kPoint, 1234, ""},
      {"1,234", kEither, 1.234, ""},
      {"-12,345,678.5", kPoint, -12345678.5, ""},
      {"1,5", {}, kNone, ""},
      {"1,234,56", kPoint, kNone, ""},
      {"1'234 567", kEither, kNone, ""},
      {"1 234 567,5", kEither, 1234567.5, ""},
      {"1'234.5", kPoint, 1234.5, ""},
      {"12\xC2\xA0"
       "345",
       {},
       12345,
       ""},
      {"\xE2\x88\x92"
       "3.5",
       {},
       -3.5,
       ""},
      {"- 3.5 V", {}, -3.5, "V"},
      {"1.5E-3mA", {}, 0.0015, "mA"},
      {"20\xC2\xB0"
       "C",
       {},
       20,
       "\xC2\xB0"
       "C"},
      {"7 m3/h", {}, 7, "m3/h"},
      {"1.5D+02", {}, 150, ""},
      {"50%", {}, 50, "%"},
      {".5", {}, 0.5, ""},
      {"1e400", {}, INFINITY, ""},
      {"-1e400", {}, -INFINITY, ""},
      {"1e-400", {}, 0, ""},
      {"OL", {}, INFINITY, ""},
      {"-OL", {}, -INFINITY, ""},
      {"+OVLD", {}, INFINITY, ""},
      {"overload", {}, INFINITY, ""},
      {"-Inf", {}, -INFINITY, ""},
      {"NaN", {}, NAN, ""},
      {"n/a", {}, NAN, ""},
      {"---", {}, NAN, ""},
      {"#N/A", {}, NAN, ""},
      {"", {}, kNone, ""},
      {"-", {}, NAN, ""},
      {"ERR", {}, kNone, ""},
      {"0x10", {}, kNone, ""},
      {"12ab34", {}, kNone, ""},
      {"1.2.3", {}, kNone, ""},
      {"2024-05-01", {}, kNone, ""},
      {"12:30", {}, kNone, ""},
      {"3 of 4", {}, kNone, ""},
  };
  for (const auto& [text, style, value, unit] : rows) {
    const auto number = ReadNumber(text, style);
    ASSERT_EQ(number.has_value(), value != kNone) << text;
    if (!number) continue;
    EXPECT_THAT(number->value, testing::NanSensitiveDoubleEq(value)) << text;
    EXPECT_EQ(number->unit, unit) << text;
  }
}

/// All values of a file, row by row, as its own layout reads them; a row ends with a bar.
std::string ValuesOf(std::string_view text) {
  const CsvLayout layout = FindCsvLayout(text);
  std::ostringstream values;
  CsvRows rows(layout, [&](const CsvRow& row) {
    for (const double value : row.values) values << value << ' ';
    values << "| ";
  });
  rows.Feed(text);
  rows.Finish();
  return values.str();
}

TEST(CsvValues, AreNeverThoseOfAnotherRow) {
  const std::pair<const char*, const char*> rows[] = {
      {"A,B\n,1\n2,\n,3\nERR,4\n,5\n6,7\n", "nan 1 | 2 1 | 2 3 | nan 4 | nan 5 | 6 7 | "},
      {"A\n1\nERR\n3\nA\n4\n#\tnote\n5\n", "1 | nan | 3 | 4 | 5 | "},
      {"A,B\n1,OL\n-OL,n/a\n2,\n3,4\n", "1 inf | -inf nan | 2 nan | 3 4 | "},
      {"U\n950 mV\n1.2 V\n3 A\n7\n", "950 | 1200 | nan | 7 | "},
      {"U [V];N\n950 mV;1.000,5\n1,2 V;1.000\n", "0.95 1000.5 | 1.2 1000 | "},
      {"A\n\"1,234.5\"\n\"1,234\"\n", "1234.5 | 1234 | "},
  };
  for (const auto& [text, values] : rows) EXPECT_EQ(ValuesOf(text), values) << text;
}

double RateOf(const std::vector<double>& times) {
  TimeSteps steps;
  for (const double time : times) steps.Add(time);
  return steps.Rate().value_or(-1);
}

TEST(TimeSteps, GiveTheRateInSpiteOfPausesAndFewDigits) {
  EXPECT_EQ(RateOf({5, 5, 5}), -1);
  EXPECT_EQ(RateOf({0, 1, 2, 5}), 0.6) << "three steps at once are no pause yet";
  EXPECT_EQ(RateOf({0, 0.1, 0.2, 900, 900.1, 3, 3.1}), 10);
  std::vector<double> milliseconds;
  std::vector<double> odd;
  for (int i = 0; i < 36000; ++i) {
    milliseconds.push_back(std::round(i / 0.36) / 1000);
    odd.push_back(i / 359.5);
  }
  EXPECT_EQ(RateOf(milliseconds), 360);
  odd.insert(odd.end(), {900, 3, 3, 900});  // long after the usual step is known
  EXPECT_NEAR(RateOf(odd), 359.5, 1e-6);
}

/// The lines of `text`, handed over in pieces of that size.
std::vector<std::vector<double>> Lines(std::string_view text, std::size_t piece, bool finish) {
  CsvLayout layout;
  layout.lines_to_skip = 1;
  layout.columns = {{.field = 0, .name = "A"}, {.field = 2, .name = "B"}};
  std::vector<std::vector<double>> lines;
  CsvRows rows(
      layout, [&](const CsvRow& row) { lines.emplace_back(row.values.begin(), row.values.end()); });
  for (std::size_t i = 0; i < text.size(); i += piece) rows.Feed(text.substr(i, piece));
  if (finish) rows.Finish();
  return lines;
}

TEST(CsvRows, AreTheSameInPiecesOfAnySize) {
  const std::string text =
      "A,text,B\r\n1,x,2\r\n"
      "\r\n"
      ",y,3\n"                             // an empty field repeats
      "4\n"                                // so does a missing one
      "\"5\",\"a,\n\"\"b\"\"\",\" 6 \"\n"  // quoted separator, line end and quote
      "only,words\n" +
      std::string("7\0,,8\r\n", 7) +  // a NUL makes a field unreadable
      "9,z,10,11,12\n13,z,1";
  const std::vector<std::vector<double>> expected{{1, 2}, {1, 3},   {4, 3},
                                                  {5, 6}, {NAN, 8}, {9, 10}};
  for (std::size_t piece = 1; piece <= text.size(); ++piece) {
    ASSERT_EQ(testing::PrintToString(Lines(text, piece, false)), testing::PrintToString(expected))
        << piece;
  }
  EXPECT_THAT(Lines(text, 7, true).back(), ElementsAre(13, 1));
  EXPECT_THAT(Lines("A,text,B\n1,x,2\n3,z", 4, true), ElementsAre(ElementsAre(1, 2)));
}

}  // namespace
}  // namespace vantoscope
