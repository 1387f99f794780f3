#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "equation/equation_tick.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "tests/support/recording.h"

namespace vantoscope {
namespace {

using test::Log;
using test::MakeBlock;
using test::RecordingMeter;
using testing::ElementsAre;

void SetNumbers(RecordingMeter& rig, const std::vector<std::int16_t>& numbers) {
  rig.telvix.channels.clear();
  for (const std::int16_t number : numbers) rig.telvix.channels.push_back({.number = number});
}

struct NormaliserRow {
  const char* text;
  const char* normalised;
};

void ExpectNormalised(const std::vector<std::int16_t>& numbers, std::int16_t per_bank,
                      const std::vector<NormaliserRow>& rows) {
  RecordingMeter rig;
  SetNumbers(rig, numbers);
  rig.meter.runtime.ChannelsPerBank = per_bank;
  for (const NormaliserRow& row : rows) {
    EXPECT_EQ(NormaliseEquation(rig.meter, row.text), row.normalised) << row.text;
  }
}

// Labels 1, 2, 3, 12, A1, A2, B1 at list indices 0 to 6.
const std::vector<std::int16_t> kSevenChannels = {1, 2, 3, 12, 17, 18, 33};

TEST(NormaliserTest, TurnsReferencesIntoTokens) {
  ExpectNormalised(kSevenChannels, 16,
                   {{"CH3", "#2"},
                    {"CHA1", "#4"},
                    {"CH12-CH1", "#3-#0"},
                    {"CH[T-2]3", "#B2"},
                    {"CH[T-26]A1", "#Z4"},
                    {"CH[T-0]1", "#@0"},
                    {"CH3MIN", "#min2"},
                    {"CHA1ACRMS+CHB1RMS", "#acrms4+#rms6"},
                    {"RATE", "#@"},
                    {"(CH3-CH[T-1]3)*RATE", "(#2-#A2)*#@"},
                    {"sin(CH1)*2+CH2AVE/CH2MAX", "sin(#0)*2+#ave1/#max1"},
                    // Tokens pass as they are.
                    {"", ""},
                    {"#0+#B2+#min2+#freq2+#@", "#0+#B2+#min2+#freq2+#@"}});
}

TEST(NormaliserTest, KeepsItsQuirks) {
  ExpectNormalised(kSevenChannels, 16,
                   {{"CH3FREQ", "#2FREQ"},
                    {"ch2", "#2"},
                    {"CH2", "#1"},
                    {"CH3min", "#2min"},
                    {"CH[T-1]3MIN", "#A2MIN"},
                    {"CH3MINMAX", "#min2MAX"},
                    {"CH5", "#5"},
                    {"CH[T-1]5", "#A5"},
                    {"CH99", "#99"},
                    {"CH13", "#03"},
                    {"CHA3", "#A3"},
                    {"CHZ1", "#Z1"},
                    {"CH[T-27]1", "#[T-27]0"},
                    {"CH[T-05]1", "#[T-05]0"},
                    {"RATE2", "#@2"},
                    {"touch}", "tou#]"},
                    {"STRATEGY", "ST#@GY"},
                    // The letter of depth 18 and what follows it make a word.
                    {"CH[T-18]ATE", "##@"}});
  ExpectNormalised({1, 9, 3}, 16, {{"CH9", "#9"}, {"CH3", "#2"}});      // Top is 3
  ExpectNormalised({1, 2, 3, -1}, 16, {{"CH1", "#0"}, {"CH2", "#2"}});  // Top is 1
  ExpectNormalised({4, 7, 7}, 16, {{"CH7", "#2"}});                     // the higher index
  ExpectNormalised({}, 16, {{"CH1+RATE", "#1+#@"}});
}

TEST(NormaliserTest, NamesBanksByLettersWithoutIAndO) {
  struct Row {
    std::int16_t per_bank, number;
    const char* label;
  };
  for (const auto& [per_bank, number, label] : std::vector<Row>{{16, 16, "16"},
                                                                {16, 17, "A1"},
                                                                {16, 144, "H16"},
                                                                {16, 145, "J1"},
                                                                {16, 224, "N16"},
                                                                {16, 225, "P1"},
                                                                {16, 400, "Z16"},
                                                                {32, 32, "32"},
                                                                {32, 33, "A1"},
                                                                {32, 300, "J12"},
                                                                {32, 999, "a7"}}) {
    ExpectNormalised({number}, per_bank, {{(std::string("CH") + label).c_str(), "#0"}});
  }
}

/// Seven channels; channel j holds 10j + k, k scans before the newest, over `scans` scans.
RecordingMeter& WithBlocks(RecordingMeter& rig, int scans) {
  SetNumbers(rig, kSevenChannels);
  std::vector<std::vector<double>> values(7);
  for (int j = 0; j < 7; ++j) {
    for (int k = scans - 1; k >= 0; --k) values[static_cast<std::size_t>(j)].push_back(10 * j + k);
  }
  rig.telvix.blocks.clear();
  rig.telvix.blocks.push_back(MakeBlock(values));
  rig.log.clear();
  return rig;
}

constexpr const char* kNotFound = "Message critical [] Channel(s) not found in Telvix (";
constexpr const char* kFailed =
    "Message critical [] Failed to evaluate the equation. Please fix the error and start again";

TEST(PreparationTest, StartsChecksStartsAndEvaluates) {
  RecordingMeter rig;
  WithBlocks(rig, 5);
  rig.meter.runtime.Reading = 77;
  EXPECT_TRUE(PrepareEquation(rig.meter, "#B1+#D2+#1*#max3/#@"));
  EXPECT_THAT(rig.log, ElementsAre("Start", "ChannelCount", "Start", "GetData 5 1", "SampleRate",
                                   "ChannelCount", "Evaluate 12.+24.+14.*34./1000.", "Timer1 on"));
  EXPECT_EQ(rig.meter.runtime.HistoryDepth, 4);
  EXPECT_EQ(rig.meter.runtime.NeedsStatistics, 1);
  EXPECT_EQ(rig.meter.runtime.Reading, 77);
}

TEST(PreparationTest, ShowsWhatIsWrongAndThenStops) {
  RecordingMeter rig;
  WithBlocks(rig, 1);
  EXPECT_FALSE(PrepareEquation(rig.meter, "#99+1"));
  EXPECT_THAT(rig.log, ElementsAre("Start", "ChannelCount", kNotFound + std::string("#99+1)"),
                                   "Stop", "Timer1 off"));
  WithBlocks(rig, 1);
  rig.evaluator_failing = true;
  EXPECT_FALSE(PrepareEquation(rig.meter, "#2FREQ"));
  EXPECT_THAT(rig.log,
              ElementsAre("Start", "ChannelCount", "Start", "GetData 1 1", "SampleRate",
                          "ChannelCount", "Evaluate 20.FREQ", kFailed, "Stop", "Timer1 off"));
}

TEST(PreparationTest, ProvesTheTokens) {
  struct Row {
    const char* text;
    std::size_t channels;
    const char* evaluated;  ///< nothing: refused
    std::int16_t depth = 0;
    std::int16_t statistics = 0;
  };
  const std::vector<Row> rows = {
      {"#6", 7, "1."},
      {"#7", 7, nullptr},
      {"#12", 7, nullptr},
      {"#256", 7, nullptr},
      {"#300", 31, "1.0"},
      {"#A12", 7, "1.2", 1},
      {"#min12", 7, "1.2", 0, 1},
      {"#A", 7, nullptr, 1},
      {"#[T-27]0", 7, nullptr},
      {"2+2", 7, "2+2"},
      {"", 7, ""},
      {"#freq2", 7, "1.", 0, 1},
      {"#@", 7, "1000."},
      {"#@2", 7, "1."},
      {"#@2", 2, "1000.2"},
      {"#Z0", 7, "1.", 26},
      {"#minX", 7, nullptr, 0, 1},
      {"#0", 0, nullptr},
      {"#@*2", 0, "1000.*2"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    RecordingMeter rig;
    SetNumbers(rig, std::vector<std::int16_t>(row.channels, 1));
    const auto scans = static_cast<std::size_t>(row.depth + 1);
    rig.telvix.blocks.push_back(MakeBlock({row.channels, std::vector<double>(scans, 1)}));
    EXPECT_EQ(PrepareEquation(rig.meter, row.text), row.evaluated != nullptr);
    EXPECT_EQ(rig.meter.runtime.HistoryDepth, row.depth);
    EXPECT_EQ(rig.meter.runtime.NeedsStatistics, row.statistics);
    if (row.evaluated == nullptr) continue;
    EXPECT_THAT(rig.log, testing::Contains("Evaluate " + std::string(row.evaluated)));
  }
}

// One place more than the tick; the plain token and the statistic take the first scan.
TEST(PreparationTest, WritesSeventeenPlaces) {
  RecordingMeter rig;
  SetNumbers(rig, {1});
  rig.meter.runtime.DecimalSep = ",";
  rig.telvix.blocks.push_back(MakeBlock({{-0.1, 0}}));
  EXPECT_TRUE(PrepareEquation(rig.meter, "#0;#freq0;#A0;#@0"));
  EXPECT_THAT(rig.log, testing::Contains("Evaluate -.10000000000000001;-.10000000000000001;"
                                         "-.10000000000000001;."));
}

TEST(PreparationTest, ProvesTheGrammarWithoutABlock) {
  for (const bool failing : {false, true}) {
    RecordingMeter rig;
    SetNumbers(rig, kSevenChannels);
    rig.meter.runtime.DataBlock = MakeBlock({{5}, {5}, {5}, {5}, {5}, {5}, {5}});
    rig.telvix.failing["GetData"] = failing;
    EXPECT_TRUE(PrepareEquation(rig.meter, "#0+#A1*#ave2/#@"));
    EXPECT_THAT(rig.log, testing::Contains("Evaluate .+.*./1000."));
    EXPECT_TRUE(rig.form.timer1);
  }
}

/// A meter whose tick is due for `equation`.
void Prepare(RecordingMeter& rig, const std::string& equation, std::int16_t depth,
             std::int16_t statistics) {
  rig.meter.runtime.PreparedEquation = equation;
  rig.meter.runtime.HistoryDepth = depth;
  rig.meter.runtime.NeedsStatistics = statistics;
  rig.log.clear();
}

TEST(EquationTickTest, FetchesSubstitutesAndEvaluates) {
  RecordingMeter rig;
  WithBlocks(rig, 2);
  rig.evaluator_value = 250;
  Prepare(rig, "(#2-#A2)*#@", 1, 0);
  EXPECT_TRUE(EquationTick(rig.meter));
  EXPECT_THAT(rig.log,
              ElementsAre("GetData 2 1", "SampleRate", "ChannelCount", "Evaluate (20.-21.)*1000."));
  EXPECT_EQ(rig.meter.runtime.Reading, 250);
}

// The block of statistics is fetched first; a statistic is computed once, and only if named.
TEST(EquationTickTest, ComputesNamedStatisticsOnce) {
  RecordingMeter rig;
  SetNumbers(rig, {1, 2});
  rig.meter.config.WindowSize = 2;
  rig.telvix.blocks.push_back(MakeBlock({{-12, 3}, {40, 14}}));
  rig.telvix.blocks.push_back(MakeBlock({{8}, {9}}));
  Prepare(rig, "#min0+#min0*#max1-#0", 0, 1);
  EXPECT_TRUE(EquationTick(rig.meter));
  EXPECT_THAT(rig.log, ElementsAre("GetData 2 1", "GetData 1 1", "SampleRate", "ChannelCount",
                                   "ScaleLow 1", "ScaleHigh 0", "Evaluate -12.+-12.*40.-8."));
}

TEST(EquationTickTest, WritesValuesWithNothingAround) {
  struct Row {
    const char* equation;
    std::vector<double> newest;
    const char* evaluated;
  };
  for (const Row& row :
       std::vector<Row>{{"#0-#1", {2, -3}, "2.--3."},
                        {"2#0", {1.5}, "21.5"},
                        {"#0#1", {1.5, 2.5}, "1.52.5"},
                        {"#2FREQ", {0, 0, 1.5}, "1.5FREQ"},
                        {"#0", {0}, "."},
                        {"#0", {1.0 / 3}, ".3333333333333333"},
                        {"#0", {1e22}, "10000000000000000000000."},
                        {"#0+#@0+#@", {4}, "4.+4.+1000."},
                        // The value of #15 lengthens the index before it to 12.
                        {"#1#15", {0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 99, 0, 0, 2.5}, "99..5"}}) {
    RecordingMeter rig;
    rig.meter.runtime.DecimalSep = ",";
    SetNumbers(rig, std::vector<std::int16_t>(row.newest.size(), 1));
    std::vector<std::vector<double>> channels;
    for (const double value : row.newest) channels.push_back({value});
    rig.telvix.blocks.push_back(MakeBlock(channels));
    Prepare(rig, row.equation, 0, 0);
    EXPECT_TRUE(EquationTick(rig.meter));
    EXPECT_EQ(rig.log.back(), std::string("Evaluate ") + row.evaluated);
  }
}

// With three channels `#12` is index 1 and a 2.
TEST(EquationTickTest, NoticesAnotherChannelList) {
  RecordingMeter rig;
  Prepare(rig, "#12", 0, 0);
  for (const auto& [channels, evaluated] :
       std::vector<std::pair<std::size_t, std::string>>{{3, "5.2"}, {13, "5."}, {3, "5.2"}}) {
    SetNumbers(rig, std::vector<std::int16_t>(channels, 1));
    rig.telvix.blocks.clear();
    rig.telvix.blocks.push_back(MakeBlock({channels, std::vector<double>{5}}));
    EXPECT_TRUE(EquationTick(rig.meter));
    EXPECT_EQ(rig.log.back(), "Evaluate " + evaluated);
  }
}

TEST(EquationTickTest, EndsSilentlyAndKeepsTheReading) {
  const auto tick = [](auto spoil) {
    RecordingMeter rig;
    WithBlocks(rig, 3);
    rig.meter.config.WindowSize = 3;
    rig.evaluator_value = 5;
    rig.meter.runtime.Reading = 42;
    Prepare(rig, "#ave0", 0, 1);
    spoil(rig);
    EXPECT_FALSE(EquationTick(rig.meter));
    EXPECT_EQ(rig.meter.runtime.Reading, 42);
    return rig.log;
  };
  EXPECT_THAT(tick([](RecordingMeter& rig) { rig.telvix.failing["GetData"] = true; }),
              ElementsAre("GetData 3 1"));
  EXPECT_THAT(tick([](RecordingMeter& rig) { rig.meter.config.WindowSize = 40000; }),
              testing::IsEmpty());
  EXPECT_THAT(tick([](RecordingMeter& rig) { rig.telvix.blocks.clear(); }),
              ElementsAre("GetData 3 1", "GetData 1 1"));
  tick([](RecordingMeter& rig) { rig.telvix.channels.resize(8); });  // the block knows 7
  tick([](RecordingMeter& rig) { rig.evaluator_failing = true; });
}

}  // namespace
}  // namespace vantoscope
