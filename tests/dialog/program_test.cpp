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

class ProgramTest : public testing::Test {
 protected:
  explicit ProgramTest(bool accessibility = false)
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

  xcb_window_t OpenDialog(Process& meter, const std::string& title) {
    const xcb_window_t form = x_.WaitForWindow(meter.Pid(), title);
    const Rectangle client = x_.Client(form);
    // The button comes with the pointer.
    x_.MovePointer(client.x + 20, client.y + 20);
    WaitFor([] { return false; }, Milliseconds(250));
    x_.Click(client.x + 20, client.y + 20);
    const xcb_window_t dialog = x_.WaitForWindow(meter.Pid(), kDialog);
    EXPECT_TRUE(WaitFor([&] { return x_.Focus() == dialog; }));
    return dialog;
  }
  /// Clicks a place of the dialog, in pixels from the corner of its client area.
  void ClickAt(xcb_window_t dialog, int x, int y) {
    const Rectangle client = x_.Client(dialog);
    x_.Click(client.x + x, client.y + y);
  }
  void Retype(xcb_window_t dialog, int x, int y, const std::string& text) {
    ClickAt(dialog, x, y);
    x_.Key(XK_a, {XK_Control_L});
    x_.Type(text);
  }

  XSession x_;
};

// Places in the dialog, by what stands there.
constexpr int kFieldY = 9;  // from the top of a text field to its middle
struct Place {
  int x, y;
};
constexpr Place kWindowSize{100, 32 + kFieldY};
constexpr Place kRms{85, 97};
constexpr Place kCalOption{24, 121};
constexpr Place kCalText{60, 112 + kFieldY};
constexpr Place kShowUnit{30, 177};
constexpr Place kTransparency{170, 200 + kFieldY};
constexpr Place kForegroundButton{265, 41};
constexpr Place kHighLimit{360, 144 + kFieldY};
constexpr Place kLowLimit{360, 176 + kFieldY};
constexpr Place kEnableAlarm{280, 217};
constexpr Place kOk{96, 252};
constexpr Place kCancel{244, 252};
constexpr Place kHelp{384, 252};

TEST_F(ProgramTest, AMeterIsSetUpClosedAndComesBack) {
  auto meter = StartMeter("SM64", "Mains", 3);
  const xcb_window_t form = x_.WaitForWindow(meter->Pid(), "Mains");
  const xcb_window_t dialog = OpenDialog(*meter, "Mains");
  EXPECT_TRUE(x_.IsAbove(dialog, form));
  Retype(dialog, kWindowSize.x, kWindowSize.y, "1000");
  ClickAt(dialog, kRms.x, kRms.y);
  ClickAt(dialog, kShowUnit.x, kShowUnit.y);
  Retype(dialog, kTransparency.x, kTransparency.y, "60");
  Retype(dialog, kHighLimit.x, kHighLimit.y, "220.5");
  Retype(dialog, kLowLimit.x, kLowLimit.y, "-3");
  ClickAt(dialog, kEnableAlarm.x, kEnableAlarm.y);

  ClickAt(dialog, kForegroundButton.x, kForegroundButton.y);
  const xcb_window_t picker = x_.WaitForWindow(meter->Pid(), "Foreground colour");
  EXPECT_TRUE(x_.IsAbove(picker, dialog));
  ASSERT_TRUE(WaitFor([&] { return x_.Focus() == picker; }));
  x_.Key(XK_h, {XK_Alt_L});
  x_.Key(XK_a, {XK_Control_L});
  x_.Type("#008000");
  x_.Key(XK_Return);
  ASSERT_TRUE(x_.WaitUntilUnmapped(picker));

  x_.Key(XK_Return);
  x_.Key(XK_Escape);
  ClickAt(dialog, kOk.x, kOk.y);
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
  const xcb_window_t bare = x_.WaitForWindow(again->Pid(), "Mains");
  EXPECT_TRUE(WaitFor([&] { return std::abs(x_.Opacity(bare) - 60 / 255.0) < 0.005; }));
  EXPECT_EQ(x_.Client(bare), x_.Outer(bare));
}

TEST_F(ProgramTest, NoMeterOfTheGroupCoversADialogThatOpens) {
  Save("Lower1", "Window Top=3600\nWindow Left=2760\n");
  Save("Upper1", "Window Top=4200\nWindow Left=3000\nWindow Width=6000\nWindow Height=3000\n");
  auto lower = StartMeter("SM64", "Lower", 0);
  x_.WaitForWindow(lower->Pid(), "Lower");
  auto upper = StartMeter("SM64", "Upper", 0);
  const xcb_window_t other = x_.WaitForWindow(upper->Pid(), "Upper");
  EXPECT_TRUE(WaitFor([&] { return x_.HasState(other, "_NET_WM_STATE_ABOVE"); }));
  const xcb_window_t dialog = OpenDialog(*lower, "Lower");
  EXPECT_TRUE(x_.IsAbove(dialog, other));
  EXPECT_TRUE(x_.IsAbove(dialog, x_.WaitForWindow(lower->Pid(), "Lower")));

  // Beyond what the frame of the dialog offers: its close button takes over nothing.
  Retype(dialog, kWindowSize.x, kWindowSize.y, "77");
  x_.CloseWindow(dialog);
  EXPECT_TRUE(x_.WaitUntilUnmapped(dialog));
  lower->Signal(SIGTERM);
  EXPECT_EQ(lower->WaitForExit(), 0);
  EXPECT_EQ(Saved("Lower1")["AverageLength"], "3");
}

TEST_F(ProgramTest, HelpOpensThePageOfThisInstallation) {
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
  ASSERT_TRUE(WaitFor([&] { return pages().size() == 2; }));
  EXPECT_EQ(pages()[1], pages()[0]);
  ASSERT_TRUE(pages()[0].starts_with("file:///"));
  EXPECT_TRUE(pages()[0].ends_with("/wvanto.html"));
  EXPECT_TRUE(std::filesystem::exists(pages()[0].substr(7)));
  EXPECT_TRUE(x_.Mapped(dialog));
}

TEST_F(ProgramTest, AHostThatGoesAwayEndsTheMeterUnderAnyOpenBox) {
  // Each meter stands in a box of its own when its host goes: the dialog with a half-typed change,
  // the picker above it, the message about its window.
  Save("Box1", "AverageLength=0\n");
  auto in_dialog = StartMeter("SM64:close=4", "Dialog", 0);
  auto in_picker = StartMeter("SM64:close=4", "Picker", 0);
  auto in_box = StartMeter("SM64:close=4", "Box", 0);
  Retype(OpenDialog(*in_dialog, "Dialog"), kWindowSize.x, kWindowSize.y, "99");
  const xcb_window_t second = OpenDialog(*in_picker, "Picker");
  ClickAt(second, kForegroundButton.x, kForegroundButton.y);
  EXPECT_NE(x_.WaitForWindow(in_picker->Pid(), "Foreground colour"), 0U);
  ClickAt(OpenDialog(*in_box, "Box"), kCancel.x, kCancel.y);
  EXPECT_TRUE(WaitFor([&] {
    const xcb_window_t box = x_.WaitForWindow(in_box->Pid(), kMessage, Milliseconds(10));
    return box != 0 && x_.Title(box) == kMessage;
  }));
  for (auto* meter : {&in_dialog, &in_picker, &in_box}) EXPECT_EQ((*meter)->WaitForExit(), 0);
  EXPECT_EQ(Saved("Dialog1")["AverageLength"], "3") << "what the dialog held is dropped";
  EXPECT_EQ(Saved("Picker1").size(), 24U);
  EXPECT_EQ(Saved("Box1")["AverageLength"], "1");
}

struct ScreenReaderTest : ProgramTest {
  ScreenReaderTest() : ProgramTest(true) {
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
  xcb_window_t dialog = OpenDialog(*meter, "Tank");
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
  ClickAt(dialog, kCalOption.x, kCalOption.y);
  Retype(dialog, kCalText.x, kCalText.y, "CH99+1");
  ClickAt(dialog, kOk.x, kOk.y);
  ASSERT_TRUE(WaitToHear(*meter, kMessage, "label: Channel(s) not found in Telvix (#99+1)"));
  x_.Key(XK_space);
  ASSERT_TRUE(WaitToHear(*meter, "Tank", "label: Error!"));
  dialog = OpenDialog(*meter, "Tank");
  Retype(dialog, kCalText.x, kCalText.y, "6*7");
  ClickAt(dialog, kOk.x, kOk.y);
  EXPECT_TRUE(WaitToHear(*meter, "Tank", "label: 42.0000"));
}

}  // namespace
}  // namespace vantoscope::test
