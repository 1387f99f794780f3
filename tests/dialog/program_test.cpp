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
#include <sstream>

#include "tests/dialog/accessible_tree.h"
#include "tests/support/x_session.h"

namespace vantoscope::test {
namespace {

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

  /// The settings as the program left them.
  Section Saved(const std::string& name) {
    std::ifstream file(x_.HomePath() / ".config/vantoscope/Vantoscope.ini");
    Section section;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with("[")) inside = line == "[" + name + "]";
      const std::size_t equals = line.find('=');
      if (inside && equals != std::string::npos) {
        section[line.substr(0, equals)] = line.substr(equals + 1);
      }
    }
    return section;
  }
  void Save(const std::string& name, const std::string& lines) {
    std::filesystem::create_directories(x_.HomePath() / ".config/vantoscope");
    std::ofstream file(x_.HomePath() / ".config/vantoscope/Vantoscope.ini", std::ios::app);
    file << "[" << name << "]\n" << lines;
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
  /// Clicks the circle or the square of an option or a check box and waits for its mark. A click
  /// that the window manager still holds back can be overtaken by keys and further clicks.
  void Toggle(xcb_window_t dialog, int x, int y) {
    const Rectangle client = x_.Client(dialog);
    const Rectangle middle{client.x + x, client.y + y, 1, 1};
    const auto brightness = [&] { return qGray(x_.Screenshot(middle).pixel(0, 0)); };
    const int before = brightness();
    x_.Click(middle.x, middle.y);
    EXPECT_TRUE(WaitFor([&] { return std::abs(brightness() - before) > 60; })) << x << " " << y;
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
constexpr Place kRms{87, 96};
constexpr Place kShowUnit{23, 176};
constexpr Place kForegroundButton{265, 41};
constexpr Place kEnableAlarm{263, 216};
constexpr Place kOk{96, 252};
constexpr Place kCancel{244, 252};
constexpr Place kHelp{384, 252};

TEST_F(DialogProgramTest, AMeterIsSetUpClosedAndComesBack) {
  auto meter = StartMeter("SM64", "Mains", 3);
  const xcb_window_t form = Form(*meter, "Mains", 4);
  const xcb_window_t dialog = OpenDialog(*meter, "Mains", 4);
  EXPECT_TRUE(x_.IsAbove(dialog, form));
  Toggle(dialog, kRms.x, kRms.y);
  Toggle(dialog, kShowUnit.x, kShowUnit.y);
  Toggle(dialog, kEnableAlarm.x, kEnableAlarm.y);
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
  Tab(2);
  x_.Type("1000");
  Tab(3);
  x_.Type("60");
  x_.Key(XK_Return);
  x_.Key(XK_Escape);
  Tab(4);
  EXPECT_TRUE(x_.Mapped(dialog));
  x_.Key(XK_space);
  ASSERT_TRUE(x_.WaitUntilUnmapped(dialog));

  // Bare at the transparency of just now.
  const Rectangle client = x_.Client(form);
  x_.DoubleClick(client.x + client.width / 2, client.y + client.height / 2);
  EXPECT_TRUE(WaitFor([&] { return std::abs(x_.Opacity(form) - 60 / 255.0) < 0.005; }));
  meter->Signal(SIGTERM);
  EXPECT_EQ(meter->WaitForExit(), 0);
  const Section saved = Saved("Mains4");
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
  Save("Lower1", "Window Top=3600\nWindow Left=2760\n");
  Save("Upper1", "Window Top=4800\nWindow Left=3000\nWindow Width=6000\nWindow Height=3000\n");
  auto lower = StartMeter("SM64", "Lower", 0);
  Form(*lower, "Lower");
  auto upper = StartMeter("SM64", "Upper", 0);
  const xcb_window_t other = Form(*upper, "Upper");
  EXPECT_TRUE(WaitFor([&] { return x_.HasState(other, "_NET_WM_STATE_ABOVE"); }));
  const xcb_window_t dialog = OpenDialog(*lower, "Lower");
  EXPECT_TRUE(x_.IsAbove(dialog, other));
  EXPECT_TRUE(x_.IsAbove(dialog, Form(*lower, "Lower")));

  // The close button of its frame takes over nothing.
  Tab(7);
  x_.Type("77");
  x_.CloseWindow(dialog);
  EXPECT_TRUE(x_.WaitUntilUnmapped(dialog));
  lower->Signal(SIGTERM);
  EXPECT_EQ(lower->WaitForExit(), 0);
  EXPECT_EQ(Saved("Lower1")["AverageLength"], "3");
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
  ClickAt(dialog, kHelp.x, kHelp.y);
  const auto pages = [&] {
    std::vector<std::string> lines;
    std::ifstream file(opened);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  };
  ASSERT_TRUE(WaitFor([&] { return pages().size() == 2; })) << pages().size();
  EXPECT_EQ(pages()[1], pages()[0]);
  ASSERT_TRUE(pages()[0].starts_with("file:///"));
  EXPECT_TRUE(pages()[0].ends_with("/wvanto.html"));
  EXPECT_TRUE(std::filesystem::exists(pages()[0].substr(7)));
  EXPECT_TRUE(x_.Mapped(dialog));
}

TEST_F(DialogProgramTest, AHostThatGoesAwayEndsTheMeterUnderAnyOpenBox) {
  // Each meter stands in a box of its own when its host goes: the dialog with a half-typed change,
  // the picker above it, the message about its window. The host is a recording, and goes with it.
  const auto recording = x_.HomePath() / "run.csv";
  std::ofstream(recording) << "Time [s],Level [m]\n0,1\n0.1,1.5\n0.2,2\n";
  const std::string device = "FI64:" + recording.string() + "?follow";
  Save("Dialog1", "Window Top=9000\nWindow Left=1500\n");
  Save("Picker1", "Window Top=9000\nWindow Left=6000\n");
  Save("Box1", "Window Top=9000\nWindow Left=10500\nAverageLength=0\n");
  auto in_dialog = StartMeter(device, "Dialog", 0);
  auto in_picker = StartMeter(device, "Picker", 0);
  auto in_box = StartMeter(device, "Box", 0);
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
  EXPECT_EQ(Saved("Dialog1")["AverageLength"], "3") << "what the dialog held is dropped";
  EXPECT_EQ(Saved("Picker1").size(), 24U);
  EXPECT_EQ(Saved("Box1")["AverageLength"], "1");
}

struct ScreenReaderTest : DialogProgramTest {
  ScreenReaderTest() : DialogProgramTest(true) {
    ConnectToAccessibility(x_.DisplayName(), x_.ProgramEnvironment()["DBUS_SESSION_BUS_ADDRESS"]);
  }

  std::vector<std::string> Spoken(const Process& meter, const std::string& title) {
    std::vector<std::string> spoken;
    for (const AccessibleItem& item : AccessibleItems(meter.Pid(), title)) {
      spoken.push_back(item.role + ": " + item.name);
    }
    return spoken;
  }
  bool WaitToHear(const Process& meter, const std::string& title, const std::string& what) {
    return WaitFor([&] {
      const auto spoken = Spoken(meter, title);
      return std::ranges::find(spoken, what) != spoken.end();
    });
  }
};

// One test: a process can connect to one accessibility bus only.
TEST_F(ScreenReaderTest, NamesEveryControlAndSaysWhatIsWrong) {
  auto meter = StartMeter("SM64", "Tank", 0);
  OpenDialog(*meter, "Tank");
  ASSERT_TRUE(WaitFor([&] { return !Spoken(*meter, kDialog).empty(); }));
  for (const AccessibleItem& item : AccessibleItems(meter->Pid(), kDialog)) {
    EXPECT_FALSE(item.name.empty()) << item.role;
  }
  EXPECT_THAT(Spoken(*meter, kDialog), IsSupersetOf({"push button: Foreground colour...",
                                                     "push button: Background colour...",
                                                     "push button: High limit colour...",
                                                     "push button: Low limit colour...",
                                                     "text: High Limit",
                                                     "text: Low Limit",
                                                     "check box: Enable Visual Alarm",
                                                     "text: Window Size",
                                                     "text: Channel index",
                                                     "radio button: None",
                                                     "radio button: Min",
                                                     "radio button: Max",
                                                     "radio button: Ave",
                                                     "radio button: RMS",
                                                     "radio button: AC RMS",
                                                     "radio button: Equation result",
                                                     "text: Equation",
                                                     "text: Unit of the equation",
                                                     "check box: Show Unit",
                                                     "text: Transparency (1..255)",
                                                     "push button: OK",
                                                     "push button: Cancel",
                                                     "push button: Help"}));

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
