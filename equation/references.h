// SPDX-License-Identifier: GPL-3.0-or-later
// References to channels as people write and read them: CH, perhaps a past in brackets, a label,
// perhaps a suffix. What they mean is the normaliser's affair.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "equation/normaliser.h"
#include "equation/tokens.h"

namespace vantoscope {

/// The front of a text as a reference: `ch` in any case, then what is there of past and label.
struct Reference {
  std::string_view keyword;  ///< CH as it is written
  std::string_view past;     ///< with its brackets, "[T-5]"; without the closing one if it lacks
  std::string_view label;    ///< a capital or none, and digits; empty where there is no digit
  std::size_t size = 0;      ///< bytes of all of it
};
std::optional<Reference> ReadReference(std::string_view text);

/// The labels of a channel list.
class ChannelLabels {
 public:
  explicit ChannelLabels(Meter& meter)
      : channels_(LabelledChannels(meter)), names_(meter.runtime.StatisticNames) {}

  [[nodiscard]] bool Has(std::string_view label) const;
  /// Of the channel at that place of the list; empty where it has none.
  [[nodiscard]] std::string LabelAt(std::int16_t index) const;
  /// A token as a user writes it: "CH[T-5]A3", or the token itself where the channel has no label.
  [[nodiscard]] std::string Written(const EquationToken& token) const;
  /// "1 to 8, A1 to A4"
  [[nodiscard]] std::string Text() const;

 private:
  std::vector<LabelledChannel> channels_;
  std::array<std::string, 6> names_;
};

}  // namespace vantoscope
