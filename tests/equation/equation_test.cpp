// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "equation/equation_tick.h"
#include "equation/muparser_evaluator.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "sources/device_control.h"
#include "tests/support/spy.h"
#include "text/picture.h"

namespace vantoscope::test {

// Blanks part the texts; no replacement reaches over one.
TEST(NormaliserTest, TurnsReferencesIntoTokens) {
  const std::vector<int> seven = {1, 2, 3, 12, 17, 18, 33};  // 1, 2, 3, 12, A1, A2, B1
  const std::tuple<std::vector<int>, std::int16_t, const char*, const char*> rows[] = {
      {seven, 16, "CH12-CH1 CH[T-26]A1 CH[T-0]1 CHA1ACRMS+CHB1RMS (CH3-CH[T-1]3)*RATE",
       "#3-#0 #Z4 #@0 #acrms4+#rms6 (#2-#A2)*#@"},
      {seven, 16, "sin(CH1)*2+CH2AVE-CH2MAX #0+#B2-#freq2*#@",
       "sin(#0)*2+#ave1-#max1 #0+#B2-#freq2*#@"},
      {seven, 16, "CH3FREQ ch2 CH3min CH[T-1]3MIN CH3MINMAX touch} STRATEGY RATE2",
       "#2FREQ #2 #2min #A2MIN #min2MAX tou#] ST#@GY #@2"},
      {seven, 16, "CH99 CH[T-1]5 CH13 CHZ1 CH[T-27]1 CH[T-05]1 CH[T-18]ATE",
       "#99 #A5 #03 #Z1 #[T-27]0 #[T-05]0 ##@"},
      {{1, 9, 3}, 16, "CH9 CH3", "#9 #2"},  // no label above the first and the last number
      {{1, 2, 3, -1}, 16, "CH1 CH2", "#0 #2"},
      {{4, 7, 7}, 16, "CH7", "#2"},  // of equal numbers the higher index
      {{}, 16, "CH1+RATE", "#1+#@"},
      // The letters of the banks leave out I and O and go on behind Z.
      {{144, 145, 224, 225, 400}, 16, "CHH16+CHJ1+CHN16+CHP1+CHZ16", "#0+#1+#2+#3+#4"},
      {{32, 33, 300, 999}, 32, "CH32+CHA1+CHJ12+CHa7", "#0+#1+#2+#3"}};
  for (const auto& [numbers, per_bank, text, tokens] : rows) {
    SpyMeter m;
    m.SetNumbers(numbers);
    m.runtime.ChannelsPerBank = per_bank;
    EXPECT_EQ(NormaliseEquation(m.meter, text).Text(), tokens);
  }
}

/// Channel j holds 10j + k, k scans before the newest. Channels 5, 12 and 15 hold 2.5, 6 holds -3
/// and 4 holds 0.1. A statistic covers 40 scans.
struct EquationMeter : SpyMeter {
  explicit EquationMeter(std::size_t count = 7) {
    Resize(count);
    runtime.DecimalSep = ",";
    runtime.Reading = 77;
    config.WindowSize = 40;
    Hold([](int j, int k) {
      const bool steady = j == 5 || j == 12 || j == 15;
      return steady ? 2.5 : j == 6 ? -3 : j == 4 ? 0.1 : 10 * j + k;
    });
  }
  void Resize(std::size_t count) { channels.assign(count, {.high = 100}); }
  bool Tick(const std::string& equation) {
    runtime.PreparedEquation = equation;
    log.clear();
    return EquationTick(meter);
  }
};

TEST(EquationTest, AsksInItsOrderAndComputesWhatIsNamedOnce) {
  EquationMeter m;
  m.answer = 250;
  EXPECT_TRUE(PrepareEquation(m.meter, "#B1*#max3*#max3/#@"));
  EXPECT_EQ(m.log.Text(),
            "Start|ChannelCount|Start|GetData 3 1|SampleRate|ChannelCount|"
            "Evaluate 12.*32.*32./1000.|Timer1 on|");
  EXPECT_EQ(m.runtime.Reading, 77);
  EXPECT_TRUE(m.Tick("#B1*#max3*#max3/#@"));
  EXPECT_EQ(m.log.Text(),
            "GetData 40 1|GetData 3 1|SampleRate|ChannelCount|ScaleLow 3|"
            "Evaluate 12.*69.*69./1000.|");
  EXPECT_EQ(m.runtime.Reading, 250);
}

// At first a plain token and a statistic are the oldest sample of the block, and history goes
// before the statistics; in the tick they are the newest and the real one, and statistics go first.
// `#A12` is index 1 and a 2; so are `#257` beyond what is marked and `#@2` without an index 2. From
// `#1#15` on a number lengthens the token before it, to one that the text did not hold, but for
// `#A1#5`, where the turn of 12 is over.
TEST(EquationTest, WritesNumbersIntoTheTextTokenByToken) {
  const std::tuple<std::size_t, const char*, int, int, std::string, std::string> rows[] = {
      {7, "200+20", 0, 0, "200+20", "200+20"},     {7, "2#1-#6", 0, 0, "210.--3.", "210.--3."},
      {7, "#4", 0, 0, ".10000000000000001", ".1"}, {7, "#0+#@0", 0, 0, ".+.", ".+."},
      {7, "#1-#A1", 1, 0, "11.-11.", "10.-11."},   {7, "#B1+#D2", 4, 0, "12.+24.", "12.+24."},
      {7, "#Z0+#A0", 26, 0, "26.+1.", "26.+1."},   {7, "#min1#max2", 0, 1, "10.20.", "10.59."},
      {7, "#freq2+#2", 0, 1, "20.+20.", ".+20."},  {7, "#2FREQ", 0, 0, "20.FREQ", "20.FREQ"},
      {7, "#A12", 1, 0, "11.2", "11.2"},           {30, "#257", 0, 0, "250.7", "250.7"},
      {7, "#@2#@", 0, 0, "20.1000.", "20.1000."},  {2, "#@2", 0, 0, "1000.2", "1000.2"},
      {16, "#1#15", 0, 0, "2.5.5", "2.5.5"},       {16, "#A1#5", 1, 0, "11.2.5", "11.2.5"},
      {16, "#@#1", 0, 0, "10.0.", "10.0."},        {16, "#A1#min12", 1, 1, "11.2.5", "2.5.5"},
      {16, "#min1#A12", 1, 1, "2.5.5", "10.2.5"}};
  for (const auto& [channels, equation, depth, statistics, first, tick] : rows) {
    EquationMeter m(channels);
    EXPECT_TRUE(PrepareEquation(m.meter, equation)) << equation;
    EXPECT_EQ(m.runtime.HistoryDepth, depth) << equation;
    EXPECT_EQ(m.runtime.NeedsStatistics, statistics) << equation;
    EXPECT_EQ(m.log.Text({"Evaluate"}), "Evaluate " + first + "|");
    EXPECT_TRUE(m.Tick(equation));
    EXPECT_EQ(m.log.Text({"Evaluate"}), "Evaluate " + tick + "|");
  }
}

TEST(EquationTest, RefusesATokenThatNamesNothing) {
  const std::pair<std::size_t, std::string> rows[] = {
      {7, "#99+1"}, {7, "#7"},    {7, "#12"}, {7, "#256"},  {30, "#256"},
      {7, "#A7"},   {7, "#min7"}, {7, "#A"},  {7, "#mi#1"}, {7, "#[T-27]0"}};
  for (const auto& [channels, equation] : rows) {
    EquationMeter m(channels);
    EXPECT_FALSE(PrepareEquation(m.meter, equation));
    EXPECT_EQ(m.log.Text({"Start", "Evaluate", "Message", "Stop", "Timer1"}),
              "Start|Message critical [] Channel(s) not found in Telvix (" + equation +
                  ")|Stop|Timer1 off|");
  }
}

TEST(EquationTest, RefusesWhatTheEvaluatorRefuses) {
  EquationMeter m;
  m.failing = {"Evaluate"};
  EXPECT_FALSE(PrepareEquation(m.meter, "#2FREQ"));
  EXPECT_EQ(m.log.Text({"Evaluate", "Message", "Stop", "Timer1"}),
            "Evaluate 20.FREQ|Message critical [] Failed to evaluate the equation. Please fix the "
            "error and start again|Stop|Timer1 off|");
}

TEST(EquationTest, ProvesTheGrammarWithoutABlock) {
  for (const char* failing : {"", "GetData"}) {
    EquationMeter m;
    m.runtime.DataBlock = MakeBlock(m.scans(2));
    m.scans = [](int) { return Scans{}; };
    m.failing = {failing};
    EXPECT_TRUE(PrepareEquation(m.meter, "#1+#A1*#ave2/#@"));
    EXPECT_EQ(m.log.Text({"Evaluate", "Timer1"}), "Evaluate .+.*./1000.|Timer1 on|");
  }
}

// With three channels `#12` is index 1 and a 2.
TEST(EquationTest, TheTickNoticesAnotherChannelList) {
  EquationMeter m;
  for (const auto& [channels, evaluated] : {std::pair(3U, "10.2"), {13U, "2.5"}, {3U, "10.2"}}) {
    m.Resize(channels);
    EXPECT_TRUE(m.Tick("#12"));
    EXPECT_EQ(m.log.back(), std::string("Evaluate ") + evaluated);
  }
}

constexpr double kValues[] = {1.5, -3,      0,   2,    12.25, 0.1, 55,   -0.125,    101, 2.5,
                              7,   1.0 / 3, -20, 1e20, 33.75, 25,  1e-5, 123456.75, 0.5, 10};

double ValueOf(int j, int k) {
  return kValues[static_cast<std::size_t>(j * 3 + k * 11) % std::size(kValues)];
}

/// Every token that there is, replaced one after the other; a statistic is of one sample.
std::string Replaced(std::string text, int channels, const MeterRuntime& needs, bool first) {
  const auto put = [&](const std::string& token, double value) {
    const std::string number =
        FormatPicture(value, first ? "#.#################" : "#.################", ".");
    for (std::size_t at = 0; (at = text.find(token, at)) != std::string::npos; at += number.size())
      text.replace(at, token.size(), number);
  };
  for (int j = channels - 1; j >= 0; --j) {
    const double x = ValueOf(j, first ? needs.HistoryDepth : 0);
    const double statistics[] = {x, x, x, std::abs(x), 0, 0};
    const auto history = [&] {
      for (int k = needs.HistoryDepth; k >= 0; --k)
        put(std::string{'#', static_cast<char>('@' + k)} + std::to_string(j), ValueOf(j, k));
    };
    put("#" + std::to_string(j), x);
    if (first) history();
    for (std::size_t s = 0; s < 6 && needs.NeedsStatistics > 0; ++s)
      put("#" + needs.StatisticNames[s] + std::to_string(j), first ? x : statistics[s]);
    if (!first) history();
  }
  put("#@", 1000);
  return text;
}

// The code leaves out the tokens that cannot occur, and keeps the others from tick to tick.
TEST(EquationTest, LeavesOutNoTokenThatOccurs) {
  std::mt19937 random(20261122);
  const auto pick = [&](std::size_t below) { return random() % below; };
  const std::string soup = "0123456789#@ABZminavers+-.";
  SpyMeter m;
  m.config.WindowSize = 1;
  m.Hold(ValueOf);
  int passed = 0;
  for (int round = 0; round < 4000; ++round) {
    const std::size_t channels = pick(40) + 1;
    m.channels.assign(channels, {.low = -1e300, .high = 1e300});
    std::string text;
    for (std::size_t parts = pick(8) + 1; parts > 0; --parts) {
      const std::string heads[] = {
          "#", {'#', "@ABDZ"[pick(5)]}, "#" + m.runtime.StatisticNames[pick(6)]};
      text += heads[pick(3)] + std::to_string(pick(channels));
      if (pick(4) == 0) text += "#@";
      if (pick(2) == 0) text += soup[pick(soup.size())];
    }
    m.log.clear();
    if (!PrepareEquation(m.meter, text)) continue;
    m.runtime.PreparedEquation = text;
    const auto expected = [&](bool first) {
      return "Evaluate " + Replaced(text, static_cast<int>(channels), m.runtime, first);
    };
    ASSERT_EQ(m.log[m.log.size() - 2], expected(true)) << text << " over " << channels;
    for (int tick = 0; tick < 2; ++tick) {
      ASSERT_TRUE(EquationTick(m.meter));
      ASSERT_EQ(m.log.back(), expected(false)) << text << " over " << channels;
    }
    ++passed;
  }
  EXPECT_GT(passed, 500);
}

// The worked examples of the help page, on the simulator at a moment that stands still, with the
// real evaluator. What the signals are stands in sources/simulator.cpp; the results are by hand.
TEST(WorkedExamplesTest, ReadWhatTheSignalsAre) {
  DeviceControl telvix([] { return std::int64_t{1'000'000'012'345'000'000}; });
  telvix.SetDeviceName("sim");
  telvix.Start();
  const std::tuple<const char*, int, double, double> rows[] = {
      {"CH4RMS*CH5RMS", 200, 2300, 0.5},                    // 230 V times 10 A
      {"max(CH4MAX,-CH4MIN)/CH4RMS", 200, 1.4055, 0.0088},  // a peak met within 9 degrees
      {"(CH7-CH[T-20]7)*RATE/20", 3, 1, 0.08},  // 1 mm/s; a step of the converter is 0.08 mm/s
      {"100*CH8ACRMS/CH8AVE", 1000, 100, 0.3},  // a square from 0 to 5 V
      {"#freq3", 2000, 50, 50.0 / 1900},        // one sample in what lies between the crossings
      {"#freq7*60", 5000, 60, 0.1},             // the square as a pulse: one a second
      {"CH1>0 ? RATE : 0", 3, 1000, 0}};
  SpyMeter spy;
  Meter meter{telvix, spy, spy.platform, {}, std::move(spy.runtime)};
  meter.runtime.EquationEngine = CreateMuParserEvaluator();
  for (const auto& [equation, window, value, within] : rows) {
    meter.config.WindowSize = window;
    meter.runtime.PreparedEquation = NormaliseEquation(meter, equation).Text();
    ASSERT_TRUE(PrepareEquation(meter, meter.runtime.PreparedEquation)) << equation;
    ASSERT_TRUE(EquationTick(meter));
    EXPECT_NEAR(meter.runtime.Reading, value, within) << equation;
  }
}

}  // namespace vantoscope::test
