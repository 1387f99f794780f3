// SPDX-License-Identifier: GPL-3.0-or-later
// What an administrator may rely on: who may change the settings file, and what it may hold.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <tuple>

#include "settings/profile_file.h"
#include "settings/profile_text.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using namespace std::string_literals;
using namespace test;

constexpr const char* kIni = "Vantoscope.ini";
constexpr const char* kAccessList = "system.posix_acl_access";

/// What a process of that user says on standard error while it sets a key of the file.
std::string WriteAs(uid_t user, const std::string& folder) {
  ::testing::internal::CaptureStderr();
  const pid_t child = fork();
  if (child == 0) {
    if (user != geteuid() && (setgid(user) != 0 || setuid(user) != 0)) std::abort();
    ProfileFile(folder).WritePrivateProfileString("Tank3", "Math", "new", kIni);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  return ::testing::internal::GetCapturedStderr();
}

/// Owner, group, mode and the access list, where the file system has them.
std::tuple<uid_t, gid_t, mode_t, std::string> Access(const std::string& path) {
  struct stat now {};
  EXPECT_EQ(stat(path.c_str(), &now), 0);
  std::string list(100, '\0');
  list.resize(std::max(ssize_t{0}, getxattr(path.c_str(), kAccessList, list.data(), list.size())));
  return {now.st_uid, now.st_gid, now.st_mode, list};
}

TEST(ProfileRules, AFileIsReplacedOnlyByWhoMayAndKeepsWhoMay) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  // Version; rw for owner, user 12345, group and mask, nothing for others.
  const std::string list =
      "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\6\0\x39\x30\0\0\4\0\6\0\xff\xff\xff\xff"
      "\x10\0\6\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff"s;
  struct Row {
    uid_t writer, owner;
    gid_t group;
    mode_t mode;
    const char* refusal;  ///< part of the line; empty where the write goes through
  };
  const Row rows[] = {
      {500, 500, 500, 0444, "write-protected"},
      {0, 0, 0, 0444, "write-protected"},
      {500, 0, 0, 0644, "write-protected"},
      {500, 600, 500, 0664, "owner"},  // may write it, but not give it away
      {500, 500, 600, 0666, "owner"},
      {500, 500, 500, 0604, ""},
      {0, 500, 600, 0640, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const ScratchFolder scratch;
    const std::string ini = scratch / kIni;
    WriteBytes(ini, "[Tank3]\nMath=old\n");
    WriteBytes(ini + ".lock", "");  // of another user
    setxattr(ini.c_str(), kAccessList, list.data(), list.size(), 0);
    chmod(ini.c_str(), row.mode);
    std::ignore = chown(ini.c_str(), row.owner, row.group);
    std::ignore = chown(scratch.Path().c_str(), 500, 500);
    const auto before = Access(ini);
    const std::string said = WriteAs(row.writer, scratch.Path());
    const bool refused = *row.refusal != '\0';
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), refused ? 1 : 0) << said;
    EXPECT_NE(said.find(row.refusal), std::string::npos) << said;
    EXPECT_EQ(FileBytes(ini), refused ? "[Tank3]\nMath=old\n" : "[Tank3]\nMath=new\n");
    EXPECT_EQ(Access(ini), before);
    EXPECT_FALSE(std::filesystem::exists(ini + ".new"));
  }
}

TEST(ProfileRules, WideCharactersAreNeverMixedWithBytes) {
  for (const std::string& text : {"\xFF\xFE[Tank3]\nMath=1\n"s, "\xFE\xFF[Tank3]\nMath=1\n"s,
                                  "[\0a\0]\0\n\0[Tank3]\nMath=1\n"s, "[Tank3]\nMath=1\n\0"s}) {
    const ScratchFolder scratch;
    WriteBytes(scratch / kIni, text);
    ProfileFile profile(scratch.Path());
    EXPECT_EQ(profile.GetPrivateProfileString("Tank3", "Math", "#0", kIni), "#0");
    EXPECT_NE(WriteAs(geteuid(), scratch.Path()).find("UTF-16"), std::string::npos);
    EXPECT_EQ(FileBytes(scratch / kIni), text);
  }
  EXPECT_EQ(WithProfileValue("", "Tank3", "Math", "a\0b"s), "[Tank3]\nMath=a b\n");
}

TEST(ProfileRules, ASectionNameEndsWhereItsCommentBegins) {
  struct Row {
    std::string line, name;
    bool found;
  };
  const Row rows[] = {
      {"[G1] ; see [Other]", "G1", true}, {"[ G1 ]\t# [1] and ]", "g1", true},
      {"[G1];[Other]", "Other", false},   {"[A]B1]", "A]B1", true},
      {"[A]B1] ; of [A]", "A]B1", true},  {"[A] ;B1]", "A] ;B1", true},
  };
  for (const auto& [line, name, found] : rows) {
    EXPECT_EQ(WithProfileValue(line + "\nMath=old\n", name, "Math", "new"),
              line + (found ? "\nMath=new\n" : "\nMath=old\n[" + name + "]\nMath=new\n"));
  }
}

}  // namespace
}  // namespace vantoscope
