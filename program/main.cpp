// SPDX-License-Identifier: GPL-3.0-or-later
// The program: one process is one meter. Puts the real parts behind the seams, wires the events of
// the window to the rules, and ends the meter in each of the ways in which it can end.
#include <QTimer>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "equation/muparser_evaluator.h"
#include "groups/command_line.h"
#include "groups/command_words.h"
#include "groups/group_process_start.h"
#include "groups/launch_order.h"
#include "groups/launches.h"
#include "groups/section_claim.h"
#include "meter/startup.h"
#include "meter/tick.h"
#include "presentation/form0.h"
#include "presentation/message_box.h"
#include "presentation/window_behaviour.h"
#include "program/application.h"
#include "program/decimal_separator.h"
#include "program/ending.h"
#include "program/group_places.h"
#include "program/launch_watch.h"
#include "program/list_command.h"
#include "program/meter_watch.h"
#include "program/nursery.h"
#include "program/preload.h"
#include "program/screen_reader.h"
#include "program/session_bus.h"
#include "program/shortcuts.h"
#include "program/termination.h"
#include "program/usage.h"
#include "program/waiting_box.h"
#include "settings/command1_click.h"
#include "settings/dialog.h"
#include "settings/profile_file.h"
#include "sources/device_control.h"
#include "sources/open_device.h"
#include "sources/shared_library.h"
#include "sources/standard_descriptors.h"

namespace vantoscope {
namespace {

constexpr int kCheckHostMilliseconds = 200;  // as the tick of the reading: one wake-up serves both

/// What stands behind the program's own name, as one text, parted by single spaces.
std::string CommandLine(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 1; i < words.size(); ++i) {
    if (i > 1) text += ' ';
    text += words[i];
  }
  return text;
}

/// What a group launch left in the environment of this process.
std::optional<std::string> TakeText(const char* variable) {
  std::optional<std::string> text;
  if (const char* value = std::getenv(variable)) text = value;
  unsetenv(variable);
  return text;
}

/// True when a group launch left that mark for this process. The processes that this one starts are
/// told anew.
bool TakeMark(const char* variable) { return TakeText(variable).has_value(); }

void Wire(Meter& meter, DeviceControl& telvix, Form0& form, MeterWatch& watch,
          ScreenReader& reader) {
  form.OnResize = [&] { ResizeRule(meter); };
  form.OnLabelDoubleClick = [&] { SwapLook(meter); };
  form.OnTimer1 = [&] {
    Timer1Tick(meter);
    watch.LookAfterTick();
    reader.Look();
  };
  form.OnTimer2 = [&] { HoverRule(form); };
  form.OnCommand1Click = [&] {
    watch.SetResting(true);
    Command1Click(meter, ModalDialog(form, [&] {
                    return std::make_unique<EquationHelp>(
                        meter, [&](std::int16_t channel) { return telvix.ChannelName(channel); });
                  }));
    watch.SetResting(false);
  };
  form.OnAskAbout = [&] { return watch.About(); };
  form.OnAskSpoken = [&] { return reader.Spoken(); };
  form.OnUnload = [&] { UnloadMeter(meter); };
  meter.telvix.HostClosed = [&] {
    form.LookAgain();
    watch.SayWhyHostClosed();
    EndByHost(meter);
  };
}

/// As if the user had closed the window, which a modal box above it would not let happen.
void CloseOnRequest(Form0& form) {
  if (QApplication::activeModalWidget() == nullptr) {
    form.close();
    return;
  }
  form.Unload();
  form.EndProcess();
}

void CloseBox() {
  if (QWidget* box = QApplication::activeModalWidget()) box->close();
}

void ShowStartBox(MessageIcon icon, const std::string& text) {
  RequireDigits(QFont());
  ShowMessageBox(nullptr, icon, text, "");
}

void ReportStartError(const SourceError& error, const WordCheck& words, bool quietly,
                      LaunchReport& launcher) {
  std::cerr << "vantoscope: " << error.what() << std::endl;
  launcher.Failed(error.what());
  // One box per process would be a screen full of them in a group: the first meter shows one.
  if (quietly) return;
  ShowStartBox(MessageIcon::Critical, WithSentences(error.what(), words));
}

/// Every meter of a group reads its device on its own.
void RefuseGroupOnStream(std::string_view command_line, const Meanwhile& meanwhile) {
  const auto device = ValueBehind('D', command_line.substr(0, command_line.find(' ')));
  if (device && OpensGroup(command_line)) RefuseStream(std::string(*device), meanwhile);
}

WordCheck SayWordsWithoutEffect(const std::string& command_line) {
  WordCheck words = CheckWords(command_line);
  for (const std::string& sentence : words.sentences) {
    std::cerr << "vantoscope: " << sentence << std::endl;
  }
  return words;
}

void SaySectionIsShared(const std::string& section) {
  std::cerr << "vantoscope: Another meter keeps its settings in the section [" << ShownWord(section)
            << "] too; the one that ends last wins." << std::endl;
}

/// When the display dies, the toolkit leaves by std::exit, and what stands on the stack still lives
/// then: the settings are saved all the same.
class UnloadAtExit {
 public:
  explicit UnloadAtExit(Form0& form) {
    open_form = &form;
    std::atexit([] {
      if (open_form != nullptr) open_form->Unload();
    });
  }
  ~UnloadAtExit() { open_form = nullptr; }
  UnloadAtExit(const UnloadAtExit&) = delete;
  UnloadAtExit& operator=(const UnloadAtExit&) = delete;

 private:
  static inline Form0* open_form = nullptr;
};

/// `nursery` is the socket to it, or -1.
int Run(const std::vector<std::string>& words_of_process, int nursery) {
  const std::string command_line = CommandLine(words_of_process);
  const bool in_group = TakeMark(kNoFocusVariable);
  const bool group_without_device = TakeMark(kNoDeviceVariable);
  std::optional<Corner> place = CornerFrom(TakeText(kPlaceVariable).value_or(""));
  const QMargins frame = TakeFrameOfGroup();
  LaunchReport launcher(IndexOf(command_line));
  const WordCheck words = SayWordsWithoutEffect(command_line);
  if (words.names_no_device) setenv(kNoDeviceVariable, "1", 1);
  std::signal(SIGXFSZ, SIG_IGN);  // a settings file at its size limit is a failed write, no end
  const auto application = CreateApplication(
      words_of_process[0], [&](const std::string& sentence) { launcher.Failed(sentence); });
  if (OpensGroup(command_line)) RequireDigits(QFont());  // once for all of its meters
  Form0 form(!in_group);
  WaitingBox waiting;
  const Meanwhile wait = [&](const std::string& sentence) { return waiting.Look(sentence); };
  DeviceControl telvix(SystemTime, wait);
  ProfileFile profile;
  Launches launches;
  GroupPlaces places(form, [&telvix] { return int{telvix.ChannelCount()}; });
  GroupProcessStart processes(
      nursery, launches, [&places](int index) { return places.Of(index); }, SharedLibrary::Loaded);
  Platform platform{DecimalSeparator, CreateMuParserEvaluator, profile, processes};
  Meter meter{telvix, form, platform};
  MeterWatch watch(meter, telvix, form);
  if (group_without_device) watch.SetNobodyNamedDevice();
  LaunchWatch launch_watch(launches, form);
  ScreenReader screen_reader(meter, telvix, form, watch);
  Wire(meter, telvix, form, watch, screen_reader);
  AddShortcuts(form, watch, [&] { SwapLook(meter); });

  // Both watch from every event loop, those of message boxes during start-up included.
  QTimer host_timer;
  QObject::connect(&host_timer, &QTimer::timeout, [&] {
    processes.Look();
    launch_watch.Look();
    launcher.Look();
    telvix.CheckHost();
  });
  host_timer.start(kCheckHostMilliseconds);
  TerminationRequests termination;
  termination.OnRequest = [&] { waiting.IsShown() ? waiting.GiveUp() : CloseOnRequest(form); };

  try {
    RefuseGroupOnStream(command_line, wait);
    StartUp(meter, command_line);
    processes.Finish();
  } catch (const SourceError& error) {
    processes.Finish();
    host_timer.stop();
    termination.OnRequest = CloseBox;
    termination.Watch();
    ReportStartError(error, words, in_group || waiting.GivenUp(), launcher);
    return EXIT_FAILURE;
  }
  termination.Watch();
  const UnloadAtExit display_may_die(form);
  QObject::connect(&host_timer, &QTimer::timeout, [&] {
    watch.Look();
    screen_reader.Look();
  });
  const SectionClaim claim(profile.PathOf(meter.runtime.IniFile), meter.runtime.SectionName);
  if (claim.IsShared()) SaySectionIsShared(meter.runtime.SectionName);
  if (words.names_no_device) {
    ShowStartBox(MessageIcon::Information, NoDeviceText(words));
  }
  if (OpensGroup(command_line)) place = places.Of(0);
  if (place) form.SuggestPlace({place->left, place->top});
  form.SuggestFrame(frame);
  form.Open();
  RequireDigits(form.ReadingFont());
  launcher.Started();
  return QApplication::exec();
}

int RunWithNursery(std::vector<std::string> words) {
  if (!OpensGroup(CommandLine(words))) return Run(words, -1);
  Preload();
  NurseryPlace here = OpenNursery();
  return Run(here.words.value_or(std::move(words)), here.socket);
}

}  // namespace
}  // namespace vantoscope

int main(int argc, char** argv) {
  vantoscope::FillStandardDescriptors();
  if (argc == 2) {
    if (const auto text = vantoscope::PrintedFor(argv[1])) {
      std::cout << *text;
      return EXIT_SUCCESS;
    }
  }
  if (argc > 1 && argv[1] == std::string_view("--list")) {
    return vantoscope::RunListCommand({argv + 2, argv + argc});
  }
  vantoscope::ChooseSessionBus();
  return vantoscope::RunWithNursery({argv, argv + argc});
}
