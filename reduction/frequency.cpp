#include "reduction/frequency.h"

namespace vantoscope {
namespace {

/// Two thresholds with a dead band between them, so that small ripple around the mean crosses
/// nothing. The band is centred on the mean, not on the middle of the range.
struct Thresholds {
  double UpperThreshold = 0;
  double LowerThreshold = 0;

  [[nodiscard]] bool Above(double x) const { return x > UpperThreshold; }
  [[nodiscard]] bool Below(double x) const { return x < LowerThreshold; }
};

Thresholds ThresholdsOf(std::span<const double> samples) {
  double Greatest = samples.front();
  double Least = samples.front();
  double Sum = 0;
  for (const double x : samples) {
    Sum += x;
    if (Greatest < x) Greatest = x;
    if (Least > x) Least = x;
  }
  const double Mean = Sum / static_cast<double>(samples.size());
  const double Band = (Greatest - Least) / 100;
  return {Mean + Band, Mean - Band};
}

/// Counts whole periods and their samples. A signal that starts above is measured from fall to
/// fall (10 to 12), one that starts below from rise to rise (20 to 22).
class PeriodCounter {
 public:
  PeriodCounter(Thresholds thresholds, double first)
      : thresholds_(thresholds),
        starts_above_(thresholds.Above(first)),
        starts_below_(thresholds.Below(first)) {}

  /// Takes the next sample, from the second on; at most one change of state.
  void Take(double x) {
    switch (State) {
      case 0:  // not yet placed; the first sample decides, so this one crosses nothing
        if (starts_above_) {
          State = 10;
        } else if (starts_below_) {
          State = 20;
        }
        break;
      case 10:  // started above: the first fall
        if (thresholds_.Below(x)) State = 11;
        break;
      case 11:  // below: the rise
        ++PeriodSamples;
        if (thresholds_.Above(x)) State = 12;
        break;
      case 12:  // above: the fall that closes the period
        ++PeriodSamples;
        if (thresholds_.Below(x)) Close(11);
        break;
      case 20:  // started below: the first rise
        if (thresholds_.Above(x)) State = 21;
        break;
      case 21:  // above: the fall
        ++PeriodSamples;
        if (thresholds_.Below(x)) State = 22;
        break;
      case 22:  // below: the rise that closes the period
        ++PeriodSamples;
        if (thresholds_.Above(x)) Close(21);
        break;
      default:
        break;
    }
  }

  [[nodiscard]] std::int16_t Periods() const { return PeriodCount; }
  [[nodiscard]] std::int16_t Samples() const { return TotalSamples; }

 private:
  void Close(std::int16_t next) {
    ++PeriodCount;
    TotalSamples = static_cast<std::int16_t>(TotalSamples + PeriodSamples);
    PeriodSamples = 0;
    State = next;
  }

  Thresholds thresholds_;
  bool starts_above_;
  bool starts_below_;
  std::int16_t State = 0;
  std::int16_t PeriodSamples = 0;
  std::int16_t PeriodCount = 0;
  std::int16_t TotalSamples = 0;
};

}  // namespace

double EstimateFrequency(std::span<const double> samples,
                         const std::function<double()>& sample_rate) {
  if (samples.empty()) return 0.0;
  PeriodCounter counter(ThresholdsOf(samples), samples.front());
  for (const double x : samples.subspan(1)) counter.Take(x);
  if (counter.Periods() == 0) return 0.0;
  return sample_rate() * counter.Periods() / counter.Samples();
}

}  // namespace vantoscope
