// SPDX-License-Identifier: GPL-3.0-or-later
// A meter without a screen, for benchmarks: a window that keeps the last text and does nothing
// else, a profile without keys, no process start.
#pragma once

#include <string>

#include "equation/muparser_evaluator.h"
#include "meter/meter.h"
#include "meter/startup.h"
#include "sources/device_control.h"

namespace vantoscope::bench {

class QuietWindow : public MeterWindow {
 public:
  std::string text;
  std::int32_t color = 0;

  std::string Title() override { return "Form1"; }
  void SetTitle(std::string_view) override {}
  Twips Left() override { return {}; }
  Twips Top() override { return {}; }
  Twips Width() override { return {3000}; }
  Twips Height() override { return {1000}; }
  void SetLeft(Twips) override {}
  void SetTop(Twips) override {}
  void SetWidth(Twips) override {}
  void SetHeight(Twips) override {}
  bool HasPlace() override { return true; }
  std::int16_t BorderStyle() override { return kFramed; }
  void SetBorderStyle(std::int16_t) override {}
  void SetLayeredAlpha(std::uint8_t) override {}
  void SetWindowPos(std::int16_t) override {}
  Points ClientWidth() override { return {150}; }
  Points ClientHeight() override { return {50}; }
  void SetBackColor(std::int32_t) override {}
  void MoveLabel(Points, Points, Points, Points) override {}
  Points LabelHeight() override { return {50}; }
  void SetLabelFontSize(Points) override {}
  void SetLabelBackColor(std::int32_t) override {}
  void SetLabelForeColor(std::int32_t c) override { color = c; }
  void SetLabelText(std::string_view t) override { text = t; }
  void ShowCommand1(bool) override {}
  void EnableTimer1(bool) override {}
  double CursorX() override { return 0; }
  double TwipsPerPixelX() override { return kTwipsPerPixel; }
  void ShowMessage(MessageIcon, std::string_view, std::string_view) override {}
  void EndProcess() override {}
};

class EmptyProfile : public ProfileOperations {
 public:
  std::string GetPrivateProfileString(std::string_view, std::string_view, std::string_view fallback,
                                      const std::string&) override {
    return std::string(fallback);
  }
  void WritePrivateProfileKeys(std::string_view, std::span<const ProfileKey>,
                               const std::string&) override {}
};

class NoProcesses : public ProcessStart {
 public:
  void Start(const std::string&, int) override {}
};

/// A started meter on the first channel of a simulator.
struct QuietMeter {
  DeviceControl telvix;
  QuietWindow form;
  EmptyProfile profile;
  NoProcesses processes;
  Platform platform{[] { return std::string("."); }, CreateMuParserEvaluator, profile, processes};
  Meter meter{telvix, form, platform};

  explicit QuietMeter(std::int64_t channels) {
    StartUp(meter, "-dSM64:channels=" + std::to_string(channels) + " -nBench -i0");
  }
};

}  // namespace vantoscope::bench
