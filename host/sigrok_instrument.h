// SPDX-License-Identifier: GPL-3.0-or-later
// One instrument as libsigrok finds and configures it. What it measures comes from a session
// (sigrok_session.h).
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/sigrok_handles.h"
#include "host/sigrok_settings.h"

namespace vantoscope {

class SigrokInstrument {
 public:
  /// Opens the first instrument that the driver finds. Throws SourceError.
  explicit SigrokInstrument(const SigrokSettings& settings);

  /// Of its own; nothing for an instrument that is read value by value, such as a multimeter.
  [[nodiscard]] std::optional<double> SampleRate() const { return sample_rate_; }
  /// Those that are enabled, in the instrument's order.
  [[nodiscard]] std::vector<const sr_channel*> AnalogChannels() const;
  /// Bytes that hold one sample of all its logic channels.
  [[nodiscard]] std::size_t LogicBytes() const;
  /// What the channel can show: the vertical divisions of an oscilloscope, or the amplitude of a
  /// generator; nothing when the library tells neither.
  [[nodiscard]] std::optional<Range> RangeOf(const sr_channel& channel) const;

  [[nodiscard]] sr_context* Context() const { return context_.get(); }
  [[nodiscard]] sr_dev_inst* Handle() const { return opened_.get(); }

 private:
  void Open(const SigrokSettings& settings);
  void Set(const std::string& name, const std::string& value);
  void AskForRate(const std::optional<double>& wanted);
  [[nodiscard]] GlibVariant Read(const sr_channel_group* group, uint32_t key) const;
  [[nodiscard]] std::optional<double> Config(const sr_channel_group* group, uint32_t key) const;
  [[nodiscard]] std::vector<const sr_channel*> Enabled(int type) const;

  SigrokContext context_;
  OpenInstrument opened_;
  std::optional<double> sample_rate_;
};

}  // namespace vantoscope
