// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "meter/data_source.h"
#include "sources/recording/csv_encoding.h"
#include "sources/recording/csv_layout.h"
#include "sources/recording/csv_numbers.h"
#include "sources/recording/csv_rows.h"
#include "sources/recording/csv_times.h"

namespace vantoscope {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// Lines to skip, the unit of the times if there are any, and name|unit of every column.
std::string Described(const CsvLayout& layout) {
  std::ostringstream text;
  text << layout.lines_to_skip;
  if (layout.times) text << " " << layout.times->seconds_per_unit << "s";
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
      {"spreadsheets pad", "Recorder,X,,\nRate,100,,\n\nt,A,B,C\n0,1,2,3\n1,1,2,3\n",
       "3 1s A| B| C|"},
      {"a line of units, not a preamble", "Serial;Q7\nt;U\n0;1\n1;2\n", "2 1s U|"},
      {"R names its rows", "\"U\",\"I\"\n\"1\",5,3\n\"2\",4,3\n", "1 U| I|"},
      {"and so does write.csv", "\"\",\"U\"\n\"1\",5\n\"2\",4\n", "1 U|"},
      {"gnuplot", "# a comment, with more words than columns\n#  x   U\n 0  1\n 1\t 2\n",
       "2 x| U|"},
      {"numpy.savetxt", "1.000000e+00 2.5e+00 7e+00\n3.0e+00 nan 8e+00\n", "0 | | |"},
      {"decimal commas between blanks", "1,5 2,5\n-3,5 4,5\n", "0 | |"},
      {"bars", "A | B [V]\n1|2\n3|4\n", "1 A| B|V"},
      {"one column with units", "U\n3.5 V\n4 V\n", "1 U|V"},
      {"comments of every kind", "% made by X\n// at 5, perhaps\n\"quoted, too\"\nA,B\n1,2\n3,4\n",
       "4 A| B|"},
      {"a trailing separator is no row name", "A;B\n1;2;\n3;4;\n", "1 A| B|"},
      {"days of a spreadsheet", "Date,U\n45413.50000,1\n45413.50001,2\n", "1 86400s U|"},
      {"milliseconds since 1970", "timestamp,U\n1714564800000,1\n1714564800100,2\n", "1 0.001s U|"},
      {"microseconds since 1970, by magnitude", "x,U\n1714564800000000,1\n1714564800000001,2\n",
       "1 1e-06s U|"},
      {"date beside time", "No,Date,Time,U\n7,01.05.2024,12:00,1\n9,01.05.2024,12:01,2\n",
       "1 1s No| U|"},
      {"impossible dates are text", "A,B\n31.02.2024,1\n30.02.2024,2\n", "1 B|"},
      {"Latin-1, and temperature is no time", "T,p [\xB0]\n1,2\n2,3\n3,4\n", "1 T| p|\xC2\xB0"},
  };
  for (const auto& [name, text, found] : rows) {
    EXPECT_EQ(Described(FindCsvLayout(text)), found) << name;
  }
}

TEST(CsvTimes, AreReadAsTheirWritersSpellThem) {
  constexpr auto kMonth = DateOrder::kMonthFirst;
  constexpr auto kDay = DateOrder::kDayFirst;
  // date -u -d '2024-02-29 12:00' +%s is 1709208000.
  const std::tuple<const char*, DateOrder, std::optional<double>> rows[] = {
      {"00:01:02.25", kMonth, 62.25},
      {"12:00:01,5", kMonth, 43201.5},
      {"12:00:01:250", kMonth, 43201.25},
      {"23:59", kMonth, 86340},
      {"02:30.5", kMonth, 150.5},
      {"100:00:00", kMonth, 360000},
      {"12:00:30 AM", kMonth, 30},
      {"1:00 pm", kMonth, 46800},
      {"13:00 PM", kMonth, {}},
      {"2024-02-29 12:00:00", kMonth, 1709208000},
      {"2024/2/29T12:00:00.5Z", kMonth, 1709208000.5},
      {"20240229T120000", kMonth, 1709208000},
      {"2024-02-29T13:00:00+01:00", kMonth, 1709208000},
      {"2024-02-29 06:30:00-0530", kMonth, 1709208000},
      {"2024-02-29 12:00:00 UTC", kMonth, 1709208000},
      {"29.02.2024 12:00", kMonth, 1709208000},
      {"29.2.24, 12:00", kMonth, 1709208000},
      {"02/29/2024 12:00:00 PM", kMonth, 1709208000},
      {"29/02/2024 12:00", kDay, 1709208000},
      {"29/02/2024 12:00", kMonth, {}},
      {"2024-02-29", kMonth, 1709164800},
      {"30.02.2024", kMonth, {}},
      {"2023-02-29", kMonth, {}},
      {"12:60", kMonth, {}},
      {"12:xx", kMonth, {}},
      {"12.5", kMonth, {}},
      {"2024-02-29 noon", kMonth, {}},
  };
  for (const auto& [text, order, seconds] : rows) {
    const auto time = ReadTime(text, order);
    ASSERT_EQ(time.has_value(), seconds.has_value()) << text;
    EXPECT_EQ(time ? SecondsSince1970(*time) : 0, seconds.value_or(0)) << text;
  }
  EXPECT_EQ(OrderOfDates({"01/02/2024", "13/02/2024"}), kDay) << "by what is possible";
  EXPECT_EQ(OrderOfDates({"01/02/2024", "02/02/2024"}), kDay) << "a day, and not a month";
  EXPECT_EQ(OrderOfDates({"02/01/2024", "02/02/2024"}), kMonth);
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

/// All times and values of a file, row by row, as its own layout reads them; a row ends with a bar.
std::string ValuesOf(std::string_view text) {
  const CsvLayout layout = FindCsvLayout(text);
  std::ostringstream values;
  CsvRows rows(layout, false, [&](const CsvRow& row) {
    if (row.seconds) values << *row.seconds << ": ";
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
      {"A,B\n1,2\n\"3,4\n5,6\n\"7,8\n9,10\n", "1 2 | nan 4 | 5 6 | nan 8 | 9 10 | "},
      {"A,B,C\n1,\"two\nlines\",2\n3,\"a \"\"b\"\"\",4\n", "1 2 | 3 4 | "},
      {"A,B\n1,2\n\nA,B\n3,4\n\nC,D,E\n5,6,7\n", "1 2 | 3 4 | "},
      {"1 2\n4 4\n\n5 6\n\n\n7 8\n", "1 2 | 4 4 | 5 6 | "},
      {"Time,U\n23:59:59,1\n00:00:00,2\n", "86399: 1 | 86400: 2 | "},
      {"x,U\n1714564800000000,1\n1714564800000001,2\n", "0: 1 | 1e-06: 2 | "},
      {"Date;Time;U\n01.01.70;00:01;1\n02.01.70;00:02;2\n", "60: 1 | 86520: 2 | "},
      {"t [ms],U\n5,1\n,2\n7,3\n", "0: 1 | 2 | 0.002: 3 | "},
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
  CsvRows rows(layout, false, [&](const CsvRow& row) {
    lines.emplace_back(row.values.begin(), row.values.end());
  });
  for (std::size_t i = 0; i < text.size(); i += piece) rows.Feed(text.substr(i, piece));
  if (finish) rows.Finish();
  return lines;
}

TEST(CsvTimeline, TakesUnequalStepsAsTheyAre) {
  const auto is = [](std::vector<double> seconds) {
    const Timeline line = TimelineOf(std::move(seconds));
    std::ostringstream text;
    text << line.rate.value_or(-1) << (line.backwards ? " back" : "");
    for (const double time : line.times) text << ' ' << time;
    return text.str();
  };
  EXPECT_EQ(is({7, 8, 9}), "1");
  EXPECT_EQ(is({7, 8, 9, 19, 20}), "1 0 1 2 12 13");
  EXPECT_EQ(is({0, 1, NAN, 3, 9, NAN}), "1 0 1 2 3 9 10");
  EXPECT_EQ(is({0, 0, 1, 1, 2, 2}), "2.5") << "five steps in two seconds";
  EXPECT_EQ(is({0, 0.002, 0.005, 0.008, 0.01}), "400");
  EXPECT_EQ(is({0, 1, 2, 1.5}), "-1 back");
  EXPECT_EQ(is({5, 5, 5}), "-1");
}

TEST(TextDecoder, ReadsUtf16InPiecesOfAnySize) {
  const std::string_view little("\xFF\xFE\x31\0\xB5\0\x3D\xD8\0\xDE\n\0", 12);
  for (const std::size_t piece : {1U, 2U, 3U, 12U}) {
    TextDecoder decoder(little);
    std::string text;
    for (std::size_t i = decoder.MarkSize(); i < little.size(); i += piece) {
      text += decoder.Decode(little.substr(i, piece));
    }
    EXPECT_EQ(text, "1\xC2\xB5\xF0\x9F\x98\x80\n");
  }
  EXPECT_EQ(TextDecoder(std::string_view("\0001\000,\0002", 6)).UnitSize(), 2);
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
