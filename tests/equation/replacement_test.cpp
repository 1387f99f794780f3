// The texts that reach the evaluator, on generated equations, against plain replacement of every
// token there is. The code leaves out the tokens that cannot occur, and keeps the others from tick
// to tick.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "equation/equation_tick.h"
#include "equation/preparation.h"
#include "tests/support/spy.h"
#include "text/picture.h"

namespace vantoscope::test {

const std::vector<std::string> kNames = {"min", "max", "ave", "rms", "acrms", "freq"};
constexpr double kValues[] = {1.5, -3,      0,   2,    12.25, 0.1, 55,   -0.125,    101, 2.5,
                              7,   1.0 / 3, -20, 1e20, 33.75, 25,  1e-5, 123456.75, 0.5, 10};

/// The sample of channel j, k scans before the newest.
double ValueOf(int j, int k) {
  return kValues[static_cast<std::size_t>(j * 3 + k * 11) % std::size(kValues)];
}

/// Of a window of one sample x.
double StatisticOf(std::size_t s, double x) {
  return s < 3 ? x : s == 3 ? std::abs(x) : s == 4 ? x - x : 0;
}

std::string Replaced(std::string text, int channels, const MeterRuntime& needs, bool first) {
  const char* picture = first ? "#.#################" : "#.################";
  const auto put = [&](const std::string& token, double value) {
    const std::string number = FormatPicture(value, picture, ".");
    for (std::size_t at = 0; (at = text.find(token, at)) != std::string::npos; at += number.size())
      text.replace(at, token.size(), number);
  };
  const int depth = needs.HistoryDepth;
  for (int j = channels - 1; j >= 0; --j) {
    const auto history = [&] {
      for (int k = depth; k >= 0; --k)
        put(std::string{'#', static_cast<char>('@' + k)} + std::to_string(j), ValueOf(j, k));
    };
    put("#" + std::to_string(j), ValueOf(j, first ? depth : 0));
    if (first) history();
    for (std::size_t s = 0; s < 6 && needs.NeedsStatistics > 0; ++s)
      put("#" + kNames[s] + std::to_string(j),
          first ? ValueOf(j, depth) : StatisticOf(s, ValueOf(j, 0)));
    if (!first) history();
  }
  put("#@", 1000);
  return text;
}

TEST(ReplacementTest, LeavesOutNoTokenThatOccurs) {
  std::mt19937 random(20261122);
  const auto pick = [&](std::size_t below) { return random() % below; };
  const std::string soup = "0123456789#@ABZminavers+-.";
  SpyMeter m;
  m.runtime.DecimalSep = ",";
  m.config.WindowSize = 1;
  int passed = 0;
  int touching = 0;
  for (int round = 0; round < 4000; ++round) {
    const std::size_t channels = pick(40) + 1;
    m.channels.assign(channels, {.low = -1e300, .high = 1e300});
    m.Hold(ValueOf);
    std::string text;
    for (std::size_t parts = pick(8) + 1; parts > 0; --parts) {
      const std::string heads[] = {"#", {'#', "@ABDZ"[pick(5)]}, "#" + kNames[pick(6)]};
      text += heads[pick(3)] + std::to_string(pick(channels));
      if (pick(4) == 0) text += "#@";
      if (pick(2) == 0) text += soup[pick(soup.size())];
    }
    SCOPED_TRACE(text + " over " + std::to_string(channels) + " channels");
    m.log.clear();
    if (!PrepareEquation(m.meter, text)) continue;
    const auto expected = [&](bool first) {
      return "Evaluate " + Replaced(text, static_cast<int>(channels), m.runtime, first);
    };
    ASSERT_EQ(m.log[m.log.size() - 2], expected(true));
    m.runtime.PreparedEquation = text;
    for (int tick = 0; tick < 2; ++tick) {
      ASSERT_TRUE(EquationTick(m.meter));
      ASSERT_EQ(m.log.back(), expected(false));
    }
    ++passed;
    touching += text.find("#1#") != std::string::npos;
  }
  EXPECT_GT(passed, 500);
  EXPECT_GT(touching, 50);
}

}  // namespace vantoscope::test
