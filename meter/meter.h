// SPDX-License-Identifier: GPL-3.0-or-later
// One meter: its two records and the seams to the world. Passed explicitly to every rule.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "meter/data_source.h"
#include "meter/evaluator.h"
#include "meter/meter_state.h"
#include "meter/meter_window.h"
#include "meter/process_start.h"
#include "meter/profile.h"
#include "meter/reading_state.h"

namespace vantoscope {

/// What a meter expects of the machine below it.
struct Platform {
  /// What parts whole numbers from decimals where the user lives.
  std::function<std::string()> DecimalSeparator;
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
  TickRecord ticks{};
};

}  // namespace vantoscope
