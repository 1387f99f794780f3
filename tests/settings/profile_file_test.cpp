#include "settings/profile_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <csignal>

#include "tests/support/scratch_folder.h"

namespace vantoscope::test {

namespace fs = std::filesystem;

constexpr const char* kIni = "Vantoscope.ini";

void SetMath(ProfileFile& profile, const std::string& value, const char* section = "Tank3") {
  profile.WritePrivateProfileString(section, "Math", value, kIni);
}
std::string Math(ProfileFile& profile) {
  return profile.GetPrivateProfileString("tank3", "math", "#0", kIni);
}

TEST(ProfileFileTest, WritesAndReadsBack) {
  const ScratchFolder scratch;
  ProfileFile profile(scratch / "made/for/it");
  EXPECT_EQ(Math(profile), "#0");
  SetMath(profile, "");
  EXPECT_EQ(Math(profile), "");
  SetMath(profile, std::string(300, 'u'));
  EXPECT_EQ(Math(profile), std::string(254, 'u'));
  EXPECT_EQ(FileBytes(scratch / "made/for/it/Vantoscope.ini"),
            "[Tank3]\nMath=" + std::string(300, 'u') + "\n");
}

TEST(ProfileFileTest, ABareNameLeadsToTheConfigurationFolder) {
  const ScratchFolder scratch;
  setenv("HOME", (scratch / "home").c_str(), 1);
  for (const auto& [xdg, file] :
       {std::pair(scratch / "xdg", scratch / "xdg/vantoscope/Vantoscope.ini"),
        {"not/absolute", scratch / "home/.config/vantoscope/Vantoscope.ini"}}) {
    setenv("XDG_CONFIG_HOME", xdg.c_str(), 1);
    EXPECT_FALSE(fs::exists(file));
    ProfileFile profile;
    SetMath(profile, "1");
    EXPECT_TRUE(fs::exists(file));
  }
}

TEST(ProfileFileTest, ASymbolicLinkStaysOne) {
  const ScratchFolder scratch;
  fs::create_directory(scratch / "dotfiles");
  fs::create_symlink("dotfiles/second", scratch / kIni);
  fs::create_symlink("real.ini", scratch / "dotfiles/second");  // leads to nothing yet
  ProfileFile profile(scratch.Path());
  for (const char* value : {"1", "2"}) {
    SetMath(profile, value);
    EXPECT_EQ(Math(profile), value);
  }
  EXPECT_TRUE(fs::is_symlink(scratch / kIni));
  EXPECT_TRUE(fs::is_symlink(scratch / "dotfiles/second"));
  EXPECT_EQ(FileBytes(scratch / "dotfiles/real.ini"), "[Tank3]\nMath=2\n");
}

TEST(ProfileFileTest, KeepsThePermissionsAndAFileThatNeedsNoWrite) {
  const ScratchFolder scratch;
  ProfileFile profile(scratch.Path());
  const std::string ini = scratch / kIni;
  const std::string foreign = "[B]\nkey=" + std::string(10'000'000, '\xFF');
  WriteBytes(ini + ".new", "[Tank3]\nMa");  // left by a killed writer
  for (const mode_t mode : {0600U, 0666U, 0640U}) {
    WriteBytes(ini, "[Tank3]\nMath = 1 \n" + foreign);
    chmod(ini.c_str(), mode);
    struct stat first = {}, second = {};
    SetMath(profile, std::to_string(mode));
    stat(ini.c_str(), &first);
    SetMath(profile, std::to_string(mode), "TANK3");
    stat(ini.c_str(), &second);
    EXPECT_EQ(first.st_mode & 07777U, mode);
    EXPECT_EQ(first.st_ino, second.st_ino);
    EXPECT_TRUE(FileBytes(ini) == "[Tank3]\nMath = " + std::to_string(mode) + " \n" + foreign);
    EXPECT_FALSE(fs::exists(ini + ".new"));
  }
}

TEST(ProfileFileTest, ARefusalIsOneLineAndLosesNothing) {
  // Part of the line on standard error, and what happens to the file $F, in its folder. In the end
  // the disk is full.
  const std::pair<std::string, std::string> rows[] = {
      {"Not a directory", "rm -r ../folder; echo not a folder > ../folder"},
      {"Is a directory", "rm $F; mkdir -p $F/x"},
      {"Invalid argument", "rm $F; mkfifo $F"},
      {"Too many levels of symbolic links", "rm $F; ln -s $F $F"},
      {"Is a directory", "mkdir $F.lock"},
      {"Is a directory", "mkdir -p $F.new/x"},
      {"File too large", "truncate -s 65M $F"},
      {"another program holds", "touch $F.lock"},
      {"File too large", "prlimit --pid $PPID --fsize=50000:"}};
  std::signal(SIGXFSZ, SIG_IGN);
  const std::string original = "; mine\n[Tank3]\nMath=1\n" + std::string(100'000, 'x');
  for (const auto& [reason, command] : rows) {
    SCOPED_TRACE(command);
    const ScratchFolder scratch;
    const std::string ini = scratch / "folder/Vantoscope.ini";
    fs::create_directory(scratch / "folder");
    WriteBytes(ini, original);
    const std::string there = "F=Vantoscope.ini; cd " + scratch / "folder" + " && " + command;
    ASSERT_EQ(std::system(there.c_str()), 0);
    std::error_code none;
    const auto bytes = [&] {
      return fs::is_regular_file(ini, none) ? FileBytes(ini) : std::string();
    };
    const std::string before = bytes();
    const int lock = open((ini + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    flock(lock, LOCK_EX);
    ProfileFile profile(scratch / "folder", std::chrono::milliseconds(30));
    testing::internal::CaptureStderr();
    for (const char* value : {"2", "3"}) SetMath(profile, value);
    const std::string said = testing::internal::GetCapturedStderr();
    ASSERT_EQ(std::system("prlimit --pid $PPID --fsize=unlimited:"), 0);
    close(lock);
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_NE(said.find(ini + ": "), std::string::npos) << said;
    EXPECT_NE(said.find(reason), std::string::npos) << said;
    EXPECT_TRUE(bytes() == before);
    EXPECT_EQ(Math(profile), before == original ? "1" : "#0");
    EXPECT_FALSE(fs::is_regular_file(ini + ".new"));
  }
}

}  // namespace vantoscope::test
