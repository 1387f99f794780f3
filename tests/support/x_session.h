// A private X display for tests of finished programs: its own Xvfb, on request a window manager and
// an accessibility bus, real pointer and key events, and what a user could see of each window. It
// reads nothing of the user's, and ends all it started by process id.
#pragma once

#include <sys/types.h>
#include <xcb/xcb.h>

#include <QImage>
#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace vantoscope::test {

using Environment = std::map<std::string, std::string>;
using Milliseconds = std::chrono::milliseconds;

/// Asks `condition` every few milliseconds. False when it has not held within `limit`.
bool WaitFor(const std::function<bool()>& condition, Milliseconds limit = Milliseconds(10000));

/// A folder of its own below the system's temporary folder, removed at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// A child process with captured output. Killed at the end if it still runs, and also when the test
/// itself dies.
class Process {
 public:
  /// Starts `arguments[0]`, looked for on PATH, with exactly `environment`.
  Process(const std::vector<std::string>& arguments, const Environment& environment);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  [[nodiscard]] pid_t Pid() const { return pid_; }
  bool Running();
  void Signal(int number) const;
  /// Exit code, or 128 and the signal's number; nothing if it still runs after `limit`.
  std::optional<int> WaitForExit(Milliseconds limit = Milliseconds(10000));
  /// What it has written so far to standard output and to standard error.
  [[nodiscard]] std::string Output() const;
  [[nodiscard]] std::string Errors() const;

 private:
  TemporaryFolder folder_;
  pid_t pid_ = -1;
  std::optional<int> exit_code_;
};

/// In pixels of the screen.
struct Rectangle {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const Rectangle&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Rectangle& rectangle);

struct FrameExtents {
  int left = 0;
  int right = 0;
  int top = 0;
  int bottom = 0;
  bool operator==(const FrameExtents&) const = default;
};

struct WindowInfo {
  xcb_window_t id = 0;
  pid_t pid = 0;
  std::string title;
};

class XSession {
 public:
  struct Options {
    int width = 1280;
    int height = 960;
    bool window_manager = false;  ///< openbox with the settings it comes with
    bool accessibility = false;   ///< session bus and accessibility bus
  };

  /// Throws std::runtime_error when the display or a part of it does not come up.
  explicit XSession(const Options& options);
  ~XSession();
  XSession(const XSession&) = delete;
  XSession& operator=(const XSession&) = delete;

  /// The home folder of programs started here.
  [[nodiscard]] const std::filesystem::path& HomePath() const { return home_.Path(); }
  /// What programs started here see. Changes hold for later starts.
  Environment& ProgramEnvironment() { return environment_; }
  [[nodiscard]] std::string DisplayName() const;

  /// Starts a program on this display; `extra` goes over ProgramEnvironment().
  std::unique_ptr<Process> Start(const std::vector<std::string>& arguments,
                                 const Environment& extra = {});

  [[nodiscard]] std::filesystem::path SettingsFile() const {
    return HomePath() / ".config/vantoscope/Vantoscope.ini";
  }
  void AddSettings(const std::string& text) const;
  /// The keys and values of a section of the settings file.
  [[nodiscard]] std::map<std::string, std::string> Settings(const std::string& section) const;

  /// Ends the X server at once; only the destructor may follow.
  void KillServer();

  /// Mapped windows of all programs (those that tell their process id), topmost last.
  std::vector<WindowInfo> Windows();
  /// The mapped window of `pid` with this title (any title if empty), or 0 after `limit`.
  xcb_window_t WaitForWindow(pid_t pid, const std::string& title = "",
                             Milliseconds limit = Milliseconds(10000));
  /// True when the window is gone or unmapped within `limit`.
  bool WaitUntilUnmapped(xcb_window_t window, Milliseconds limit = Milliseconds(10000));

  bool Mapped(xcb_window_t window);
  /// Client area on the screen.
  Rectangle Client(xcb_window_t window);
  /// Client area and the frame the window manager drew around it.
  Rectangle Outer(xcb_window_t window);
  FrameExtents Extents(xcb_window_t window);
  /// 0 to 1; 1 when none is set.
  double Opacity(xcb_window_t window);
  /// True when _NET_WM_STATE holds `state`, such as "_NET_WM_STATE_ABOVE".
  bool HasState(xcb_window_t window, const std::string& state);
  /// True when the window stands above `other` on the screen.
  bool IsAbove(xcb_window_t window, xcb_window_t other);
  /// The window that has the keyboard, or 0.
  xcb_window_t Focus();

  void MovePointer(int x, int y);
  void Press(std::uint8_t button = 1);
  void Release(std::uint8_t button = 1);
  void Click(int x, int y);
  void DoubleClick(int x, int y);
  /// Presses and releases the key of an X key symbol, with Shift or Alt or Control held on request.
  void Key(std::uint32_t symbol, const std::vector<std::uint32_t>& held = {});
  /// Latin letters, digits and punctuation of the keyboard map.
  void Type(const std::string& text);
  /// What the close button of the frame does.
  void CloseWindow(xcb_window_t window);

  QImage Screenshot(const Rectangle& area);

 private:
  std::string Title(xcb_window_t window);
  xcb_atom_t Atom(const std::string& name);
  std::vector<std::uint8_t> Property(xcb_window_t window, const std::string& name);
  std::vector<std::uint32_t> Numbers(xcb_window_t window, const std::string& name);
  std::vector<xcb_window_t> Children(xcb_window_t window);
  void CollectWindows(xcb_window_t parent, int depth, std::vector<WindowInfo>& windows);
  xcb_window_t TopLevel(xcb_window_t window);
  void Fake(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0);
  std::uint8_t KeyCode(std::uint32_t symbol, bool& shifted);
  void StartWindowManager();
  void StartAccessibility();
  void SendToManager(xcb_window_t window, const std::string& type,
                     const std::array<std::uint32_t, 5>& data);

  TemporaryFolder home_;
  Environment environment_;
  std::unique_ptr<Process> server_;
  std::unique_ptr<Process> bus_;
  std::unique_ptr<Process> accessibility_;
  std::unique_ptr<Process> window_manager_;
  int display_ = -1;
  xcb_connection_t* connection_ = nullptr;
  xcb_window_t root_ = 0;
  std::map<std::string, xcb_atom_t> atoms_;
};

}  // namespace vantoscope::test
