#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "meter/data_source.h"
#include "sources/recording/csv_layout.h"
#include "sources/recording/csv_rows.h"

namespace vantoscope {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// `name unit,` of every column.
std::string Described(const CsvLayout& layout) {
  std::string text;
  for (const CsvColumn& column : layout.columns) {
    text += column.name + "|" + column.unit + " ";
  }
  return text;
}

TEST(CsvLayout, FindsHeaderUnitsTimesAndNumbers) {
  struct Row {
    const char* name;
    const char* text;
    const char* columns;  // name|unit, blank behind each
    bool has_times;
    std::size_t lines_to_skip;
  };
  const Row rows[] = {
      {"plain", "1,2\n3,4\n", "| | ", false, 0},
      {"header with units", "Time [s],Level [m],Flow (l/min)\n0,1,2\n1,2,3\n",
       "Level|m Flow|l/min ", true, 1},
      {"first column is a channel", "Level [m],Flow\n1,2\n2,3\n3,4\n", "Level|m Flow| ", false, 1},
      {"time by its unit", "x [ms],U [V]\n0,5\n10,6\n20,7\n", "U|V ", true, 1},
      {"a falling time is a channel", "Delay [ms],U\n9,1\n7,2\n5,3\n", "Delay|ms U| ", false, 1},
      {"minimum is no time", "Min,Max\n1,2\n2,3\n3,4\n", "Min| Max| ", false, 1},
      {"even rise without header", "0.0,7\n0.1,7\n0.2,8\n", "| ", true, 0},
      {"uneven rise without header", "1,7\n2,7\n30,8\n", "| | ", false, 0},
      {"text columns", "Date,Note,Level\n2024-05-01T12:00:00,ok,1\n2024-05-01T12:00:01,,2\n",
       "Level| ", true, 1},
      {"clock times, numbers as names", "Clock,1,2\n12:00:00.5,1,2\n12:00:01.0,3,4\n", "1| 2| ",
       true, 1},
      {"line of units", "Time;U;I\ns;V;(mA)\n0,5;1,5;2\n1;1,5;2\n", "U|V I|mA ", true, 2},
      {"preamble", "Recorder X\nRate,100\n\nA,B,C\n1,2,3\n1,2,3\n1,2,3\n", "A| B| C| ", false, 3},
      {"commented header", "# t,Level\n0,1\n1,2\n2,3\n", "Level| ", true, 1},
      {"a bad field does not lose a column", "A,B\n1,2\nERR,3\n2,4\n", "A| B| ", false, 1},
      {"quotes", "\"Level, upper [m]\",\"B\"\n\"1.5\",2\n", "Level, upper|m B| ", false, 1},
      {"Latin-1, and temperature is no time",
       "T [\xB0"
       "C],p\n1,2\n2,3\n3,4\n",
       "T|\xC2\xB0"
       "C p| ",
       false, 1},
      {"carriage returns", "A,B\r\n1,2\r\n3,4\r\n", "A| B| ", false, 1},
  };
  for (const Row& row : rows) {
    const CsvLayout layout = FindCsvLayout(row.text);
    EXPECT_EQ(Described(layout), row.columns) << row.name;
    EXPECT_EQ(layout.has_times, row.has_times) << row.name;
    EXPECT_EQ(layout.lines_to_skip, row.lines_to_skip) << row.name;
  }
}

TEST(TimeOfField, ReadsClocksAndDates) {
  const std::pair<const char*, std::optional<double>> rows[] = {
      {"00:01:02.25", 62.25},
      {"23:59", 86340},
      {"2024-02-29 12:00:00", 1709208000},  // date -u -d '2024-02-29 12:00' +%s
      {"2000-03-01T00:00:00.500Z", 951868800.5},
      {"2024-02-29T12:00:00+01:00", 1709208000},  // zones are left alone, steps do not change
      {"2024-13-01", std::nullopt},
      {"12:xx", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [text, seconds] : rows) EXPECT_EQ(TimeOfField(text, false), seconds) << text;
  EXPECT_EQ(TimeOfField("12:00:01,5", true), 43201.5);
}

TEST(NumberOfField, TakesACommaOnlyWhereItSeparatesNothing) {
  EXPECT_EQ(NumberOfField("1,5", true), 1.5);
  EXPECT_EQ(NumberOfField("-1,5e2", true), -150);
  EXPECT_EQ(NumberOfField("1.234,5", true), std::nullopt);
  EXPECT_EQ(NumberOfField("NaN", true), std::nullopt);
}

double RateOf(const std::vector<double>& times) {
  TimeSteps steps;
  for (const double time : times) steps.Add(time);
  return steps.Rate().value_or(-1);
}

TEST(TimeSteps, GiveTheRateInSpiteOfPausesAndFewDigits) {
  EXPECT_EQ(RateOf({5, 5, 5}), -1);
  EXPECT_EQ(RateOf({0, 0.25, 0.5}), 4);
  EXPECT_EQ(RateOf({0, 0.1, 0.2, 900, 900.1, 3, 3.1}), 10);
  std::vector<double> milliseconds;
  for (int i = 0; i < 36000; ++i) milliseconds.push_back(std::round(i / 0.36) / 1000);
  EXPECT_EQ(RateOf(milliseconds), 360);
  std::vector<double> odd;
  for (int i = 0; i < 3000; ++i) odd.push_back(i / 359.5);
  EXPECT_NEAR(RateOf(odd), 359.5, 1e-6);
}

/// The lines of `text`, handed over in pieces of that size.
std::vector<std::vector<double>> Lines(const CsvLayout& layout, const std::string& text,
                                       std::size_t piece, bool finish) {
  std::vector<std::vector<double>> lines;
  CsvRows rows(
      layout, [&](const CsvRow& row) { lines.emplace_back(row.values.begin(), row.values.end()); });
  for (std::size_t i = 0; i < text.size(); i += piece) {
    rows.Feed(std::string_view(text).substr(i, piece));
  }
  if (finish) rows.Finish();
  return lines;
}

TEST(CsvRows, AreTheSameInPiecesOfAnySize) {
  const std::string nul("7\0,8\r\n", 6);
  const std::string text =
      "A,text,B\r\n1,x,2\r\n"
      "\r\n"
      ",y,3\n"                             // an empty field repeats
      "4\n"                                // so does a missing one
      "\"5\",\"a,\n\"\"b\"\"\",\" 6 \"\n"  // quoted separator, line end and quote
      "only,words,here\n" +
      nul +  // a NUL makes a field unreadable
      "nan,,1e999\n9,z,10,11,12\n13,z,1";
  CsvLayout layout;
  layout.lines_to_skip = 1;
  layout.columns = {{0, "A", ""}, {2, "B", ""}};
  const std::vector<std::vector<double>> expected{{1, 2}, {1, 3}, {4, 3}, {5, 6}, {9, 10}};
  for (std::size_t piece = 1; piece <= text.size(); ++piece) {
    ASSERT_THAT(Lines(layout, text, piece, false), ElementsAreArray(expected)) << piece;
  }
  EXPECT_THAT(Lines(layout, text, 7, true).back(), ElementsAre(13, 1));
  EXPECT_THAT(Lines(layout, "A,text,B\n1,x,2\n3,z", 4, true), ElementsAre(ElementsAre(1, 2)));
}

}  // namespace
}  // namespace vantoscope
