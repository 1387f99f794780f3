// A whole group of meters that end at the same moment: real processes on one file.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/profile_file.h"
#include "settings/settings_file.h"
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

using Values = std::map<std::pair<int, std::size_t>, std::string>;

/// The file of the meters that have saved before, between lines of all kinds that are not ours.
std::string Render(const Values& values) {
  std::string text = "\xEF\xBB\xBF; settings of the bench\r\n\r\nstray line\n";
  for (int meter = 0; meter < kMeters; ++meter) {
    if (!StoodBefore(meter)) continue;
    text += "[Foreign " + std::to_string(meter) + "]\r\nkey = caf\xE9\r\nkey=2\n\n# comment\r\n";
    text += "[" + SectionOf(meter) + "]\r\n";
    for (std::size_t key = 0; key < kSettingsKeys; ++key) {
      text += std::string(kSettingsTable.at(key).name) + " =\t" + values.at({meter, key}) + "\r\n";
      if (key == 11) text += "unknown key=1 \n;\n";
    }
  }
  return text + "[Foreign]\r\nlast=1\r\n";
}

Values Generation(int generation) {
  Values values;
  for (int meter = 0; meter < kMeters; ++meter) {
    for (std::size_t key = 0; key < kSettingsKeys; ++key) {
      if (StoodBefore(meter)) values[{meter, key}] = ValueOf(meter, key, generation);
    }
  }
  return values;
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
/// values, and all of them unless its meter was killed.
void CheckNewSections(const std::string& text, int generation, const std::set<int>& killed) {
  std::map<std::string, std::vector<std::string>> sections;
  std::vector<std::string>* section = nullptr;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    ASSERT_TRUE(line.ends_with('\r')) << line;
    line.pop_back();
    if (line.starts_with('[')) {
      ASSERT_FALSE(sections.contains(line)) << line;
      section = &sections[line];
    } else {
      ASSERT_NE(section, nullptr) << line;
      section->push_back(line);
    }
  }
  for (int meter = 0; meter < kMeters; ++meter) {
    if (StoodBefore(meter)) continue;
    const std::vector<std::string> found = sections["[" + SectionOf(meter) + "]"];
    ASSERT_TRUE(found.size() == kSettingsKeys || killed.contains(meter)) << SectionOf(meter);
    for (std::size_t key = 0; key < found.size(); ++key) {
      ASSERT_EQ(found[key],
                std::string(kSettingsTable.at(key).name) + "=" + ValueOf(meter, key, generation));
    }
  }
  EXPECT_EQ(sections.size(), static_cast<std::size_t>(kMeters / 2));  // no section of nobody
}

TEST(ProfileGroup, AllEndAtOnceAndNothingIsLost) {
  const ScratchFolder scratch;
  auto fastest = steady_clock::duration::max();
  for (int round = 1; round <= kRounds; ++round) {
    WriteBytes(scratch / kIni, Render(Generation(0)));
    const auto start = steady_clock::now();
    Group group(scratch.Path(), round);
    EXPECT_TRUE(group.Wait([] { usleep(500); }).empty());
    fastest = std::min(fastest, steady_clock::now() - start);

    const std::string text = FileBytes(scratch / kIni);
    const std::string expected = Render(Generation(round));
    ASSERT_TRUE(text.starts_with(expected)) << "round " << round;
    CheckNewSections(text.substr(expected.size()), round, {});
  }
  EXPECT_LT(fastest, kTimeLimit);  // the slowest tells what else the machine did
}

TEST(ProfileGroup, KilledMetersHarmNobody) {
  const ScratchFolder scratch;
  std::mt19937 random(20);
  std::size_t killed_in_time = 0;
  for (int round = 1; round <= kRounds; ++round) {
    WriteBytes(scratch / kIni, Render(Generation(0)));
    Group group(scratch.Path(), round);
    std::vector<int> victims(kMeters);
    std::iota(victims.begin(), victims.end(), 0);
    std::shuffle(victims.begin(), victims.end(), random);
    victims.resize(20);
    for (const int victim : victims) {
      usleep(static_cast<useconds_t>(random() % 3000));
      group.Kill(victim);
    }
    ProfileFile reader(scratch.Path());
    const std::set<int> killed = group.Wait([&reader] {
      // Whoever looks at any moment sees a whole file.
      EXPECT_EQ(reader.GetPrivateProfileString("Foreign", "last", "none", kIni), "1");
      usleep(500);
    });
    killed_in_time += killed.size();

    Values values = Generation(round);
    for (auto& [place, value] : values) {
      const auto& [meter, key] = place;
      const std::string found = reader.GetPrivateProfileString(
          SectionOf(meter), kSettingsTable.at(key).name, "none", kIni);
      if (killed.contains(meter) && found == ValueOf(meter, key, 0)) value = found;
    }
    ASSERT_TRUE(FileBytes(scratch / kIni).starts_with(Render(values))) << "round " << round;

    // A later writer is not blocked, and every meter has a section then.
    ProfileFile later(scratch.Path(), std::chrono::milliseconds(0));
    for (int meter = 0; meter < kMeters; ++meter) {
      later.WritePrivateProfileString(SectionOf(meter), kSettingsTable[0].name,
                                      ValueOf(meter, 0, round), kIni);
      if (StoodBefore(meter)) values[{meter, 0}] = ValueOf(meter, 0, round);
    }
    const std::string after = FileBytes(scratch / kIni);
    ASSERT_TRUE(after.starts_with(Render(values))) << "round " << round;
    CheckNewSections(after.substr(Render(values).size()), round, killed);
    EXPECT_FALSE(std::filesystem::exists(scratch / "Vantoscope.ini.new"));
  }
  EXPECT_GT(killed_in_time, static_cast<std::size_t>(5 * kRounds));
}

}  // namespace
}  // namespace vantoscope
