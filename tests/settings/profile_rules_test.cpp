// What an administrator may rely on: who may change the settings file, what stays of it, and what
// it may hold.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>

#include "settings/profile_file.h"
#include "tests/support/scratch_folder.h"

namespace vantoscope {
namespace {

using test::FileBytes;
using test::ScratchFolder;
using test::WriteBytes;
using namespace std::string_literals;

constexpr uid_t kUser = 65534;
constexpr uid_t kOther = 12345;
constexpr const char* kBefore = "[Tank3]\nMath=old\n";
constexpr const char* kAfter = "[Tank3]\nMath=new\n";

/// What a process of that user says on standard error while it sets a key of the file.
std::string WriteAs(uid_t user, const std::string& folder) {
  ::testing::internal::CaptureStderr();
  const pid_t child = fork();
  if (child == 0) {
    if (user != 0 && (setresgid(user, user, user) != 0 || setresuid(user, user, user) != 0))
      abort();
    ProfileFile(folder).WritePrivateProfileString("Tank3", "Math", "new", "Vantoscope.ini");
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return ::testing::internal::GetCapturedStderr();
}

TEST(ProfileRules, AFileIsReplacedOnlyByWhoMayAndKeepsItsOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, who can become another user";
  struct Row {
    uid_t writer, owner;
    gid_t group;
    mode_t mode;
    const char* refusal;  ///< part of the line; empty where the write goes through
  };
  const Row rows[] = {
      {kUser, kUser, kUser, 0444, "write-protected"},
      {0, 0, 0, 0444, "write-protected"},
      {kUser, 0, 0, 0644, "write-protected"},
      {kUser, kOther, kUser, 0664, "owner"},  // may write it, but not give it away
      {kUser, kUser, kOther, 0666, "owner"},
      {kUser, kUser, kUser, 0604, ""},
      {0, kUser, kOther, 0640, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.refusal + " "s + std::to_string(&row - rows));
    const ScratchFolder scratch;
    const std::string ini = scratch / "Vantoscope.ini";
    WriteBytes(ini, kBefore);
    WriteBytes(ini + ".lock", "");  // of another user
    ASSERT_EQ(chmod(ini.c_str(), row.mode), 0);
    ASSERT_EQ(chown(ini.c_str(), row.owner, row.group), 0);
    ASSERT_EQ(chown(scratch.Path().c_str(), kUser, kUser), 0);

    const std::string said = WriteAs(row.writer, scratch.Path());
    const bool refused = *row.refusal != '\0';
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), refused ? 1 : 0) << said;
    EXPECT_NE(said.find(row.refusal), std::string::npos) << said;
    EXPECT_EQ(FileBytes(ini), refused ? kBefore : kAfter);
    struct stat now {};
    ASSERT_EQ(stat(ini.c_str(), &now), 0);
    EXPECT_EQ(std::tuple(now.st_uid, now.st_gid, now.st_mode & 07777U),
              std::tuple(row.owner, row.group, row.mode));
    EXPECT_FALSE(std::filesystem::exists(ini + ".new"));
  }
}

// Its group's bits in the mode are those of the mask: without the list the group could read.
TEST(ProfileRules, TheAccessListStays) {
  const ScratchFolder scratch;
  const std::string ini = scratch / "Vantoscope.ini";
  WriteBytes(ini, kBefore);
  const std::string list =
      "\2\0\0\0"                      // version
      "\1\0\6\0\xff\xff\xff\xff"      // owner rw
      "\2\0\6\0\x39\x30\0\0"          // user 12345 rw
      "\4\0\0\0\xff\xff\xff\xff"      // group -
      "\x10\0\6\0\xff\xff\xff\xff"    // mask rw
      "\x20\0\0\0\xff\xff\xff\xff"s;  // others -
  constexpr const char* kName = "system.posix_acl_access";
  if (setxattr(ini.c_str(), kName, list.data(), list.size(), 0) != 0) {
    GTEST_SKIP() << "no access lists here";
  }
  EXPECT_EQ(WriteAs(geteuid(), scratch.Path()), "");
  EXPECT_EQ(FileBytes(ini), kAfter);
  std::string now(100, '\0');
  now.resize(static_cast<std::size_t>(
      std::max<ssize_t>(0, getxattr(ini.c_str(), kName, now.data(), now.size()))));
  EXPECT_EQ(now, list);
}

}  // namespace
}  // namespace vantoscope
