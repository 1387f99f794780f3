// Test doubles behind the seams of a meter. Each writes what is asked of it into one shared log,
// so that a test can check the order of calls across all of them.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "meter/meter.h"
#include "text/picture.h"

namespace vantoscope::test {

using Log = std::vector<std::string>;

inline std::string Plain(double value) { return FormatPicture(value, "", "."); }

/// A block from its channels, each a list of samples.
inline Block MakeBlock(const std::vector<std::vector<double>>& channels) {
  Block block(channels.size(), channels.empty() ? 0 : channels[0].size());
  for (std::size_t c = 0; c < channels.size(); ++c) {
    for (std::size_t s = 0; s < channels[c].size(); ++s) block(c, s) = channels[c][s];
  }
  return block;
}

struct RecordingChannel {
  std::int16_t number = 1;
  double low = -10;
  double high = 10;
  std::string unit = "V";
  double latest = 0;
};

/// A source that answers from its fields. GetData takes the next entry of `blocks`, the last one
/// for ever; without entries it is Empty. A name in `failing` makes that operation throw.
class RecordingTelvix : public Telvix1 {
 public:
  explicit RecordingTelvix(Log& log) : log_(log) {}

  std::string device = "SM64";
  std::vector<RecordingChannel> channels{RecordingChannel{}};
  double rate = 1000;
  std::deque<std::optional<Block>> blocks;
  std::map<std::string, bool> failing;
  int host_checks = 0;

  std::string DeviceName() override { return Note("DeviceName"), device; }
  void SetDeviceName(const std::string& text) override {
    Note("SetDeviceName " + text, "SetDeviceName");
    device = text;
  }
  void SetStartupToggle(std::int16_t value) override {
    Note("StartupToggle " + std::to_string(value), "StartupToggle");
  }
  void Start() override { Note("Start"); }
  void Stop() override { Note("Stop"); }
  std::int16_t ChannelCount() override {
    return Note("ChannelCount"), static_cast<std::int16_t>(channels.size());
  }
  double SampleRate() override { return Note("SampleRate"), rate; }
  double ScaleHigh(std::int16_t c) override { return Note("ScaleHigh", c), At(c).high; }
  double ScaleLow(std::int16_t c) override { return Note("ScaleLow", c), At(c).low; }
  double LatestValue(std::int16_t c) override { return Note("LatestValue", c), At(c).latest; }
  std::int16_t ChannelNumber(std::int16_t c) override {
    return Note("ChannelNumber", c), At(c).number;
  }
  std::string EngUnit(std::int16_t c) override { return Note("EngUnit", c), At(c).unit; }
  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    Note("GetData " + std::to_string(count) + " " + std::to_string(mode), "GetData");
    if (blocks.empty()) return std::nullopt;
    if (blocks.size() == 1) return Copy(blocks.front());
    std::optional<Block> block = std::move(blocks.front());
    blocks.pop_front();
    return block;
  }
  void CheckHost() override { ++host_checks; }

 private:
  static std::optional<Block> Copy(const std::optional<Block>& from) {
    if (!from) return std::nullopt;
    Block copy(from->Channels(), from->Samples());
    for (std::size_t c = 0; c < from->Channels(); ++c) {
      for (std::size_t s = 0; s < from->Samples(); ++s) copy(c, s) = (*from)(c, s);
    }
    return copy;
  }
  RecordingChannel& At(std::int16_t c) { return channels.at(static_cast<std::size_t>(c)); }
  void Note(const std::string& entry, std::string operation = "") {
    log_.push_back(entry);
    if (operation.empty()) operation = entry;
    if (failing[operation]) throw SourceError(operation + " failed");
  }
  void Note(const std::string& operation, std::int16_t channel) {
    Note(operation + " " + std::to_string(channel), operation);
  }

  Log& log_;
};

/// A window that keeps what it is told. Queries are not logged, orders are. With `resized` set, a
/// change of size calls it, as the real window does.
class RecordingWindow : public MeterWindow {
 public:
  explicit RecordingWindow(Log& log) : log_(log) {}

  std::string title = "Form1";
  Twips left{0}, top{0}, width{6600}, height{3900};
  bool has_place = true;
  std::int16_t border_style = kFramed;
  int alpha = 255;
  int z_order = 0;
  Points client_width{325.5}, client_height{174};
  Points label_height{0}, label_font{0};
  std::int32_t back_color = -1, label_back_color = -1, label_fore_color = -1;
  std::string label_text = "009000";
  bool command1 = true;
  bool timer1 = false;
  double cursor_x = 0;
  bool alpha_refused = false;
  bool ended = false;
  std::function<void()> resized;
  std::function<void()> while_message;  ///< runs while a message box is open

  std::string Title() override { return title; }
  void SetTitle(std::string_view t) override { title = t, Note("Title " + title); }
  Twips Left() override { return left; }
  Twips Top() override { return top; }
  Twips Width() override { return width; }
  Twips Height() override { return height; }
  void SetLeft(Twips l) override { left = l, Note("Left " + Plain(l.value)); }
  void SetTop(Twips t) override { top = t, Note("Top " + Plain(t.value)); }
  void SetWidth(Twips w) override { width = w, Note("Width " + Plain(w.value)), Resized(); }
  void SetHeight(Twips h) override { height = h, Note("Height " + Plain(h.value)), Resized(); }
  bool HasPlace() override { return has_place; }
  std::int16_t BorderStyle() override { return border_style; }
  void SetBorderStyle(std::int16_t s) override {
    border_style = s, Note("BorderStyle " + std::to_string(s));
  }
  void SetLayeredAlpha(std::uint8_t a) override {
    if (alpha_refused) throw WindowError("No layered windows", "display");
    alpha = a, Note("Alpha " + std::to_string(a));
  }
  void SetWindowPos(std::int16_t z) override {
    z_order = z, Note("SetWindowPos " + std::to_string(z));
  }
  Points ClientWidth() override { return client_width; }
  Points ClientHeight() override { return client_height; }
  void SetBackColor(std::int32_t c) override {
    back_color = c, Note("BackColor " + std::to_string(c));
  }
  void MoveLabel(Points, Points, Points, Points h) override { label_height = h, Note("MoveLabel"); }
  Points LabelHeight() override { return label_height; }
  void SetLabelFontSize(Points s) override {
    label_font = s, Note("LabelFontSize " + Plain(s.value));
  }
  void SetLabelBackColor(std::int32_t c) override {
    label_back_color = c, Note("LabelBackColor " + std::to_string(c));
  }
  void SetLabelForeColor(std::int32_t c) override {
    label_fore_color = c, Note("LabelForeColor " + std::to_string(c));
  }
  void SetLabelText(std::string_view t) override {
    label_text = t, Note("LabelText " + label_text);
  }
  void ShowCommand1(bool v) override { command1 = v, Note(v ? "Command1 on" : "Command1 off"); }
  void EnableTimer1(bool e) override { timer1 = e, Note(e ? "Timer1 on" : "Timer1 off"); }
  double CursorX() override { return cursor_x; }
  double TwipsPerPixelX() override { return kTwipsPerPixel; }
  void ShowMessage(MessageIcon icon, std::string_view text, std::string_view t) override {
    constexpr const char* kIcons[] = {"none", "information", "critical"};
    Note(std::string("Message ") + kIcons[static_cast<int>(icon)] + " [" + std::string(t) + "] " +
         std::string(text));
    if (while_message) while_message();
  }
  void EndProcess() override { ended = true, Note("EndProcess"); }

 private:
  void Note(const std::string& entry) { log_.push_back(entry); }
  void Resized() {
    if (resized) resized();
  }
  Log& log_;
};

/// An evaluator that answers `value` or fails.
class RecordingEvaluator : public Evaluator {
 public:
  RecordingEvaluator(Log& log, const double& value, const bool& failing)
      : log_(log), value_(value), failing_(failing) {}
  double Evaluate(std::string_view text) override {
    log_.push_back("Evaluate " + std::string(text));
    if (failing_) throw EvaluationError("refused");
    return value_;
  }

 private:
  Log& log_;
  const double& value_;
  const bool& failing_;
};

/// One section in memory; a missing key gives the fallback.
class RecordingProfile : public ProfileOperations {
 public:
  explicit RecordingProfile(Log& log) : log_(log) {}
  std::map<std::string, std::string> values;

  std::string GetPrivateProfileString(std::string_view section, std::string_view key,
                                      std::string_view fallback, const std::string& file) override {
    log_.push_back("Read " + file + " [" + std::string(section) + "] " + std::string(key));
    const auto found = values.find(std::string(key));
    return found == values.end() ? std::string(fallback) : found->second;
  }
  void WritePrivateProfileKeys(std::string_view section, std::span<const ProfileKey> keys,
                               const std::string& file) override {
    for (const auto& [name, value] : keys) {
      log_.push_back("Write " + file + " [" + std::string(section) + "] " + std::string(name) +
                     "=" + value);
      values[std::string(name)] = value;
    }
  }

 private:
  Log& log_;
};

class RecordingProcesses : public ProcessStart {
 public:
  explicit RecordingProcesses(Log& log) : log_(log) {}
  void Start(const std::string& command_text, int window_style) override {
    log_.push_back("Process " + std::to_string(window_style) + " " + command_text);
  }

 private:
  Log& log_;
};

/// A whole meter over recording seams.
struct RecordingMeter {
  Log log;
  double evaluator_value = 0;
  bool evaluator_failing = false;
  std::string separator = ".";
  RecordingTelvix telvix{log};
  RecordingWindow form{log};
  RecordingProfile profile{log};
  RecordingProcesses processes{log};
  Platform platform{[this] { return separator; },
                    [this]() -> std::unique_ptr<Evaluator> {
                      return std::make_unique<RecordingEvaluator>(log, evaluator_value,
                                                                  evaluator_failing);
                    },
                    profile, processes};
  Meter meter{telvix, form, platform};

  RecordingMeter() {
    meter.runtime.DecimalSep = ".";
    meter.runtime.DisplayFormat = "0.000";
    meter.runtime.StatisticNames = {"min", "max", "ave", "rms", "acrms", "freq"};
    meter.runtime.ChannelsPerBank = 32;
    meter.runtime.EquationEngine = platform.CreateEvaluator();
  }
};

}  // namespace vantoscope::test
