#include "groups/posix_process_start.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace vantoscope::test {
namespace {

namespace fs = std::filesystem;

/// A program of the test's own: writes its arguments, one a line, its session and its environment
/// into files.
class ProcessStartTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name = fs::temp_directory_path() / "vantoscope-start-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    const fs::path program = folder_ / "probe";
    std::ofstream(program) << "#!/bin/sh\n"
                           << "printf '%s\\n' \"$@\" > " << folder_ << "/args\n"
                           << "echo \"$VANTOSCOPE_NO_FOCUS $(ps -o sid= -p $$) $$ "
                           << "$(ps -o ppid= -p $$)\" > " << folder_ << "/state.new\n"
                           << "mv " << folder_ << "/state.new " << folder_ << "/state\n";
    fs::permissions(program, fs::perms::owner_all);
    setenv("PATH", (folder_.string() + ":" + std::string(getenv("PATH"))).c_str(), 1);
  }
  void TearDown() override { fs::remove_all(folder_); }

  static std::string Content(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }
  bool WaitFor(const fs::path& file) const {
    for (int i = 0; i < 500 && !fs::exists(folder_ / file); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return fs::exists(folder_ / file);
  }
  static int Children() {
    int count = 0;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
      std::istringstream pids(Content(task.path() / "children"));
      for (int pid = 0; pids >> pid;) ++count;
    }
    return count;
  }

  fs::path folder_;
};

TEST_F(ProcessStartTest, HandsOverWordsWithoutAShellAndLeavesNoChild) {
  PosixProcessStart processes;
  const int before = Children();
  processes.Start("probe.exe -d$(touch_x);`id`&|>*'\"\\ -nA_B  -i1", kShowNoActivate);
  ASSERT_TRUE(WaitFor("state"));
  EXPECT_EQ(Content(folder_ / "args"), "-d$(touch_x);`id`&|>*'\"\\\n-nA_B\n\n-i1\n");
  EXPECT_EQ(Children(), before);

  std::istringstream state(Content(folder_ / "state"));
  std::string no_focus;
  int session = 0;
  int own = 0;
  int parent = 0;
  state >> no_focus >> session >> own >> parent;
  EXPECT_EQ(no_focus, "1");
  EXPECT_NE(session, getsid(0));
  EXPECT_NE(parent, getpid());
}

TEST_F(ProcessStartTest, FailureIsOneLineOnStandardError) {
  PosixProcessStart processes;
  ::testing::internal::CaptureStderr();
  processes.Start("no-such-program.exe -dX", kShowNoActivate);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "vantoscope: cannot start \"no-such-program.exe -dX\": No such file or directory\n");
}

}  // namespace
}  // namespace vantoscope::test
