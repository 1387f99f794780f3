// SPDX-License-Identifier: GPL-3.0-or-later
// What is said about an equation while it is written, and what is offered to complete it.
#include "equation/equation_check.h"

#include <gtest/gtest.h>

#include "equation/completions.h"
#include "equation/equation_tick.h"
#include "equation/fault_sentences.h"
#include "equation/muparser_evaluator.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "tests/support/spy.h"

namespace vantoscope::test {

/// Places 0 to 11: channels 1 to 8, a digital input, a counter, and A1 and A2. Channel 2 holds -2,
/// channel n else n + 0.5 in every scan; channel 3 has no negative range.
struct ListedMeter : SpyMeter {
  ListedMeter() {
    SetNumbers({1, 2, 3, 4, 5, 6, 7, 8, -1, -2, 17, 18});
    channels[2].low = 0;
    runtime.ChannelsPerBank = 16;
    config.WindowSize = 4;
    platform.CreateEvaluator = CreateMuParserEvaluator;
    runtime.EquationEngine = CreateMuParserEvaluator();
    Hold([](int j, int) { return j == 1 ? -2 : j + 1.5; });
  }
};

/// "E" or "W", the part in brackets, the sentence; one line each.
std::string Told(const std::string& equation, const std::vector<EquationFinding>& findings) {
  std::string told;
  for (const EquationFinding& f : findings) {
    told += (f.severity == EquationFinding::Severity::Error ? "E [" : "W [") +
            equation.substr(f.where.begin, f.where.Size()) + "] " + f.sentence;
  }
  return told;
}

TEST(EquationCheckTest, NamesWhatIsWrongAndWhatSurprises) {
  const std::string list = " is not in the list (1 to 8, A1 to A2)";
  const std::string sign = ": it works only while the number is negative, and then subtracts.";
  const std::string frequency = "The frequency of a channel is #freq and its place in the list.";
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"(CH3-CH[T-26]A1)*RATE/CH3ACRMS+#freq2^2", ""},
      {"CH1-CH99+CH77", "E [CH99] Channel 99" + list + ".E [CH77] Channel 77" + list + "."},
      {"CH+1", "E [CH] CH stands before the label of a channel (1 to 8, A1 to A2)."},
      {"2*CH[T-05]1", "E [CH[T-05]1] The past has no leading zero: CH[T-5]."},
      {"CH[T-27]1", "E [CH[T-27]1] The past reaches back 26 scans at most."},
      {"CH[T\u22125]1",
       "E [CH[T\u22125]1] The minus of the past is the one of the keyboard: CH[T-5]1."},
      {"CH[T-5", "E [CH[T-5] The bracket of the past is never closed: CH[T-5]1."},
      {"ch99",
       "E [ch99] Small letters name a place of the list, and there is no place 99 (places 0 "
       "to 11)."},
      {"#12", "E [#12] #12 names nothing in the list (places 0 to 11)."},
      {"1+sine(CH1)", "E [sine] The name sine is unknown (did you mean sin?)."},
      {"power(2,3)", "E [power] The name power is unknown (did you mean pow?)."},
      {"volts", "E [volts] The name volts is unknown."},
      {"2*rate", "E [rate] The sample rate is written in capitals: RATE."},
      {"Ch3", "E [Ch3] Channels are written in capitals: CH3."},
      {"CH3min", "E [min] A suffix is written in capitals: CH3MIN."},
      {"CH3FREQ", "E [FREQ] " + frequency},
      {"freq(CH1)", "E [freq] " + frequency},
      {"rms(CH1)", "E [rms] A statistic stands behind its channel: CH1RMS."},
      {"CH[T-1]3MIN", "E [MIN] A past sample takes no suffix."},
      {"1,5*CH1", "E [,] Decimals stand behind a point, not a comma."},
      {"µ+(CH1", "E [µ] µ has no meaning in an equation."},
      {"max(CH1,2", "E [(] This bracket is never closed."},
      {"CH1-", "E [-] A value is missing at the end."},
      {"CH2 CH1", "E [CH1] An operator is missing before CH1."},
      {"CH1 CH2", "W [CH2] An operator is missing before CH2" + sign},
      {"(CH1)\u00A0CH2", "W [CH2] An operator is missing before CH2" + sign},
      {"1.5CH2", "W [CH2] An operator is missing before CH2" + sign},
      {"2CH1",
       "W [CH1] An operator is missing before CH1: its digits join those in front, and a "
       "negative number is subtracted."},
      {"CH1^2",
       "W [CH1^] The power goes before the sign of a negative CH1 (-3^2 is -9): put it in "
       "brackets."},
      {"(CH1)^2+CH3^2+CH1^3+2^CH1+CH1RMS^2", ""},
      {"CH12", "W [CH12] Channel 12" + list + ": this is CH1 with a 2 behind its number."},
      {"CHA3", "W [CHA3] Channel A3" + list + ": this is CH[T-1]4."},
      {"CH11MIN", "E [MIN] A suffix is written in capitals: CH11MIN."},
      {"CH10", "W [CH10] Channel 10" + list + ": this is CH1 with a 0 behind its number."},
      {"CH9", "W [CH9] Channel 9" + list + ": this is #9."},
      {"ch1", "W [ch1] ch1 in small letters is place 1 of the list, counted from 0: CH2."},
      {"RATE2", "W [RATE2] RATE2 is CH[T-0]3: write an operator behind RATE."},
      {"#A12", "W [#A12] The 2 behind #A1 joins its number."},
      {"CH1e3",
       "W [CH1] An operator is missing behind CH1: e3 is read as the exponent of its number."}};
  ListedMeter m;
  EquationCheck check(m.meter);
  for (const auto& [equation, told] : rows) {
    EXPECT_EQ(Told(equation, check.Findings(equation)), told) << equation;
    const bool refused = told.starts_with('E');
    ListedMeter same;
    EXPECT_EQ(PrepareEquation(same.meter, NormaliseEquation(same.meter, equation)), !refused);
  }
}

// The source is asked and not told; the list of 256 channels a few times, not once for each word.
TEST(EquationCheckTest, LeavesTheMeterAsItIsAndAsksLittle) {
  ListedMeter m;
  m.channels.assign(256, {});
  for (std::int16_t j = 0; j < 256; ++j) m.channels[static_cast<std::size_t>(j)].number = j + 1;
  m.runtime.PreparedEquation = "#1";
  m.runtime.Reading = 77;
  m.log.clear();
  EquationCheck check(m.meter);
  EXPECT_EQ(m.log.Text(), "");
  EXPECT_FALSE(check.Findings("CH1^2+CH2^2+CHG12RMS*CH[T-26]P16+ch3+CH4^2").empty());
  EXPECT_EQ(check.ValueNow(), 2.25 - 4 + 124.5 * 240.5 + 4.5 + 20.25);
  EXPECT_EQ(m.log.Text({"Start", "Stop", "Message", "Timer1", "LabelText", "DeviceName"}), "");
  EXPECT_LE(m.log.size(), 2 * 256 + 30);
  EXPECT_EQ(m.runtime.PreparedEquation, "#1");
  EXPECT_EQ(m.runtime.Reading, 77);
  EXPECT_EQ(m.meter.ticks.refusal + m.meter.ticks.failure, "");
}

TEST(EquationCheckTest, ASourceThatFailsOrHasNoDataIsNoFaultOfTheEquation) {
  ListedMeter m;
  EquationCheck check(m.meter);
  m.scans = [](int) { return Scans{}; };
  EXPECT_TRUE(check.Findings("CH1+CH2").empty());
  EXPECT_EQ(check.ValueNow(), std::nullopt);
  m.failing = {"ChannelNumber"};
  EXPECT_TRUE(check.Findings("CH99").empty());
}

// What standard error and the tool tip of the meter get.
TEST(EquationCheckTest, ARefusalSaysWhereInTheTextAsItWasTyped) {
  ListedMeter m;
  EXPECT_FALSE(PrepareEquation(m.meter, NormaliseEquation(m.meter, "µ*CH99")));
  EXPECT_EQ(m.meter.ticks.refusal,
            "Channel(s) not found in Telvix (µ*#99): channel 99 is not in the list (1 to 8, A1 to "
            "A2), at character 3");
  EXPECT_FALSE(PrepareEquation(m.meter, NormaliseEquation(m.meter, "CHA1+sine(CH1)")));
  EXPECT_EQ(m.meter.ticks.refusal,
            "Failed to evaluate the equation: the name sine is unknown (did you mean sin?), at "
            "character 6");
  const TracedText equation = NormaliseEquation(m.meter, "CHA1 CH2");
  m.runtime.PreparedEquation = equation.Text();
  EXPECT_TRUE(PrepareEquation(m.meter, equation));
  m.Hold([](int, int) { return 2; });
  EXPECT_FALSE(EquationTick(m.meter));
  EXPECT_EQ(m.meter.ticks.failure,
            "the equation has no value now (an operator is missing before CH2, at character 6)");
}

TEST(CompletionsTest, OffersWhatTheWordAtTheCursorCanBecome) {
  ListedMeter m;
  m.channels[3].unit = "°C";
  const char* const names[] = {"Mains", "", "", "Oven"};
  const auto channels =
      OfferedChannels(m.meter, [&](std::int16_t j) { return j < 4 ? names[j] : ""; });
  EXPECT_EQ(channels[3].meaning, "Oven, -10 to 10 °C");
  EXPECT_EQ(channels[9].meaning, "Cntr, -10 to 10 V");
  // The cursor is at the bar. What it replaces, then the first offers.
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"1+CH|", "CH", "CH1 CH2 CH3 CH4 CH5 CH6 CH7 CH8 CHA1 CHA2 CH[T- #8 #9 "},
      {"1+cha|", "cha", "CHA1 CHA2 "},
      {"2CH1|+1", "CH1", "CH1 CH1MIN CH1MAX CH1AVE CH1RMS CH1ACRMS "},
      {"CHA1A|", "CHA1A", "CHA1AVE CHA1ACRMS "},
      {"CH|2*3", "CH2", "CH2 CH1 "},
      {"CH[T-2|", "CH[T-2", "CH[T-2] CH[T-20] CH[T-21] "},
      {"-CH[T-5]A|", "CH[T-5]A", "CH[T-5]A1 CH[T-5]A2 "},
      {"#freq1|", "#freq1", "#freq1 #freq10 #freq11 "},
      {"#|", "#", "#8 #9 #freq0 "},
      {"fre|", "fre", "#freq0 #freq1 "},
      {"SI|", "SI", "sin( sinh( sign( "},
      {"2*si|(1)", "si", "sin sinh sign "},
      {"ra|", "ra", "RATE rad( "},
      {"oven|", "oven", "CH4 "},
      {"cntr|", "cntr", "#9 "},
      {"2e|", "e", ""},
      {"12|", "", ""},
      {"zz|", "zz", ""}};
  for (const auto& [marked, word, first] : rows) {
    std::string equation = marked;
    const std::size_t cursor = equation.find('|');
    equation.erase(cursor, 1);
    const CompletionList list = CompletionsAt(equation, cursor, channels);
    EXPECT_EQ(equation.substr(list.word.begin, list.word.Size()), word) << marked;
    std::string offered;
    for (const Completion& item : list.items) offered += item.text + " ";
    EXPECT_EQ(first.empty() ? offered : offered.substr(0, first.size()), first) << marked;
  }
}

}  // namespace vantoscope::test
