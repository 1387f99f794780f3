// One meter: its two records and the seams to the world. Passed explicitly to every rule.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "meter/data_source.h"
#include "meter/meter_state.h"
#include "platform/evaluator.h"
#include "platform/meter_window.h"
#include "platform/process_start.h"
#include "platform/profile.h"

namespace vantoscope {

/// What a meter expects of the machine below it.
struct Platform {
  /// A number in the locale's default format, as people here write it: 3.333 or 3,333.
  std::function<std::string(double)> LocaleNumberText;
  std::function<std::unique_ptr<Evaluator>()> CreateEvaluator;
  ProfileOperations& profile;
  ProcessStart& processes;
};

struct Meter {
  Telvix1& telvix;
  MeterWindow& form;
  Platform& platform;
  MeterConfig config{};
  MeterRuntime runtime{};
};

}  // namespace vantoscope
