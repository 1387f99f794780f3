#include "platform/profile_file.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <string>

#include "settings/settings_file.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

namespace fs = std::filesystem;
using test::FileBytes;
using test::ScratchFolder;
using test::WriteBytes;

constexpr const char* kIni = "Vantoscope.ini";

TEST(ProfileFile, WritesAndReadsBack) {
  const ScratchFolder scratch;
  ProfileFile profile(scratch / "made/for/it");
  EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "#0", kIni), "#0");
  profile.WritePrivateProfileString("Tank3", "Math", "", kIni);
  profile.WritePrivateProfileString("Tank3", "MathUnit", std::string(300, 'u'), kIni);
  EXPECT_EQ(profile.GetPrivateProfileString("tank3", "math", "#0", kIni), "");
  EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "MathUnit", "", kIni), std::string(254, 'u'));
  EXPECT_EQ(FileBytes(scratch / "made/for/it/Vantoscope.ini"),
            "[Tank3]\nMath=\nMathUnit=" + std::string(300, 'u') + "\n");
}

TEST(ProfileFile, ABareNameLeadsToTheConfigurationFolder) {
  const ScratchFolder scratch;
  const std::string xdg = scratch / "xdg";
  const std::string home = scratch / "home";
  const auto written_with = [](const char* xdg_value, const std::string& home_value) {
    setenv("XDG_CONFIG_HOME", xdg_value, 1);
    setenv("HOME", home_value.c_str(), 1);
    ProfileFile().WritePrivateProfileString("1", "Math", "#0", kIni);
  };
  written_with(xdg.c_str(), home);
  EXPECT_TRUE(fs::exists(xdg + "/vantoscope/Vantoscope.ini"));
  EXPECT_FALSE(fs::exists(home));
  written_with("not/absolute", home);
  EXPECT_TRUE(fs::exists(home + "/.config/vantoscope/Vantoscope.ini"));
  EXPECT_FALSE(fs::exists("not"));
}

TEST(ProfileFile, ASymbolicLinkStaysOne) {
  const ScratchFolder scratch;
  fs::create_directory(scratch / "dotfiles");
  fs::create_symlink("dotfiles/second", scratch / kIni);
  fs::create_symlink("real.ini", scratch / "dotfiles/second");  // leads to nothing yet
  ProfileFile profile(scratch.Path());
  for (const char* value : {"1", "2"}) {
    profile.WritePrivateProfileString("Tank3", "Math", value, kIni);
    EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "", kIni), value);
  }
  EXPECT_TRUE(fs::is_symlink(scratch / kIni));
  EXPECT_TRUE(fs::is_symlink(scratch / "dotfiles/second"));
  EXPECT_EQ(FileBytes(scratch / "dotfiles/real.ini"), "[Tank3]\nMath=2\n");
}

TEST(ProfileFile, KeepsThePermissions) {
  const ScratchFolder scratch;
  ProfileFile profile(scratch.Path());
  for (const mode_t mode : {0600U, 0666U, 0640U}) {
    WriteBytes(scratch / kIni, "[Tank3]\nMath=1\n");
    ASSERT_EQ(chmod((scratch / kIni).c_str(), mode), 0);
    profile.WritePrivateProfileString("Tank3", "Math", std::to_string(mode), kIni);
    struct stat status {};
    ASSERT_EQ(stat((scratch / kIni).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, mode);
  }
}

TEST(ProfileFile, AValueThatIsThereIsNotWrittenAgain) {
  const ScratchFolder scratch;
  WriteBytes(scratch / kIni, "[Tank3]\nMath = #0 \n");
  struct stat before {};
  struct stat after {};
  ASSERT_EQ(stat((scratch / kIni).c_str(), &before), 0);
  ProfileFile(scratch.Path()).WritePrivateProfileString("TANK3", "Math", "#0", kIni);
  ASSERT_EQ(stat((scratch / kIni).c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST(ProfileFile, ReplacesWhatAKilledWriterLeft) {
  const ScratchFolder scratch;
  WriteBytes(scratch / "Vantoscope.ini.new", "[Tank3]\nMa");
  WriteBytes(scratch / "Vantoscope.ini.lock", "");
  ProfileFile(scratch.Path()).WritePrivateProfileString("Tank3", "Math", "1", kIni);
  EXPECT_EQ(FileBytes(scratch / kIni), "[Tank3]\nMath=1\n");
  EXPECT_FALSE(fs::exists(scratch / "Vantoscope.ini.new"));
}

TEST(ProfileFile, LargeFilesWithLongLines) {
  const ScratchFolder scratch;
  std::string foreign;
  while (foreign.size() < 10'000'000) {
    foreign += "[S" + std::to_string(foreign.size()) + "]\r\nkey=" + std::string(100'000, 'x') +
               std::string(1, '\0') + "\xFF\r\n";
  }
  WriteBytes(scratch / kIni, foreign + "[Tank3]\r\nMath=1\r\n");
  ProfileFile profile(scratch.Path());
  EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "", kIni), "1");
  EXPECT_EQ(profile.GetPrivateProfileString("S0", "key", "", kIni), std::string(254, 'x'));
  profile.WritePrivateProfileString("Tank3", "Math", "2", kIni);
  EXPECT_TRUE(FileBytes(scratch / kIni) == foreign + "[Tank3]\r\nMath=2\r\n");
}

/// One way in which a file cannot be written. What is made by `prepare` must still be there.
struct Refusal {
  const char* name;
  std::function<void(const ScratchFolder&)> prepare;
  const char* reason;  ///< part of the line on standard error
};

class ProfileFileRefused : public ::testing::TestWithParam<Refusal> {};

TEST_P(ProfileFileRefused, IsOneLineAndLosesNothing) {
  const ScratchFolder scratch;
  const std::string original = "; mine\n[Tank3]\nMath=1\n" + std::string(100'000, 'x');
  if (std::string_view(GetParam().name) != "parent_is_a_file") {
    fs::create_directory(scratch / "folder");
    WriteBytes(scratch / "folder/Vantoscope.ini", original);
  }
  GetParam().prepare(scratch);
  std::error_code ignored;
  const bool regular = fs::is_regular_file(scratch / "folder/Vantoscope.ini", ignored);
  const std::size_t size = regular ? fs::file_size(scratch / "folder/Vantoscope.ini") : 0;

  ProfileFile profile(scratch / "folder", std::chrono::milliseconds(30));
  ::testing::internal::CaptureStderr();
  for (const SettingsEntry& entry : kSettingsTable) {
    profile.WritePrivateProfileString("Tank3", entry.name, "2", kIni);
  }
  const std::string said = ::testing::internal::GetCapturedStderr();
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_FSIZE, &limit);

  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  EXPECT_NE(said.find(scratch / "folder/Vantoscope.ini: "), std::string::npos) << said;
  EXPECT_NE(said.find(GetParam().reason), std::string::npos) << said;
  if (regular) {
    EXPECT_EQ(fs::file_size(scratch / "folder/Vantoscope.ini"), size);
    if (size == original.size()) {
      EXPECT_TRUE(FileBytes(scratch / "folder/Vantoscope.ini") == original);
      EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "", kIni), "1");
    }
  } else {
    EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "default", kIni), "default");
  }
  EXPECT_FALSE(fs::is_regular_file(scratch / "folder/Vantoscope.ini.new"));
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, ProfileFileRefused,
    ::testing::Values(
        Refusal{"parent_is_a_file",
                [](const ScratchFolder& s) { WriteBytes(s / "folder", "not a folder"); },
                "Not a directory"},
        Refusal{"is_a_directory",
                [](const ScratchFolder& s) {
                  fs::remove(s / "folder/Vantoscope.ini");
                  fs::create_directories(s / "folder/Vantoscope.ini/x");
                },
                "Is a directory"},
        Refusal{"is_a_pipe",
                [](const ScratchFolder& s) {
                  fs::remove(s / "folder/Vantoscope.ini");
                  mkfifo((s / "folder/Vantoscope.ini").c_str(), 0600);
                },
                "Invalid argument"},
        Refusal{"links_in_a_circle",
                [](const ScratchFolder& s) {
                  fs::remove(s / "folder/Vantoscope.ini");
                  fs::create_symlink("Vantoscope.ini", s / "folder/Vantoscope.ini");
                },
                "Too many levels of symbolic links"},
        Refusal{
            "lock_is_a_directory",
            [](const ScratchFolder& s) { fs::create_directory(s / "folder/Vantoscope.ini.lock"); },
            "Is a directory"},
        Refusal{"lock_is_held",
                [](const ScratchFolder& s) {
                  // Kept open until the test program ends.
                  static int held = open((s / "folder/Vantoscope.ini.lock").c_str(),
                                         O_RDWR | O_CREAT | O_CLOEXEC, 0600);
                  flock(held, LOCK_EX);
                },
                "another program holds"},
        Refusal{"no_new_file_in_the_folder",
                [](const ScratchFolder& s) {
                  fs::create_directories(s / "folder/Vantoscope.ini.new/x");
                },
                "Is a directory"},
        Refusal{"disk_is_full",
                [](const ScratchFolder&) {
                  std::signal(SIGXFSZ, SIG_IGN);
                  rlimit limit{};
                  getrlimit(RLIMIT_FSIZE, &limit);
                  limit.rlim_cur = 50'000;
                  setrlimit(RLIMIT_FSIZE, &limit);
                },
                "File too large"},
        Refusal{"larger_than_any_settings_file",
                [](const ScratchFolder& s) {
                  fs::resize_file(s / "folder/Vantoscope.ini", std::size_t{65} << 20U);
                },
                "File too large"}),
    [](const auto& refusal) { return std::string(refusal.param.name); });

}  // namespace
}  // namespace vantoscope
