// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <unistd.h>

#include "groups/launch_mailbox.h"
#include "groups/launch_tally.h"
#include "groups/section_claim.h"

namespace vantoscope::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

LaunchTally Group(int last) {
  LaunchTally tally;
  for (int index = 1; index <= last; ++index) tally.Launched(index, 100 + 0.01 * index);
  return tally;
}

TEST(LaunchTally, TellsOnceWhenAllHaveReportedOrTimeIsUp) {
  LaunchTally tally = Group(9);
  for (const int index : {3, 7, 8}) tally.Started(index);
  EXPECT_EQ(tally.Tell(150), std::nullopt);  // being slow is no failure
  tally.Failed(2, "No file.");
  tally.Failed(2, "Something else.");  // the first word stands
  tally.Failed(77, "Nobody launched this one.");
  EXPECT_EQ(tally.Tell(109), std::nullopt);
  EXPECT_EQ(*tally.Tell(109.02),
            "1 of the 9 further meters of this group did not start.\n\nIndex 2: No file.");
  EXPECT_EQ(tally.Tell(200), std::nullopt);
  for (const int index : {1, 4, 5, 6, 9}) tally.Failed(index, "No file.");
  EXPECT_THAT(*tally.Tell(101), EndsWith("\n\nIndices 1, 2, 4 to 6 and 9: No file."));
}

TEST(LaunchTally, SaysASentenceOnceAndShortensLongLists) {
  LaunchTally all = Group(63);
  for (int index = 1; index <= 63; ++index) all.Failed(index, "No file.");
  const std::string same = "has started.\n\nIndices 1 to 63: No file.";
  EXPECT_EQ(*all.Tell(101), "None of the 63 further meters of this group " + same);
  LaunchTally mixed = Group(60);
  for (int index = 1; index <= 60; ++index) {
    mixed.Failed(index, index % 2 == 0 ? "Even." : "No " + std::to_string(index / 5) + ".");
  }
  const std::string text = *mixed.Tell(101);
  EXPECT_THAT(text, HasSubstr("\n\nIndices 2, 4, 6, 8, 10, 12, 14, 16 and 22 more: Even.\n\n"));
  EXPECT_THAT(text, EndsWith("Indices 31 and 33: No 6.\n\n13 more; standard error has them all."));
}

TEST(LaunchMailbox, TakesWhatItsMetersSayAndTellsWhenItIsFull) {
  LaunchMailbox mailbox;
  const auto tell = [&](const LaunchWord& word) { return TellMailbox(mailbox.Name(), word, {}); };
  EXPECT_TRUE(tell({3, {}}));
  EXPECT_TRUE(tell({12, "Not: so\nor \x1B"}));
  EXPECT_THAT(mailbox.Take(),
              ::testing::ElementsAre(LaunchWord{3, {}}, LaunchWord{12, "Not: so or  "}));
  EXPECT_TRUE(TellMailbox(mailbox.Name() + "x", {3, {}}, {})) << "a launcher that is gone";
  std::size_t told = 0;
  while (told < 100'000 && tell({3, {}})) ++told;
  EXPECT_EQ(mailbox.Take().size(), told);
}

TEST(SectionClaim, IsSharedByEveryWayToWriteTheSameSection) {
  const std::string file = "/nowhere/" + std::to_string(getpid()) + "/a.ini";
  std::optional<SectionClaim> first(std::in_place, file, "Tank11");
  EXPECT_FALSE(SectionClaim(file, "Tank1").IsShared() || SectionClaim("a", "Tank11").IsShared());
  EXPECT_TRUE(SectionClaim("/nowhere/./" + file.substr(9), " tANK11").IsShared());
  first.reset();
  EXPECT_FALSE(SectionClaim(file, "Tank11").IsShared());
}

}  // namespace
}  // namespace vantoscope::test
