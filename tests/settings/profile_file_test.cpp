#include "settings/profile_file.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <string>

#include "settings/settings_table.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

namespace fs = std::filesystem;
using test::FileBytes;
using test::ScratchFolder;
using test::WriteBytes;

constexpr const char* kIni = "Vantoscope.ini";

/// What the disk still takes.
void LimitFileSize(rlim_t bytes) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(bytes, limit.rlim_max);
  setrlimit(RLIMIT_FSIZE, &limit);
}

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

TEST(ProfileFile, KeepsThePermissionsAndAFileThatNeedsNoWrite) {
  const ScratchFolder scratch;
  ProfileFile profile(scratch.Path());
  WriteBytes(scratch / "Vantoscope.ini.new", "[Tank3]\nMa");  // left by a killed writer
  WriteBytes(scratch / "Vantoscope.ini.lock", "");
  for (const mode_t mode : {0600U, 0666U, 0640U}) {
    WriteBytes(scratch / kIni, "[Tank3]\nMath = 1 \n");
    ASSERT_EQ(chmod((scratch / kIni).c_str(), mode), 0);
    ino_t written = 0;
    for (const char* section : {"Tank3", "TANK3"}) {
      profile.WritePrivateProfileString(section, "Math", std::to_string(mode), kIni);
      struct stat status {};
      ASSERT_EQ(stat((scratch / kIni).c_str(), &status), 0);
      EXPECT_EQ(status.st_mode & 07777U, mode);
      EXPECT_TRUE(written == 0 || status.st_ino == written);
      written = status.st_ino;
    }
    EXPECT_EQ(FileBytes(scratch / kIni), "[Tank3]\nMath = " + std::to_string(mode) + " \n");
    EXPECT_FALSE(fs::exists(scratch / "Vantoscope.ini.new"));
  }
}

TEST(ProfileFile, LargeFilesWithLongLines) {
  const ScratchFolder scratch;
  std::string foreign;
  while (foreign.size() < 10'000'000) {
    foreign += "[S" + std::to_string(foreign.size()) + "]\r\nkey=" + std::string(100'000, 'x') +
               "\xFF\r\n";
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
  const char* reason;  ///< part of the line on standard error
  std::function<void(const fs::path& ini)> prepare;
};

const Refusal kRefusals[] = {
    {"Not a directory",
     [](const fs::path& ini) {
       fs::remove_all(ini.parent_path());
       WriteBytes(ini.parent_path(), "not a folder");
     }},
    {"Is a directory",
     [](const fs::path& ini) {
       fs::remove(ini);
       fs::create_directories(ini / "x");
     }},
    {"Invalid argument",
     [](const fs::path& ini) {
       fs::remove(ini);
       mkfifo(ini.c_str(), 0600);
     }},
    {"Too many levels of symbolic links",
     [](const fs::path& ini) {
       fs::remove(ini);
       fs::create_symlink("Vantoscope.ini", ini);
     }},
    // No lock, and no new file in the folder.
    {"Is a directory", [](const fs::path& ini) { fs::create_directory(ini.string() + ".lock"); }},
    {"Is a directory",
     [](const fs::path& ini) { fs::create_directories(ini.string() + ".new/x"); }},
    {"another program holds",
     [](const fs::path& ini) {
       // Kept open until the test program ends.
       static int held = open((ini.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
       flock(held, LOCK_EX);
     }},
    {"File too large", [](const fs::path&) { LimitFileSize(50'000); }},  // a full disk
    {"File too large", [](const fs::path& ini) { fs::resize_file(ini, std::size_t{65} << 20U); }},
};

TEST(ProfileFile, ARefusalIsOneLineAndLosesNothing) {
  std::signal(SIGXFSZ, SIG_IGN);
  const std::string original = "; mine\n[Tank3]\nMath=1\n" + std::string(100'000, 'x');
  for (const Refusal& refusal : kRefusals) {
    SCOPED_TRACE(refusal.reason);
    const ScratchFolder scratch;
    const std::string ini = scratch / "folder/Vantoscope.ini";
    fs::create_directory(scratch / "folder");
    WriteBytes(ini, original);
    refusal.prepare(ini);
    std::error_code ignored;
    const bool regular = fs::is_regular_file(ini, ignored);
    const std::size_t size = regular ? fs::file_size(ini) : 0;

    ProfileFile profile(scratch / "folder", std::chrono::milliseconds(30));
    ::testing::internal::CaptureStderr();
    for (const SettingsEntry& entry : kSettingsTable) {
      profile.WritePrivateProfileString("Tank3", entry.name, "2", kIni);
    }
    const std::string said = ::testing::internal::GetCapturedStderr();
    LimitFileSize(RLIM_INFINITY);

    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_NE(said.find(ini + ": "), std::string::npos) << said;
    EXPECT_NE(said.find(refusal.reason), std::string::npos) << said;
    EXPECT_EQ(regular ? fs::file_size(ini) : 0, size);
    EXPECT_TRUE(size != original.size() || FileBytes(ini) == original);
    EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "default", kIni),
              size == original.size() ? "1" : "default");
    EXPECT_FALSE(fs::is_regular_file(ini + ".new"));
  }
}

}  // namespace
}  // namespace vantoscope
