// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/spoken_changes.h"

#include <gtest/gtest.h>

namespace vantoscope {

// A tick every 250 ms; each letter is one: an alarm high or low, an old reading, or none of it.
std::string Spoken(const std::string& ticks) {
  SpokenChanges changes;
  std::string said;
  double now = 1000;
  for (const char tick : ticks) {
    const Alarm alarm = tick == 'H' ? Alarm::High : tick == 'L' ? Alarm::Low : Alarm::None;
    Verdict verdict{.state = ReadingState::Live, .cut = false, .sentence = ""};
    if (tick == 'o') verdict = {ReadingState::Old, false, "No new data for 3 s."};
    const std::string text = changes.Look(now, alarm, verdict, [] { return "20 m"; });
    said += text.empty() ? "." : "<" + text + ">";
    now += 0.25;
  }
  return said;
}

TEST(SpokenChanges, TellsOfTheWayIntoAnAlarmAndOutOfIt) {
  EXPECT_EQ(Spoken("......HHHHHH...L"),
            "......<High alarm: 20 m.>.....<The alarm is over: 20 m.>...");
  EXPECT_EQ(Spoken("......HHHHHHLLLLLLL"),
            "......<High alarm: 20 m.>.....<Low alarm: 20 m.>......");
}

TEST(SpokenChanges, TellsWhatIsSoOnceASecond) {
  EXPECT_EQ(Spoken("HHHHHHH"), "....<High alarm: 20 m.>..") << "not before the first second";
  EXPECT_EQ(Spoken(".......H.....H......."),
            ".......<High alarm: 20 m.>...<The alarm is over: 20 m.>..."
            "<High alarm for a moment, now over: 20 m.>.....");
  EXPECT_EQ(Spoken("......HLHL.HLHLH"),
            "......<High alarm: 20 m.>...<Low alarm for a moment, now over: 20 m.>..."
            "<Low alarm: 20 m.>.");
}

TEST(SpokenChanges, TellsOfEachDoubtBesideTheAlarm) {
  EXPECT_EQ(Spoken("......oooooo......"),
            "......<No new data for 3 s.>.....<The reading is live again.>.....");
  EXPECT_EQ(Spoken("......HHHHHHooooo"),
            "......<High alarm: 20 m.>.....<The alarm is over: 20 m. No new data for 3 s.>....");
}

}  // namespace vantoscope
