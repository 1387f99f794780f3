// SPDX-License-Identifier: GPL-3.0-or-later
// A meter over spies. What it asks of the world behind its seams is answered from plain fields and
// written into one log, so that a test can check the order of calls across all seams.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "meter/meter.h"

namespace vantoscope::test {

struct Log : std::vector<std::string> {
  /// One entry: its parts with blanks between.
  template <class... Parts>
  void Add(const char* word, const Parts&... parts) {
    std::ostringstream entry;
    entry.precision(17);
    entry << word;
    ((entry << ' ' << parts), ...);
    push_back(entry.str());
  }
  /// The entries with a bar behind each: all, or those that open with one of `words`.
  [[nodiscard]] std::string Text(const std::set<std::string>& words = {}) const {
    std::string text;
    for (const std::string& entry : *this)
      if (words.empty() || words.contains(entry.substr(0, entry.find(' ')))) text += entry + "|";
    return text;
  }
};

/// A block as its channels, each a list of samples; without channels an Empty one.
using Scans = std::vector<std::vector<double>>;

inline std::optional<Block> MakeBlock(const Scans& scans) {
  if (scans.empty()) return std::nullopt;
  Block block(scans.size(), scans[0].size());
  for (std::size_t c = 0; c < scans.size(); ++c) std::ranges::copy(scans[c], &block(c, 0));
  return block;
}

struct SpyChannel {
  std::int16_t number = 1;
  double low = -10, high = 10;
  std::string unit = "V";
  double latest = 0;
};

/// Every operation of the source is logged, and of the window the orders. A read of a key is logged
/// as "?key", a write as "!key=value".
struct SpyMeter : Telvix1, MeterWindow, ProfileOperations, ProcessStart {
  using View = std::string_view;

  Log log;
  std::set<std::string> failing;  ///< operations of the source, or "Evaluate", that throw
  std::string device = "SM64";
  std::vector<SpyChannel> channels{SpyChannel{}};
  std::function<Scans(int count)> scans = [](int) { return Scans{}; };
  double answer = 0;  ///< of the evaluator

  std::string title = "Form1", label_text = "009000";
  Twips left{300}, top{450}, width{6600}, height{3900};
  bool has_place = true;
  Points client_height{174}, label_height{0};
  std::int16_t border_style = kFramed;
  bool timer1 = false, alpha_refused = false;
  double cursor_x = 0;
  std::function<void()> resized = [] {};        ///< runs at a change of size
  std::function<void()> while_message = [] {};  ///< runs while a message box is open

  std::map<std::string, std::string> stored;  ///< keys and values of the settings
  std::set<std::string> places;               ///< where keys were read and written

  struct SpyEvaluator : Evaluator {
    explicit SpyEvaluator(SpyMeter& spy_meter) : spy(spy_meter) {}
    double Evaluate(View text) override {
      spy.log.Add("Evaluate", text);
      return spy.failing.contains("Evaluate") ? throw EvaluationError("refused") : spy.answer;
    }
    SpyMeter& spy;
  };
  Platform platform{[] { return "."; }, [this] { return std::make_unique<SpyEvaluator>(*this); },
                    *this, *this};
  Meter meter{*this, *this, platform};
  MeterConfig& config = meter.config;
  MeterRuntime& runtime = meter.runtime;

  SpyMeter() {
    runtime.DecimalSep = ".";
    runtime.DisplayFormat = "0.000";
    runtime.StatisticNames = {"min", "max", "ave", "rms", "acrms", "freq"};
    runtime.ChannelsPerBank = 32;
    runtime.EquationEngine = platform.CreateEvaluator();
  }
  /// A list of channels with these numbers.
  void SetNumbers(const std::vector<int>& numbers) {
    channels.clear();
    for (const int n : numbers) channels.push_back({static_cast<std::int16_t>(n)});
  }

  /// From here on channel j holds value_of(j, k), k scans before the newest.
  void Hold(const std::function<double(int j, int k)>& value_of) {
    scans = [this, value_of](int count) {
      Scans made(channels.size());
      for (std::size_t j = 0; j < made.size(); ++j)
        for (int k = count - 1; k >= 0; --k) made[j].push_back(value_of(static_cast<int>(j), k));
      return made;
    };
  }

  std::string DeviceName() override { return Ask("DeviceName"), device; }
  void SetDeviceName(const std::string& d) override { Ask("SetDeviceName", d), device = d; }
  void SetStartupToggle(std::int16_t value) override { Ask("StartupToggle", value); }
  void Start() override { Ask("Start"); }
  void Stop() override { Ask("Stop"); }
  std::int16_t ChannelCount() override {
    return Ask("ChannelCount"), static_cast<std::int16_t>(channels.size());
  }
  double SampleRate() override { return Ask("SampleRate"), 1000; }
  double ScaleHigh(std::int16_t c) override { return At("ScaleHigh", c).high; }
  double ScaleLow(std::int16_t c) override { return At("ScaleLow", c).low; }
  double LatestValue(std::int16_t c) override { return At("LatestValue", c).latest; }
  std::int16_t ChannelNumber(std::int16_t c) override { return At("ChannelNumber", c).number; }
  std::string EngUnit(std::int16_t c) override { return At("EngUnit", c).unit; }
  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    return Ask("GetData", count, mode), MakeBlock(scans(count));
  }
  void CheckHost() override {}

  std::string Title() override { return title; }
  void SetTitle(View t) override { title = t, log.Add("Title", t); }
  Twips Left() override { return left; }
  Twips Top() override { return top; }
  Twips Width() override { return width; }
  Twips Height() override { return height; }
  bool HasPlace() override { return has_place; }
  void SetLeft(Twips l) override { left = l, log.Add("Left", l.value); }
  void SetTop(Twips t) override { top = t, log.Add("Top", t.value); }
  void SetWidth(Twips w) override { width = w, log.Add("Width", w.value), resized(); }
  void SetHeight(Twips h) override { height = h, log.Add("Height", h.value), resized(); }
  std::int16_t BorderStyle() override { return border_style; }
  void SetBorderStyle(std::int16_t s) override { border_style = s, log.Add("BorderStyle", s); }
  void SetLayeredAlpha(std::uint8_t alpha) override {
    alpha_refused ? throw WindowError("No alpha", "display") : log.Add("Alpha", int{alpha});
  }
  void SetWindowPos(std::int16_t z) override { log.Add("SetWindowPos", z); }
  Points ClientWidth() override { return {325.5}; }
  Points ClientHeight() override { return client_height; }
  void SetBackColor(Color c) override { log.Add("BackColor", c); }
  void MoveLabel(Points x, Points y, Points w, Points h) override {
    label_height = h, log.Add("MoveLabel", x.value, y.value, w.value, h.value);
  }
  Points LabelHeight() override { return label_height; }
  void SetLabelFontSize(Points s) override { log.Add("LabelFontSize", s.value); }
  void SetLabelBackColor(Color c) override { log.Add("LabelBackColor", c); }
  void SetLabelForeColor(Color c) override { log.Add("LabelForeColor", c); }
  void SetLabelText(View t) override { label_text = t, log.Add("LabelText", t); }
  void ShowCommand1(bool v) override { log.Add("Command1", v ? "on" : "off"); }
  void EnableTimer1(bool e) override { timer1 = e, log.Add("Timer1", e ? "on" : "off"); }
  double CursorX() override { return cursor_x; }
  double TwipsPerPixelX() override { return kTwipsPerPixel; }
  void ShowMessage(MessageIcon icon, View text, View box_title) override {
    constexpr const char* kIcons[] = {"plain", "information", "critical"};
    log.Add("Message", kIcons[static_cast<int>(icon)], "[" + std::string(box_title) + "]", text);
    while_message();
  }
  void EndProcess() override { log.Add("EndProcess"); }

  std::string GetPrivateProfileString(View section, View key, View fallback,
                                      const std::string& file) override {
    places.insert(file + " [" + std::string(section) + "]");
    log.push_back("?" + std::string(key));
    return stored.contains(std::string(key)) ? stored[std::string(key)] : std::string(fallback);
  }
  void WritePrivateProfileKeys(View section, std::span<const ProfileKey> keys,
                               const std::string& file) override {
    places.insert(file + " [" + std::string(section) + "]");
    for (const auto& [key, value] : keys) {
      log.push_back("!" + std::string(key) + "=" + value);
      stored[std::string(key)] = value;
    }
  }

  void Start(const std::string& command, int style) override { log.Add("Process", style, command); }

 private:
  template <class... Arguments>
  void Ask(const char* operation, const Arguments&... arguments) {
    log.Add(operation, arguments...);
    if (failing.contains(operation)) throw SourceError(std::string(operation) + " failed");
  }
  SpyChannel& At(const char* operation, std::int16_t channel) {
    return Ask(operation, channel), channels.at(static_cast<std::size_t>(channel));
  }
};

}  // namespace vantoscope::test
