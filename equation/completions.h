// SPDX-License-Identifier: GPL-3.0-or-later
// What can be written at a place of an equation: channels, what stands behind them, functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "equation/traced_text.h"
#include "meter/meter.h"

namespace vantoscope {

/// A channel as a list of completions tells of it.
struct OfferedChannel {
  std::int16_t index = 0;
  std::string label;    ///< behind CH; empty where it has none
  std::string meaning;  ///< name, unit and range
};

/// The channels of the list in its order; `name_of` tells what the device calls one.
std::vector<OfferedChannel> OfferedChannels(
    Meter& meter, const std::function<std::string(std::int16_t)>& name_of);

struct Completion {
  std::string text;     ///< what goes into the equation
  std::string shown;    ///< the same with its arguments
  std::string meaning;  ///< a few words

  bool operator==(const Completion&) const = default;
};

struct CompletionList {
  Span word;           ///< what a completion replaces, in bytes
  bool whole = false;  ///< the word is complete as it is
  std::vector<Completion> items;
};

/// What the word that ends or goes on at byte `cursor` can become, the best first. At the front of
/// a word it is everything; nothing inside a number.
CompletionList CompletionsAt(std::string_view equation, std::size_t cursor,
                             const std::vector<OfferedChannel>& channels);

}  // namespace vantoscope
