// Any text over any channel list through the normaliser, the preparation and two ticks, with the
// real evaluator behind them; and the text straight to the evaluator.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "equation/equation_tick.h"
#include "equation/muparser_evaluator.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"
#include "tests/support/recording.h"

namespace vantoscope {
namespace {

std::optional<double> ValueOf(Evaluator& evaluator, const std::string& text) {
  try {
    return evaluator.Evaluate(text);
  } catch (const EvaluationError&) {
    return std::nullopt;
  }
}

/// A text gives the same answer again, and leaves the evaluator able to give others.
void CheckEvaluator(Evaluator& evaluator, const std::string& text) {
  const std::optional<double> once = ValueOf(evaluator, text);
  if (ValueOf(evaluator, "(1.5-1.25)*1000.") != 250.0) std::abort();
  const std::optional<double> again = ValueOf(evaluator, text);
  if (once.has_value() != again.has_value()) std::abort();
  if (once && *once != *again && !(std::isnan(*once) && std::isnan(*again))) std::abort();
}

/// Every fetch finds other numbers.
class ChangingTelvix : public test::RecordingTelvix {
 public:
  using RecordingTelvix::RecordingTelvix;
  std::optional<Block> GetData(std::int16_t count, std::int32_t) override {
    constexpr double kValues[] = {1.5, -3, 0, 12, -.125, 1e-9, 1e300, NAN, INFINITY, -2.5, 100, 7};
    Block block(channels.size(), static_cast<std::size_t>(count));
    for (std::size_t c = 0; c < block.Channels(); ++c) {
      for (double& x : block.Channel(c)) x = kValues[next_++ % std::size(kValues)];
    }
    return block;
  }

 private:
  std::size_t next_ = 0;
};

}  // namespace
}  // namespace vantoscope

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantoscope;
  if (size < 3) return 0;
  static const std::unique_ptr<Evaluator> evaluator = CreateMuParserEvaluator();
  const std::string text(reinterpret_cast<const char*>(data) + 3, size - 3);
  CheckEvaluator(*evaluator, text);

  test::RecordingMeter rig;
  ChangingTelvix telvix(rig.log);
  Meter meter{telvix, rig.form, rig.platform};
  meter.runtime.StatisticNames = rig.meter.runtime.StatisticNames;
  meter.runtime.ChannelsPerBank = data[0] % 2 == 0 ? 16 : 32;
  meter.runtime.EquationEngine = CreateMuParserEvaluator();
  meter.config.WindowSize = data[0] % 5;
  telvix.channels.clear();
  for (int j = 0; j < data[1] % 64; ++j) {
    telvix.channels.push_back({.number = static_cast<std::int16_t>(1 + j * (1 + data[2] % 19))});
  }
  meter.runtime.PreparedEquation = NormaliseEquation(meter, text);
  if (PrepareEquation(meter, meter.runtime.PreparedEquation) != rig.form.timer1) std::abort();
  EquationTick(meter);
  EquationTick(meter);
  return 0;
}
