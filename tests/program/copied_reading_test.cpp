// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/copied_reading.h"

#include <gtest/gtest.h>

namespace vantoscope {

TEST(CopiedReading, IsALineOfATable) {
  struct Row {
    ReadingParts parts;
    const char* line;
  };
  const Row rows[] = {
      {{"230,1", "V", "Mains Channel 4", "2026-07-01T12:00:00+02:00", ""},
       "230,1\tV\tMains Channel 4\t2026-07-01T12:00:00+02:00"},
      {{"230.1V", "V", "M", "t", ""}, "230.1\tV\tM\tt"},
      {{"-3.50 mm", " mm", "M", "t", ""}, "-3.50\tmm\tM\tt"},
      {{"12 ", "", "M", "t", ""}, "12\t\tM\tt"},
      {{"1\u00b5m", "\u00b5m", "a\tb\nc", "t", ""}, "1\t\u00b5m\ta b c\tt"},
      {{"7", "l", "M", "t", "No new data for 12 s."}, "7\tl\tM\tt\tNo new data for 12 s."},
  };
  for (const Row& row : rows) EXPECT_EQ(TableLine(row.parts), row.line);
}

}  // namespace vantoscope
