#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
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

// Labels 1, 2, 3, 12, A1, A2, B1 at list indices 0 to 6.
const std::vector<std::int16_t> kSevenChannels = {1, 2, 3, 12, 17, 18, 33};

using Pairs = std::vector<std::pair<std::string, std::string>>;

/// Runs texts and their normal forms through a meter with these channels.
void ExpectNormalised(const std::vector<std::int16_t>& numbers, std::int16_t per_bank,
                      const Pairs& rows) {
  RecordingMeter rig;
  SetNumbers(rig, numbers);
  rig.meter.runtime.ChannelsPerBank = per_bank;
  for (const auto& [text, normalised] : rows) {
    EXPECT_EQ(NormaliseEquation(rig.meter, text), normalised) << text;
  }
}

TEST(NormaliserTest, TurnsReferencesIntoTokens) {
  const Pairs plain = {{"CH12-CH1", "#3-#0"},
                       {"CH[T-26]A1", "#Z4"},
                       {"CH[T-0]1", "#@0"},
                       {"CHA1ACRMS+CHB1RMS", "#acrms4+#rms6"},
                       {"sin(CH1)*2+CH2AVE", "sin(#0)*2+#ave1"},
                       {"(CH3-CH[T-1]3)*RATE", "(#2-#A2)*#@"},
                       {"", ""},
                       {"#0+#B2", "#0+#B2"}};
  ExpectNormalised(kSevenChannels, 16, plain);
  const Pairs quirks = {{"CH3FREQ", "#2FREQ"},     {"ch2", "#2"},
                        {"CH3min", "#2min"},       {"CH[T-1]3MIN", "#A2MIN"},
                        {"CH3MINMAX", "#min2MAX"}, {"CH99", "#99"},
                        {"CH[T-1]5", "#A5"},       {"CH13", "#03"},
                        {"CHZ1", "#Z1"},           {"CH[T-27]1", "#[T-27]0"},
                        {"CH[T-05]1", "#[T-05]0"}, {"RATE2", "#@2"},
                        {"touch}", "tou#]"},       {"STRATEGY", "ST#@GY"},
                        {"CH[T-18]ATE", "##@"}};
  ExpectNormalised(kSevenChannels, 16, quirks);
  ExpectNormalised({1, 9, 3}, 16, {{"CH9", "#9"}, {"CH3", "#2"}});      // Top is 3
  ExpectNormalised({1, 2, 3, -1}, 16, {{"CH1", "#0"}, {"CH2", "#2"}});  // Top is 1
  ExpectNormalised({4, 7, 7}, 16, {{"CH7", "#2"}});                     // the higher index
  ExpectNormalised({}, 16, {{"CH1+RATE", "#1+#@"}});
  // The letters of the banks leave out I and O and go on behind Z.
  ExpectNormalised({144, 145, 225, 400}, 16, {{"CHH16+CHJ1+CHP1+CHZ16", "#0+#1+#2+#3"}});
  ExpectNormalised({32, 300, 999}, 32, {{"CH32+CHJ12+CHa7", "#0+#1+#2"}});
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

// In the last one the value of #15 lengthens the index before it to 12.
TEST(EquationTickTest, WritesValuesWithNothingAround) {
  const Pairs rows = {{"#0-#1", "1.5--3."},        {"2#0", "21.5"},
                      {"#0#1", "1.5-3."},          {"#2", "."},
                      {"#3", ".3333333333333333"}, {"#0+#@0+#@", "1.5+1.5+1000."},
                      {"#1#15", "99..5"}};
  RecordingMeter rig;
  rig.meter.runtime.DecimalSep = ",";
  SetNumbers(rig, std::vector<std::int16_t>(16, 1));
  std::vector<std::vector<double>> newest(16, {0.0});
  newest[0] = {1.5}, newest[1] = {-3}, newest[3] = {1.0 / 3};
  newest[15] = {2.5}, newest[12] = {99};
  rig.telvix.blocks.push_back(MakeBlock(newest));
  for (const auto& [equation, evaluated] : rows) {
    Prepare(rig, equation, 0, 0);
    EXPECT_TRUE(EquationTick(rig.meter));
    EXPECT_EQ(rig.log.back(), "Evaluate " + evaluated);
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
