// A whole group of meters that end at the same moment: real processes on one file.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "settings/profile_file.h"
#include "settings/settings_table.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using std::chrono::steady_clock;
using test::FileBytes;
using test::ScratchFolder;
using test::WriteBytes;

constexpr int kMeters = 64;
#ifdef __SANITIZE_ADDRESS__
// The sanitizers look for other faults than many rounds do, and make the processes heavy.
constexpr int kRounds = 2;
constexpr std::chrono::seconds kTimeLimit(60);
#else
constexpr int kRounds = 10;
constexpr std::chrono::seconds kTimeLimit(5);
#endif
constexpr const char* kIni = "Vantoscope.ini";

std::string SectionOf(int meter) { return "Tank " + std::to_string(meter); }

/// What meter `meter` writes; generation 0 stands in the file before.
std::string ValueOf(int meter, std::size_t key, int generation) {
  return std::to_string(meter) + "/" + std::to_string(key) + "/" +
         std::string(static_cast<std::size_t>(generation), 'g');
}

/// Every second meter has saved before, the others find no section.
bool StoodBefore(int meter) { return meter % 2 == 0; }

/// The file of the meters that have saved before, between lines of all kinds that are not ours.
template <typename Value>
std::string Render(Value value) {
  std::string text = "\xEF\xBB\xBF; settings of the bench\r\n\r\nstray line\n";
  for (int meter = 0; meter < kMeters; ++meter) {
    if (!StoodBefore(meter)) continue;
    text += "[Foreign " + std::to_string(meter) + "]\r\nkey = caf\xE9\r\nkey=2\n\n# comment\r\n";
    text += "[" + SectionOf(meter) + "]\r\n";
    for (std::size_t key = 0; key < kSettingsKeys; ++key) {
      text += std::string(kSettingsTable.at(key).name) + " =\t" + value(meter, key) + "\r\n";
      if (key == 11) text += "unknown key=1 \n;\n";
    }
  }
  return text + "[Foreign]\r\nlast=1\r\n";
}

/// Meters that wait at a gate and then all save.
class Group {
 public:
  Group(const std::string& folder, int generation) {
    int gate[2];
    if (pipe(gate) != 0) std::abort();
    for (int meter = 0; meter < kMeters; ++meter) {
      const pid_t pid = fork();
      if (pid == 0) {
        close(gate[1]);
        char byte = 0;
        while (read(gate[0], &byte, 1) < 0) continue;
        ProfileFile profile(folder);
        for (std::size_t key = 0; key < kSettingsKeys; ++key) {
          profile.WritePrivateProfileString(SectionOf(meter), kSettingsTable.at(key).name,
                                            ValueOf(meter, key, generation), kIni);
        }
        _exit(0);
      }
      pids_.push_back(pid);
    }
    close(gate[0]);
    close(gate[1]);  // the last writing end: everybody goes
  }

  void Kill(int meter) { kill(pids_.at(static_cast<std::size_t>(meter)), SIGKILL); }

  /// Waits for all and calls `meanwhile` as it does. The meters that were killed before they had
  /// ended.
  template <typename Meanwhile>
  std::set<int> Wait(Meanwhile meanwhile) {
    std::set<int> killed;
    for (int meter = 0; meter < kMeters; ++meter) {
      int status = 0;
      while (waitpid(pids_.at(static_cast<std::size_t>(meter)), &status, WNOHANG) == 0) {
        meanwhile();
      }
      if (WIFSIGNALED(status)) killed.insert(meter);
    }
    return killed;
  }

 private:
  std::vector<pid_t> pids_;
};

/// Checks the sections that were new: each stands once, holds the keys in their order with whole
/// values, and all of them unless its meter was killed; and nothing else is there.
void CheckNewSections(const std::string& text, int generation, const std::set<int>& killed) {
  std::size_t length = 0;
  for (int meter = 0; meter < kMeters; ++meter) {
    if (StoodBefore(meter)) continue;
    std::string section = "[" + SectionOf(meter) + "]\r\n";
    for (std::size_t key = 0; key < kSettingsKeys; ++key) {
      const std::string more = section + std::string(kSettingsTable.at(key).name) + "=" +
                               ValueOf(meter, key, generation) + "\r\n";
      if (killed.contains(meter) && text.find(more) == std::string::npos) break;
      section = more;
    }
    ASSERT_NE(text.find(section), std::string::npos) << section;
    length += section.size();
  }
  EXPECT_EQ(length, text.size());
}

/// Round by round all save at once, and `victims` of them are killed at random moments of it.
void SaveAtOnce(std::size_t victims) {
  const ScratchFolder scratch;
  std::mt19937 random(20);
  std::size_t killed_in_time = 0;
  auto fastest = steady_clock::duration::max();
  std::vector<int> meters(kMeters);
  std::iota(meters.begin(), meters.end(), 0);
  for (int round = 1; round <= kRounds; ++round) {
    SCOPED_TRACE(round);
    WriteBytes(scratch / kIni,
               Render([](int meter, std::size_t key) { return ValueOf(meter, key, 0); }));
    const auto start = steady_clock::now();
    Group group(scratch.Path(), round);
    std::shuffle(meters.begin(), meters.end(), random);
    for (std::size_t victim = 0; victim < victims; ++victim) {
      usleep(static_cast<useconds_t>(random() % 3000));
      group.Kill(meters[victim]);
    }
    ProfileFile reader(scratch.Path());
    const std::set<int> killed = group.Wait([&reader] {
      // Whoever looks at any moment sees a whole file.
      EXPECT_EQ(reader.GetPrivateProfileString("Foreign", "last", "none", kIni), "1");
      usleep(500);
    });
    fastest = std::min(fastest, steady_clock::now() - start);
    killed_in_time += killed.size();

    // Of a killed meter the old value of a key may stand.
    const auto expected = [&](int meter, std::size_t key) {
      const std::string old = ValueOf(meter, key, 0);
      const bool stayed = killed.contains(meter) &&
                          reader.GetPrivateProfileString(
                              SectionOf(meter), kSettingsTable.at(key).name, "", kIni) == old;
      return stayed ? old : ValueOf(meter, key, round);
    };
    ASSERT_TRUE(FileBytes(scratch / kIni).starts_with(Render(expected)));

    // A later writer is not blocked, and every meter has a section then.
    ProfileFile later(scratch.Path(), std::chrono::milliseconds(0));
    for (const int meter : killed) {
      later.WritePrivateProfileString(SectionOf(meter), kSettingsTable[0].name,
                                      ValueOf(meter, 0, round), kIni);
    }
    const std::string after = FileBytes(scratch / kIni);
    ASSERT_TRUE(after.starts_with(Render(expected)));
    CheckNewSections(after.substr(Render(expected).size()), round, killed);
    EXPECT_FALSE(std::filesystem::exists(scratch / "Vantoscope.ini.new"));
  }
  EXPECT_GE(killed_in_time, victims / 4 * kRounds);
  EXPECT_LT(fastest, kTimeLimit);  // the slowest tells what else the machine did
}

TEST(ProfileGroup, AllEndAtOnceAndNothingIsLost) { SaveAtOnce(0); }

TEST(ProfileGroup, KilledMetersHarmNobody) { SaveAtOnce(20); }

}  // namespace
}  // namespace vantoscope
