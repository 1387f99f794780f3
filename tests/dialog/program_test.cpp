// The finished program as its user meets it: a display, a window manager, a pointer, a keyboard and
// a screen reader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#define XK_LATIN1
#define XK_MISCELLANY
#include <X11/keysymdef.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>

#include "tests/dialog/accessible_tree.h"
#include "tests/support/x_session.h"

namespace vantoscope::test {
namespace {

using testing::Contains;
using testing::IsSupersetOf;
using Section = std::map<std::string, std::string>;

constexpr const char* kDialog = "Vanto Scope Configuration";
constexpr const char* kMessage = "Vanto Scope";

class DialogProgramTest : public testing::Test {
 protected:
  explicit DialogProgramTest(bool accessibility = false)
      : x_({.window_manager = true, .accessibility = accessibility}) {}

  std::unique_ptr<Process> StartMeter(const std::string& device, const std::string& name,
                                      int index) {
    return x_.Start({VANTOSCOPE_PROGRAM, "-d" + device, "-n" + name, "-i" + std::to_string(index)});
  }

  /// The window of a meter, whose title is its name and its channel.
  xcb_window_t Form(const Process& meter, const std::string& name, int channel = 1) {
    return x_.WaitForWindow(meter.Pid(), name + " Channel " + std::to_string(channel));
  }
  /// Where the client area is once the window manager has put its frame around it.
  Rectangle FramedClient(xcb_window_t form) {
    WaitFor([&] { return x_.Outer(form).height > x_.Client(form).height; });
    return x_.Client(form);
  }
  /// As a user: the button comes with the pointer, its click brings the dialog.
  xcb_window_t OpenDialog(const Process& meter, const std::string& name, int channel = 1) {
    const xcb_window_t form = Form(meter, name, channel);
    const Rectangle client = FramedClient(form);
    constexpr int kMiddle = 24;  // of the button, from the corner of the client area
    x_.MovePointer(client.x + kMiddle, client.y + kMiddle);
    xcb_window_t dialog = 0;
    for (int tries = 0; dialog == 0 && tries < 8; ++tries) {
      x_.Click(client.x + kMiddle, client.y + kMiddle);
      // Longer than a double click.
      dialog = x_.WaitForWindow(meter.Pid(), kDialog, Milliseconds(1200));
    }
    EXPECT_NE(dialog, 0U) << "no dialog";
    Listen(dialog);
    return dialog;
  }
  /// Clicks a place of the dialog, in pixels from the corner of its client area.
  void ClickAt(xcb_window_t dialog, int x, int y) {
    const Rectangle client = x_.Client(dialog);
    x_.Click(client.x + x, client.y + y);
  }
  void Tab(int times) {
    for (int i = 0; i < times; ++i) x_.Key(XK_Tab);
  }
  /// Waits until `window` has the keyboard.
  void Listen(xcb_window_t window) {
    EXPECT_TRUE(WaitFor([&] { return x_.Focus() == window; }));
  }

  XSession x_;
};

// Places in the dialog, by what stands there.
struct Place {
  int x, y;
};
constexpr Place kForegroundButton{265, 41};
constexpr Place kCancel{244, 252};
constexpr Place kHelp{384, 252};

TEST_F(DialogProgramTest, AMeterIsSetUpClosedAndComesBack) {
  auto meter = StartMeter("SM64", "Mains", 3);
  const xcb_window_t form = Form(*meter, "Mains", 4);
  const xcb_window_t dialog = OpenDialog(*meter, "Mains", 4);
  EXPECT_TRUE(x_.IsAbove(dialog, form));
  ClickAt(dialog, kForegroundButton.x, kForegroundButton.y);

  const xcb_window_t picker = x_.WaitForWindow(meter->Pid(), "Foreground colour");
  EXPECT_TRUE(x_.IsAbove(picker, dialog));
  Listen(picker);
  x_.Key(XK_h, {XK_Alt_L});
  x_.Type("#008000");
  x_.Key(XK_Return);
  ASSERT_TRUE(x_.WaitUntilUnmapped(picker));

  Listen(dialog);
  Tab(4);
  x_.Type("220.5");
  Tab(1);
  x_.Type("-3");
  Tab(1);
  x_.Key(XK_space);  // the alarm
  Tab(1);
  x_.Type("1000");
  Tab(1);
  x_.Key(XK_Left);  // from None to RMS
  Tab(1);
  x_.Key(XK_space);  // the unit
  Tab(1);
  x_.Type("60");
  x_.Key(XK_Return);
  x_.Key(XK_Escape);
  Tab(4);
  EXPECT_TRUE(x_.Mapped(dialog));
  x_.Key(XK_space);
  ASSERT_TRUE(x_.WaitUntilUnmapped(dialog));

  // Bare at the transparency of just now.
  EXPECT_TRUE(WaitFor([&] {
    const Rectangle client = x_.Client(form);
    x_.DoubleClick(client.x + client.width / 2, client.y + client.height / 2);
    return WaitFor([&] { return std::abs(x_.Opacity(form) - 60 / 255.0) < 0.005; },
                   Milliseconds(3000));
  }));
  meter->Signal(SIGTERM);
  EXPECT_EQ(meter->WaitForExit(), 0);
  const Section saved = x_.Settings("Mains4");
  EXPECT_EQ(saved.size(), 24U);
  const Section expected{
      {"AverageLength", "1000"},        {"AverageMode", "4"},      {"ShowUnit", "True"},
      {"Transparency", "60"},           {"BorderStyle", "0"},      {"High Limit Value", "220.5"},
      {"Low Limit Value", "-3"},        {"Alarm Enabled", "True"}, {"Foreground Color", "32768"},
      {"Background Color", "16777215"}, {"Always On Top", "-1"},   {"ShowCaption", "True"}};
  EXPECT_THAT(saved, IsSupersetOf(expected));

  auto again = StartMeter("SM64", "Mains", 3);
  const xcb_window_t bare = Form(*again, "Mains", 4);
  EXPECT_TRUE(WaitFor([&] { return std::abs(x_.Opacity(bare) - 60 / 255.0) < 0.005; }));
  EXPECT_EQ(x_.Client(bare), x_.Outer(bare));
}

TEST_F(DialogProgramTest, NoMeterOfTheGroupCoversADialogThatOpens) {
  x_.AddSettings(
      "[Lower1]\nWindow Top=3600\nWindow Left=2760\n"
      "[Upper1]\nWindow Top=4800\nWindow Left=3000\nWindow Width=6000\nWindow Height=3000\n");
  auto lower = StartMeter("SM64", "Lower", 0);
  const xcb_window_t form = Form(*lower, "Lower");
  auto upper = StartMeter("SM64", "Upper", 0);
  const xcb_window_t other = Form(*upper, "Upper");
  const auto on_top = [&](xcb_window_t window) {
    return x_.HasState(window, "_NET_WM_STATE_ABOVE");
  };
  EXPECT_TRUE(WaitFor([&] { return on_top(form) && on_top(other); }));
  const xcb_window_t dialog = OpenDialog(*lower, "Lower");
  EXPECT_TRUE(x_.IsAbove(dialog, other));
  EXPECT_TRUE(x_.IsAbove(dialog, form));
  // Its own meter gives up its place on top for as long.
  EXPECT_TRUE(WaitFor([&] { return !on_top(form); }));
  x_.CloseWindow(dialog);
  EXPECT_TRUE(WaitFor([&] { return on_top(form); }));
}

TEST_F(DialogProgramTest, HelpOpensThePageOfThisInstallation) {
  const auto opened = x_.HomePath() / "opened";
  const auto opener = x_.HomePath() / "xdg-open";
  std::ofstream(opener) << "#!/bin/sh\necho \"$1\" >>'" << opened.string() << "'\n";
  std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
  x_.ProgramEnvironment()["PATH"] = x_.HomePath().string() + ":/usr/bin:/bin";
  auto meter = StartMeter("SM64", "Tank", 0);
  const xcb_window_t dialog = OpenDialog(*meter, "Tank");
  ClickAt(dialog, kHelp.x, kHelp.y);
  std::string page;
  ASSERT_TRUE(WaitFor([&] {
    std::ifstream file(opened);
    return static_cast<bool>(std::getline(file, page));
  }));
  ASSERT_TRUE(page.starts_with("file:///"));
  EXPECT_TRUE(page.ends_with("/wvanto.html"));
  EXPECT_TRUE(std::filesystem::exists(page.substr(7)));
  EXPECT_TRUE(x_.Mapped(dialog));
}

TEST_F(DialogProgramTest, AHostThatGoesAwayEndsTheMeterUnderAnyOpenBox) {
  // Each meter stands in a box of its own when its host goes: the dialog with a half-typed change,
  // the picker above it, the message about its window. The host is a recording, and goes with it.
  const auto recording = x_.HomePath() / "run.csv";
  std::ofstream(recording) << "Time [s],Level [m]\n0,1\n0.1,1.5\n0.2,2\n";
  const std::string device = "FI64:" + recording.string() + "?follow";
  x_.AddSettings(
      "[Dialog1]\nWindow Top=9000\nWindow Left=1500\n"
      "[Picker1]\nWindow Top=9000\nWindow Left=6000\n"
      "[Box1]\nWindow Top=9000\nWindow Left=10500\nAverageLength=0\n");
  // A meter that starts takes the keyboard: all stand before the first dialog opens.
  const auto start = [&](const std::string& name) {
    auto meter = StartMeter(device, name, 0);
    const xcb_window_t form = Form(*meter, name);
    FramedClient(form);
    Listen(form);
    return meter;
  };
  auto in_dialog = start("Dialog");
  auto in_picker = start("Picker");
  auto in_box = start("Box");
  OpenDialog(*in_dialog, "Dialog");
  Tab(7);
  x_.Type("99");
  const xcb_window_t second = OpenDialog(*in_picker, "Picker");
  ClickAt(second, kForegroundButton.x, kForegroundButton.y);
  Listen(x_.WaitForWindow(in_picker->Pid(), "Foreground colour"));
  ClickAt(OpenDialog(*in_box, "Box"), kCancel.x, kCancel.y);
  EXPECT_NE(x_.WaitForWindow(in_box->Pid(), kMessage), 0U);
  std::filesystem::remove(recording);
  for (auto* meter : {&in_dialog, &in_picker, &in_box}) EXPECT_EQ((*meter)->WaitForExit(), 0);
  EXPECT_EQ(x_.Settings("Dialog1")["AverageLength"], "3") << "what the dialog held is dropped";
  EXPECT_EQ(x_.Settings("Picker1").size(), 24U);
  EXPECT_EQ(x_.Settings("Box1")["AverageLength"], "1");
}

struct ScreenReaderTest : DialogProgramTest {
  ScreenReaderTest() : DialogProgramTest(true) {
    ConnectToAccessibility(x_.DisplayName(), x_.ProgramEnvironment()["DBUS_SESSION_BUS_ADDRESS"]);
  }

  bool WaitToHear(const Process& meter, const std::string& title, const std::string& what) {
    return WaitFor([&] {
      const auto spoken = Spoken(meter.Pid(), title);
      return std::ranges::find(spoken, what) != spoken.end();
    });
  }
};

// One test: a process can connect to one accessibility bus only.
TEST_F(ScreenReaderTest, NamesEveryControlAndSaysWhatIsWrong) {
  auto meter = StartMeter("SM64", "Tank", 0);
  OpenDialog(*meter, "Tank");
  ASSERT_TRUE(WaitToHear(*meter, kDialog, "push button: Help"));
  const std::vector<std::string> controls = Spoken(meter->Pid(), kDialog);
  for (const std::string& control : controls) EXPECT_FALSE(control.ends_with(": ")) << control;
  const std::pair<std::string, std::vector<std::string>> kExpected[] = {
      {"push button",
       {"OK", "Cancel", "Help", "Foreground colour...", "Background colour...",
        "High limit colour...", "Low limit colour..."}},
      {"text",
       {"High Limit", "Low Limit", "Window Size", "Channel index", "Equation",
        "Unit of the equation", "Transparency (1..255)"}},
      {"check box", {"Enable Visual Alarm", "Show Unit"}},
      {"radio button", {"None", "Min", "Max", "Ave", "RMS", "AC RMS", "Equation result"}}};
  for (const auto& [role, names] : kExpected) {
    for (const std::string& name : names) EXPECT_THAT(controls, Contains(role + ": " + name));
  }
  EXPECT_TRUE(WaitToHear(*meter, "Tank", "push button: Settings"));

  // A broken equation stops the meter, a mended one brings it back.
  Tab(8);
  for (const auto arrow : {XK_Left, XK_Left, XK_Down}) x_.Key(arrow);
  Tab(1);
  x_.Type("CH99+1");
  Tab(3);
  x_.Key(XK_space);
  EXPECT_TRUE(WaitToHear(*meter, kMessage, "label: Channel(s) not found in Telvix (#99+1)"));
  Listen(x_.WaitForWindow(meter->Pid(), kMessage));
  x_.Key(XK_space);
  EXPECT_TRUE(WaitToHear(*meter, "Tank", "label: Error!"));
  OpenDialog(*meter, "Tank");
  Tab(11);
  x_.Type("6*7");
  Tab(3);
  x_.Key(XK_space);
  EXPECT_TRUE(WaitToHear(*meter, "Tank", "label: 42.0000"));
}

}  // namespace
}  // namespace vantoscope::test
