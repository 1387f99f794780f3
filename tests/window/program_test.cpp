// The finished program as its users meet it: started on a display, moved, resized, closed, and its
// settings file read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/x_session.h"

namespace vantoscope::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr std::uint32_t kReturnKey = 0xff0d;
constexpr std::uint32_t kControlKey = 0xffe3;
constexpr int kTwipsPerPixel = 15;

class Desk : public XSession {
 public:
  explicit Desk(bool window_manager) : XSession({1280, 960, window_manager, false}) {}

  std::unique_ptr<Process> Meter(const std::string& name, const Environment& extra = {},
                                 const std::string& device = "sim",
                                 const std::string& index = "0") {
    return Start({VANTOSCOPE_PROGRAM, "-d" + device, "-n" + name, "-i" + index}, extra);
  }
  [[nodiscard]] int Number(const std::string& section, const std::string& key) const {
    return std::stoi(Settings(section)[key]);
  }
  /// The window stands at `place` and has stood there long enough to stay.
  bool Settles(xcb_window_t window, const Rectangle& place) {
    int seen = 0;
    return WaitFor([&] { return (seen = Outer(window) == place ? seen + 1 : 0) > 50; },
                   Milliseconds(5000));
  }
  /// The window stands still, wherever.
  Rectangle Rest(xcb_window_t window) {
    Rectangle last;
    int seen = 0;
    WaitFor([&] {
      const Rectangle now = Outer(window);
      seen = now == last ? seen + 1 : 0;
      last = now;
      return seen > 80;
    });
    return last;
  }
  /// Drags a part of the window's frame; the rectangle that comes of it. The window manager may
  /// miss a press while it is still busy, and follows once it has seen that this is a drag.
  Rectangle Carry(xcb_window_t window, int from_x, int from_y, int to_x, int to_y) {
    const Rectangle before = Outer(window);
    WaitFor([&] {
      MovePointer(from_x, from_y);
      Press();
      const bool follows = WaitFor(
          [&] {
            MovePointer((from_x + to_x) / 2, (from_y + to_y) / 2);
            MovePointer(to_x, to_y);
            return Outer(window) != before;
          },
          Milliseconds(1000));
      if (!follows) Release();
      return follows;
    });
    const Rectangle carried = Rest(window);
    Release();
    return carried;
  }
  /// Double-clicks the reading until the look has changed.
  bool SwapsTo(xcb_window_t window, bool bare) {
    return WaitFor([&] {
      const Rectangle client = Client(window);
      DoubleClick(client.x + client.width * 3 / 4, client.y + client.height / 2);
      return WaitFor([&] { return (Opacity(window) < 1) == bare; }, Milliseconds(3000));
    });
  }
};

std::string Placed(const std::string& section, int left, int top, int width, int height,
                   int border_style) {
  std::ostringstream text;
  text << "[" << section << "]\nWindow Left=" << left << "\nWindow Top=" << top
       << "\nWindow Width=" << width << "\nWindow Height=" << height
       << "\nBorderStyle=" << border_style << "\n";
  return text.str();
}

class EachDesk : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Desks, EachDesk, testing::Bool(), [](const auto& desk) {
  return desk.param ? "WithWindowManager" : "WithoutWindowManager";
});

struct RestartCase {
  const char* name;
  const char* scale;
  int left, top, width, height, border_style;  // twips
  Rectangle outer;                             // pixels of the screen
};

// 15 twips are one pixel, at 200 % two. The odd values lie between pixels.
const RestartCase kRestarts[] = {
    {"Framed", "1", 1500, 1500, 3000, 1000, 5, {100, 100, 200, 67}},
    {"Bare", "1", 6000, 1500, 3000, 1000, 0, {400, 100, 200, 67}},
    {"BetweenPixels", "1", 10507, 1511, 3007, 1511, 5, {700, 101, 200, 101}},
    {"RightEdge", "1", 18000, 6000, 3000, 1500, 5, {1200, 400, 200, 100}},
    {"LeftEdge", "1", -1515, 6000, 3000, 1500, 0, {-101, 400, 200, 100}},
    {"FramedDouble", "2", 1508, 6008, 2505, 1508, 5, {201, 801, 334, 201}},
    {"BareDouble", "2", 5255, 1508, 2250, 1500, 0, {701, 201, 300, 200}},
    {"LeftEdgeDouble", "2", -1133, 3008, 3000, 1508, 5, {-151, 401, 400, 201}},
};

// Rounds of eight meters that run at the same time, ended in turn the slow and the quick way.
TEST_P(EachDesk, RestartedMetersDoNotWander) {
  Desk desk(GetParam());
  for (const RestartCase& meter : kRestarts) {
    desk.AddSettings(Placed(std::string(meter.name) + "1", meter.left, meter.top, meter.width,
                            meter.height, meter.border_style));
  }
  std::vector<std::map<std::string, std::string>> before;
  for (int round = 0; round < 3; ++round) {
    const bool patient = round % 3 == 1;
    std::vector<std::unique_ptr<Process>> meters;
    for (const RestartCase& meter : kRestarts) {
      meters.push_back(desk.Meter(meter.name, {{"QT_SCALE_FACTOR", meter.scale}}));
    }
    for (std::size_t i = 0; i < meters.size(); ++i) {
      const RestartCase& meter = kRestarts[i];
      SCOPED_TRACE(std::string(meter.name) + " round " + std::to_string(round));
      const xcb_window_t window = desk.WaitForWindow(meters[i]->Pid());
      ASSERT_NE(window, 0U) << meters[i]->Errors();
      if (patient) {
        EXPECT_TRUE(desk.Settles(window, meter.outer))
            << desk.Outer(window) << " for " << meter.outer;
      }
      if (round % 3 == 2) {
        meters[i]->Signal(SIGTERM);
      } else {
        desk.CloseWindow(window);
      }
    }
    std::vector<std::map<std::string, std::string>> after;
    for (std::size_t i = 0; i < meters.size(); ++i) {
      const RestartCase& meter = kRestarts[i];
      SCOPED_TRACE(std::string(meter.name) + " round " + std::to_string(round));
      EXPECT_EQ(meters[i]->WaitForExit(), 0) << meters[i]->Errors();
      after.push_back(desk.Settings(std::string(meter.name) + "1"));
      EXPECT_EQ(desk.Number(std::string(meter.name) + "1", "Window Left"), meter.left);
      EXPECT_EQ(desk.Number(std::string(meter.name) + "1", "Window Top"), meter.top);
      EXPECT_EQ(desk.Number(std::string(meter.name) + "1", "Window Width"), meter.width);
      EXPECT_EQ(desk.Number(std::string(meter.name) + "1", "Window Height"), meter.height);
      if (round > 0) {
        EXPECT_EQ(after.back(), before[i]);
      }
    }
    before = after;
  }
}

// The platform chooses the first place; from then on it is the meter's.
TEST_P(EachDesk, FirstPlaceIsKept) {
  Desk desk(GetParam());
  std::map<std::string, std::string> first;
  Rectangle place;
  for (int round = 0; round < 2; ++round) {
    const auto meter = desk.Meter("New");
    const xcb_window_t window = desk.WaitForWindow(meter->Pid());
    const Rectangle now = desk.Rest(window);
    EXPECT_EQ(now.width, 200);
    EXPECT_EQ(now.height, 67);
    desk.CloseWindow(window);
    ASSERT_EQ(meter->WaitForExit(), 0);
    if (round == 1) {
      EXPECT_EQ(now, place);
      EXPECT_EQ(desk.Settings("New1"), first);
    }
    place = now;
    first = desk.Settings("New1");
    EXPECT_EQ(desk.Number("New1", "Window Left"), place.x * kTwipsPerPixel);
    EXPECT_EQ(desk.Number("New1", "Window Top"), place.y * kTwipsPerPixel);
  }
}

TEST_P(EachDesk, SwapOfLooksKeepsTheOuterRectangle) {
  Desk desk(GetParam());
  desk.AddSettings(Placed("Swap1", 3000, 3000, 3000, 1500, 5) + "Transparency=51\n");
  const auto meter = desk.Meter("Swap");
  const xcb_window_t window = desk.WaitForWindow(meter->Pid());
  const Rectangle place = {200, 200, 200, 100};
  ASSERT_TRUE(desk.Settles(window, place)) << desk.Outer(window);
  EXPECT_TRUE(desk.HasState(window, "_NET_WM_STATE_ABOVE"));
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(desk.SwapsTo(window, true));
    EXPECT_NEAR(desk.Opacity(window), 0.2, 0.001);
    EXPECT_TRUE(desk.Settles(window, place)) << desk.Outer(window);
    EXPECT_EQ(desk.Extents(window), FrameExtents{});
    ASSERT_TRUE(desk.SwapsTo(window, false));
    EXPECT_TRUE(desk.Settles(window, place)) << desk.Outer(window);
    EXPECT_TRUE(desk.HasState(window, "_NET_WM_STATE_ABOVE"));
  }
  desk.CloseWindow(window);
  EXPECT_EQ(meter->WaitForExit(), 0);
  EXPECT_EQ(desk.Number("Swap1", "Window Left"), 3000);
  EXPECT_EQ(desk.Number("Swap1", "Window Height"), 1500);
}

TEST(Program, PointerPlacesFrameAndHostCloseReachTheFile) {
  Desk desk(true);
  desk.AddSettings(Placed("Tank1", 3000, 3000, 3000, 1500, 5) + "Always On Top=-2\n");
  const std::filesystem::path recording = desk.HomePath() / "run.csv";
  std::ofstream(recording) << "Level [m]\n1.5\n1.6\n";
  Rectangle bare;
  {
    const auto meter = desk.Meter("Tank", {}, recording.string() + "?follow");
    const xcb_window_t window = desk.WaitForWindow(meter->Pid());
    ASSERT_TRUE(desk.Settles(window, {200, 200, 200, 100}));
    EXPECT_FALSE(desk.HasState(window, "_NET_WM_STATE_ABOVE"));
    EXPECT_EQ(desk.Carry(window, 270, 208, 370, 258), (Rectangle{300, 250, 200, 100}));  // title
    const Rectangle framed = desk.Carry(window, 499, 349, 539, 379);                     // corner
    EXPECT_GT(framed.width, 230);
    EXPECT_GT(framed.height, 120);
    ASSERT_TRUE(desk.SwapsTo(window, true));
    bare = desk.Rest(window);
    EXPECT_EQ(bare, framed);
    std::filesystem::remove(recording);
    EXPECT_EQ(meter->WaitForExit(), 0) << meter->Errors();
    EXPECT_EQ(desk.Number("Tank1", "Window Width"), framed.width * kTwipsPerPixel);
    EXPECT_EQ(desk.Number("Tank1", "Window Height"), framed.height * kTwipsPerPixel);
    EXPECT_EQ(desk.Number("Tank1", "Window Left"), bare.x * kTwipsPerPixel);
    EXPECT_EQ(desk.Number("Tank1", "Window Top"), bare.y * kTwipsPerPixel);
    EXPECT_EQ(desk.Settings("Tank1")["BorderStyle"], "0");
  }
  const auto meter = desk.Meter("Tank");
  const xcb_window_t window = desk.WaitForWindow(meter->Pid());
  EXPECT_TRUE(desk.Settles(window, bare)) << desk.Outer(window);
  EXPECT_EQ(desk.Extents(window), FrameExtents{});
}

TEST_P(EachDesk, MeterOutsideEveryScreenComesBack) {
  Desk desk(GetParam());
  desk.AddSettings(Placed("Right1", 100000, 1500, 3000, 1500, 0) +
                   Placed("Above1", 1500, -2000000000, 3000, 1500, 5) +
                   Placed("Huge1", 0, 0, 2000000000, 2000000000, 0));
  const auto right = desk.Meter("Right");
  const auto above = desk.Meter("Above");
  const auto huge = desk.Meter("Huge");
  EXPECT_TRUE(desk.Settles(desk.WaitForWindow(right->Pid()), {1080, 100, 200, 100}));
  EXPECT_TRUE(desk.Settles(desk.WaitForWindow(above->Pid()), {100, 0, 200, 100}));
  EXPECT_TRUE(desk.Mapped(desk.WaitForWindow(huge->Pid())));
  right->Signal(SIGTERM);
  EXPECT_EQ(right->WaitForExit(), 0);
  EXPECT_EQ(desk.Number("Right1", "Window Left"), 1080 * kTwipsPerPixel);
}

struct EndingCase {
  const char* name;
  const char* device;
  int signal;  // 0 for none
  bool close_button;
};
const EndingCase kEndings[] = {
    {"Button", "sim", 0, true},          {"Terminate", "sim", SIGTERM, false},
    {"Interrupt", "sim", SIGINT, false}, {"Hangup", "sim", SIGHUP, false},
    {"Host", "SM64:close=1", 0, false},
};

// Each end writes the whole section, also below a modal dialog where it can reach the meter there.
TEST(Program, EveryEndingSaves) {
  Desk desk(true);
  for (const bool in_dialog : {false, true}) {
    for (const EndingCase& ending : kEndings) {
      if (in_dialog && ending.close_button) continue;
      const std::string name = ending.name + std::string(in_dialog ? "InDialog" : "");
      SCOPED_TRACE(name);
      const auto meter = desk.Meter(name, {}, ending.device);
      const xcb_window_t window = desk.WaitForWindow(meter->Pid());
      if (in_dialog) {
        ASSERT_TRUE(WaitFor([&] { return desk.Focus() == window; }));
        desk.Key(',', {kControlKey});
        ASSERT_NE(desk.WaitForWindow(meter->Pid(), "Vanto Scope Configuration"), 0U);
      }
      if (ending.close_button) desk.CloseWindow(window);
      if (ending.signal != 0) meter->Signal(ending.signal);
      EXPECT_EQ(meter->WaitForExit(), 0) << meter->Errors();
      EXPECT_EQ(desk.Settings(name + "1").size(), 24U);
      EXPECT_EQ(meter->Errors(), "");
    }
  }
}

TEST(Program, DeadDisplaySavesWhatIsKnown) {
  Desk desk(false);
  desk.AddSettings(Placed("Tank1", 3000, 3000, 3000, 1500, 0));
  const auto meter = desk.Meter("Tank");
  const xcb_window_t window = desk.WaitForWindow(meter->Pid());
  ASSERT_TRUE(desk.Settles(window, {200, 200, 200, 100}));
  desk.KillServer();
  EXPECT_EQ(meter->WaitForExit(), 1);
  EXPECT_EQ(meter->Errors(), "");  // every meter of a group would say it
  EXPECT_EQ(desk.Settings("Tank1")["Window Left"], "3000");
  EXPECT_EQ(desk.Settings("Tank1")["Transparency"], "100");
}

TEST(Program, MeterOfAGroupTakesNoFocus) {
  Desk desk(true);
  const auto first = desk.Meter("First");
  const xcb_window_t window = desk.WaitForWindow(first->Pid());
  ASSERT_TRUE(WaitFor([&] { return desk.Focus() == window; }));
  const auto second = desk.Meter("Second", {{"VANTOSCOPE_NO_FOCUS", "1"}});
  const xcb_window_t other = desk.WaitForWindow(second->Pid());
  ASSERT_NE(other, 0U);
  desk.Rest(other);
  EXPECT_EQ(desk.Focus(), window);
}

struct StartErrorCase {
  const char* name;
  const char* device;
  const char* index;
  const char* part_of_message;
  int signal;  // that closes the box; 0 for the Return key
};
const StartErrorCase kStartErrors[] = {
    {"UnknownKind", "ZZ64", "0", "ZZ64", 0},
    {"MissingFile", "/nowhere/run.csv", "0", "/nowhere/run.csv", SIGTERM},
    {"IndexNotInList", "sim", "99", "99", SIGINT},
    {"IndexBelowTheList", "sim", "-7", "-7", SIGHUP},
};

TEST(Program, StartErrorsAreOneSentence) {
  Desk desk(true);
  for (const StartErrorCase& error : kStartErrors) {
    SCOPED_TRACE(error.name);
    const auto child =
        desk.Meter(error.name, {{"VANTOSCOPE_NO_FOCUS", "1"}}, error.device, error.index);
    const auto meter = desk.Meter(error.name, {}, error.device, error.index);
    const xcb_window_t box = desk.WaitForWindow(meter->Pid(), "Vanto Scope");
    ASSERT_NE(box, 0U);
    ASSERT_TRUE(WaitFor([&] { return desk.Focus() == box; }));
    if (error.signal != 0) {
      meter->Signal(error.signal);
    } else {
      desk.Key(kReturnKey);
    }
    for (const auto* process : {&meter, &child}) {
      EXPECT_EQ((*process)->WaitForExit(), 1);
      const std::string message = (*process)->Errors();
      EXPECT_THAT(message, StartsWith("vantoscope: "));
      EXPECT_THAT(message, HasSubstr(error.part_of_message));
      EXPECT_EQ(message.find('\n'), message.size() - 1) << message;
    }
    EXPECT_FALSE(std::filesystem::exists(desk.SettingsFile()));
  }
}

TEST(Program, WithoutADisplay) {
  const TemporaryFolder home;
  const Environment environment = {{"PATH", "/usr/bin:/bin"}, {"HOME", home.Path().string()}};
  Environment wrong = environment;
  wrong["DISPLAY"] = ":65000";
  for (const Environment& where : {environment, wrong}) {
    Process meter({VANTOSCOPE_PROGRAM}, where);
    EXPECT_EQ(meter.WaitForExit(), 1);
    EXPECT_THAT(meter.Errors(), StartsWith("vantoscope: "));
    EXPECT_EQ(meter.Errors().find('\n'), meter.Errors().size() - 1) << meter.Errors();
  }
  Process help({VANTOSCOPE_PROGRAM, "--help"}, environment);
  EXPECT_EQ(help.WaitForExit(), 0);
  EXPECT_THAT(help.Output(), HasSubstr("-iINDEX"));
  Process version({VANTOSCOPE_PROGRAM, "--version"}, environment);
  EXPECT_EQ(version.WaitForExit(), 0);
  EXPECT_THAT(version.Output(), StartsWith("vantoscope "));
}

/// Share of the pixels of `area` that have `color`.
double Share(const QImage& image, const QColor& color) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) count += image.pixelColor(x, y) == color;
  }
  return static_cast<double>(count) / (image.width() * image.height());
}

// An alarm in each colour on a coloured ground, as pixels; 255 is red, 16711680 blue.
TEST(Program, AlarmColoursReachTheScreen) {
  Desk desk(false);
  const std::string settings =
      "Alarm Enabled=True\nBackground Color=65535\nHigh Limit Color=255\n"
      "Low Limit Color=16711680\nForeground Color=32768\n";
  desk.AddSettings(Placed("High1", 0, 0, 4500, 1500, 0) + settings + "High Limit Value=-1000\n" +
                   Placed("Low1", 0, 3000, 4500, 1500, 0) + settings + "Low Limit Value=900\n" +
                   Placed("In1", 0, 6000, 4500, 1500, 0) + settings);
  const auto high = desk.Meter("High");
  const auto low = desk.Meter("Low");
  const auto in = desk.Meter("In");
  const QColor text[] = {QColor(255, 0, 0), QColor(0, 0, 255), QColor(0, 128, 0)};
  const Process* meters[] = {high.get(), low.get(), in.get()};
  for (int i = 0; i < 3; ++i) {
    const xcb_window_t window = desk.WaitForWindow(meters[i]->Pid());
    ASSERT_TRUE(desk.Settles(window, {0, i * 200, 300, 100}));
    EXPECT_TRUE(WaitFor([&] {
      const QImage image = desk.Screenshot(desk.Client(window));
      return Share(image, text[i]) > 0.05 && Share(image, QColor(255, 255, 0)) > 0.5;
    })) << i;
  }
}

}  // namespace
}  // namespace vantoscope::test
