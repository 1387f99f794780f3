// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/reading_watch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vantoscope {
namespace {

/// A meter that ticks every 200 ms and is looked at every 250 ms, in time that nobody waits for.
class Watched {
 public:
  TickRecord ticks;
  Freshness data{.age = 0.1, .limit = 2, .reason = ""};
  bool ticking = true;
  bool resting = false;
  bool simulated = false;
  bool cut = false;
  double now = 1000;
  std::vector<std::string> lines;

  Verdict Run(double seconds) {
    Verdict verdict;
    for (const double end = now + seconds; now < end; now += 0.25) {
      if (ticking) ++ticks.finished;
      verdict = watch_.Look(now, {ticks, data, resting, simulated, cut});
      if (auto line = watch_.Line(now, verdict); !line.empty()) lines.push_back(line);
    }
    return verdict;
  }

 private:
  ReadingWatch watch_;
};

TEST(ReadingWatch, StandingTicksAreOldWithinTheLimitAndLiveAtTheFirstNewValue) {
  Watched meter;
  EXPECT_EQ(meter.Run(1).state, ReadingState::Live);
  meter.ticking = false;
  meter.ticks.failure = "the expression has no value";
  EXPECT_EQ(meter.Run(2).state, ReadingState::Live);
  EXPECT_EQ(meter.Run(1).state, ReadingState::Old);
  const Verdict old = meter.Run(9);
  EXPECT_EQ(old.sentence, "No new data for 12 s: the expression has no value.");
  meter.data.reason = "the broker does not answer";
  EXPECT_EQ(meter.Run(0.25).sentence, "No new data for 12 s: the broker does not answer.");
  meter.resting = true;
  EXPECT_EQ(meter.Run(0.25).sentence, "No new data for 12 s: the settings are open.");
  meter.resting = false;
  meter.ticking = true;
  EXPECT_EQ(meter.Run(0.25).state, ReadingState::Live);
}

TEST(ReadingWatch, OldScansAreOldHoweverTheTicksRun) {
  Watched meter;
  meter.Run(1);
  meter.data = {.age = 3, .limit = 3, .reason = "the recorder writes nothing"};
  EXPECT_EQ(meter.Run(1).state, ReadingState::Live) << "at the limit";
  meter.data.age = 3900;
  const Verdict old = meter.Run(1);
  EXPECT_EQ(old.state, ReadingState::Old);
  EXPECT_EQ(old.sentence, "No new data for 65 min: the recorder writes nothing.");
}

TEST(ReadingWatch, WaitsForTheFirstTickAndAgainAfterAStop) {
  Watched meter;
  meter.ticking = false;
  meter.data.age.reset();
  EXPECT_EQ(meter.Run(60).state, ReadingState::Waiting);
  meter.ticks.failure = "3 of 300 scans are there";
  EXPECT_EQ(meter.Run(1).sentence, "Waiting for the first reading: 3 of 300 scans are there.");
  meter.ticking = true;
  EXPECT_EQ(meter.Run(1).state, ReadingState::Live);
  meter.ticking = false;
  meter.ticks.refusal = "Channel(s) not found in Telvix (#99)";
  const Verdict stopped = meter.Run(1);
  EXPECT_EQ(stopped.state, ReadingState::Stopped);
  EXPECT_EQ(stopped.sentence, "Channel(s) not found in Telvix (#99).");
  meter.ticks.refusal.clear();
  EXPECT_EQ(meter.Run(1).state, ReadingState::Waiting) << "what stood there is no reading";
}

TEST(ReadingWatch, OneLineAtAChangeAndNotMoreThanOneASecond) {
  Watched meter;
  meter.Run(10);
  EXPECT_TRUE(meter.lines.empty()) << meter.lines.front();
  meter.ticking = false;
  meter.Run(10);
  meter.ticking = true;
  meter.Run(10);
  EXPECT_EQ(meter.lines,
            (std::vector<std::string>{"No new data for 2 s.", "The reading is live again."}));
  for (int i = 0; i < 40; ++i) {  // flickers four times a second
    meter.ticks.refusal = i % 2 == 0 ? "refused" : "";
    meter.Run(0.25);
  }
  EXPECT_LE(meter.lines.size(), 2 + 10U);
  EXPECT_GE(meter.lines.size(), 2 + 5U);
}

TEST(ReadingWatch, ASimulatorNobodyNamedIsSaid) {
  Watched meter;
  meter.simulated = true;
  EXPECT_EQ(meter.Run(1).state, ReadingState::Simulated);
  meter.ticking = false;
  EXPECT_EQ(meter.Run(3).state, ReadingState::Old) << "the worse of the two";
}

TEST(ReadingWatch, ACutReadingIsSaidBesideItsState) {
  Watched meter;
  meter.Run(2);
  meter.cut = true;
  EXPECT_EQ(meter.Run(2).sentence, "The window is too narrow for the whole reading.");
  meter.ticking = false;
  EXPECT_EQ(meter.Run(2.5).sentence,
            "No new data for 2 s. The window is too narrow for the whole reading.");
  meter.ticking = true;
  meter.cut = false;
  meter.Run(2);
  EXPECT_EQ(meter.lines.size(), 3U);
}

}  // namespace
}  // namespace vantoscope
