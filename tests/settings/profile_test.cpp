// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <csignal>
#include <stdexcept>

#include "settings/profile_file.h"
#include "settings/profile_text.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope::test {

using namespace std::string_literals;

TEST(ProfileTextTest, FindsTheFirstKeyOfTheSection) {
  // What stands for key Math in section Tank3.
  const std::pair<std::string, std::optional<std::string>> rows[] = {
      {"[Tank3]\nMath=#0", "#0"},
      {"[Tank3]\r\nMath=#0\r\n", "#0"},
      {"[Tank3]\nMath=#0\r\r\r\n", "#0\r\r"},
      {"\xEF\xBB\xBF[tANK3]\nMATH=#0\n", "#0"},
      {" [ Tank3\t]\n\tMath = #0 \t\n", "#0"},
      {"[Tank3]\nMath=\"a=b\" ; x\n", "\"a=b\" ; x"},
      {"[Tank3]\nMath=\nCaption=x\n", ""},
      {"[Tank3]\nMath=  \r\n", ""},
      {"[Tank3]\nMath=a\0\xFF\xC3\n"s, "a\0\xFF\xC3"s},
      {"[Tank3]\nMath=1\nMath=2\n[B]\n[Tank3]\nMath=3\n", "1"},
      {"[Tank3]\nx=1\n[B]\nMath=3\n[tank3]\nMath=2\n", "2"},
      {"[Tank3]\n;Math=1\n# Math=2\nMath=3\n", "3"},
      {"[Tank3] ; main tank\nMath=1\n", "1"},
      {"[Tank33]\nMath=1\n[Tank]\nMath=2\n", std::nullopt},
      {"Math=1\n[Tank3]\n[B]\nMath=1\n", std::nullopt},
      {"[Tank3]\nMath\nMathUnit=1\n", std::nullopt},
      {"[Tank3\nMath=1\n", std::nullopt},
      {"", std::nullopt}};
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(FindProfileValue(text, "Tank3", "Math"), value) << text;
    EXPECT_EQ(FindProfileValue(SectionOf(text, "Tank3"), "Tank3", "Math"), value) << text;
  }
}

TEST(ProfileTextTest, ChangesOneValueAndNothingElse) {
  // Key Math of section Tank3 becomes "new".
  const std::pair<std::string, std::string> rows[] = {
      {"", "[Tank3]\nMath=new\n"},
      {"; mine\n[Tank3]\nMath=old\nx=1", "; mine\n[Tank3]\nMath=new\nx=1"},
      {"[TANK3]\r\n math =  old \r\n", "[TANK3]\r\n math =  new \r\n"},
      {"[Tank3]\nMath=\r\nx=1\n", "[Tank3]\nMath=new\r\nx=1\n"},
      {"[Tank3]\nMath=1\nMath=2\n", "[Tank3]\nMath=new\nMath=2\n"},
      {"[Tank3]\nx=1\n[Tank3]\nMath=2\n", "[Tank3]\nx=1\n[Tank3]\nMath=new\n"},
      // A new key goes behind the last one of the first section of that name.
      {"[Tank3]\nx=1\n\n; of B\n[B]\nMath=1\n", "[Tank3]\nx=1\nMath=new\n\n; of B\n[B]\nMath=1\n"},
      {"[Tank3]\n[B]\n", "[Tank3]\nMath=new\n[B]\n"},
      {"[Tank3]\nx=1\n[Tank3]\ny=1\n", "[Tank3]\nx=1\nMath=new\n[Tank3]\ny=1\n"},
      {"; unix\n[Tank3]\r\nx=1\r\n", "; unix\n[Tank3]\r\nx=1\r\nMath=new\r\n"},
      {"[Tank3]\nx=1", "[Tank3]\nx=1\nMath=new\n"},
      {"[B]\r\n[Tank3]", "[B]\r\n[Tank3]\r\nMath=new\r\n"},
      {"[B]\nMath=1\n", "[B]\nMath=1\n[Tank3]\nMath=new\n"},
      {"\0\xFF[\n=\n[B\n]\r\r\n"s, "\0\xFF[\n=\n[B\n]\r\r\n[Tank3]\nMath=new\n"s}};
  for (const auto& [before, after] : rows) {
    EXPECT_EQ(WithProfileValue(before, "Tank3", "Math", "new"), after);
    EXPECT_EQ(WithProfileValue(after, "Tank3", "Math", " new\t"), std::nullopt);
  }
}

TEST(ProfileTextTest, NothingFromOutsideOpensALine) {
  EXPECT_EQ(WithProfileValue("", "A", "k", "1\n[B]\r\nk=2"), "[A]\nk=1 [B]  k=2\n");
  EXPECT_EQ(WithProfileValue("", "A]\n[B", "k", "1"), "[A] [B]\nk=1\n");
  for (const char* key : {"", " ", "a=b", "a\nb", "[a", ";a", "#a"})
    EXPECT_THROW(WithProfileValue("", "A", key, "1"), std::invalid_argument) << key;
}

// Names come from the command line of the meter.
TEST(ProfileTextTest, EverySectionNameIsFoundAgain) {
  for (const char* name :
       {"", "a]", "]", "[a]", "a] ; b]", " a ", ";a", "#a", "a=b", "\xFF", "\u00E4 1"}) {
    const auto text = WithProfileValue("[a]\nk=0\n[b]\nk=0\n", name, "x", "1").value();
    EXPECT_EQ(FindProfileValue(text, name, "x"), "1") << name;
    EXPECT_EQ(WithProfileValue(text, name, "x", "1"), std::nullopt) << name;
  }
}

TEST(ProfileTextTest, ALongValueIsCutBetweenCharacters) {
  const std::string a252(252, 'a');
  const std::pair<std::string, std::size_t> rows[] = {
      {a252 + "aa", 254},
      {a252 + "aaa", 254},
      {a252 + "\u00E4", 254},
      {a252 + "a\u00E4", 253},
      {a252 + "\u20AC", 252},
      {a252 + "a\U0001F600", 253},
      {a252.substr(1) + "\U0001F600", 251},
      {std::string(300, '\x80'), 254},
      {a252.substr(2) + "\xF6\x80\x80\x80\x80\x80", 254}};  // no UTF-8
  for (const auto& [value, length] : rows)
    EXPECT_EQ(CutToBytes(value, kProfileValueLimit).size(), length) << value;
}

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
