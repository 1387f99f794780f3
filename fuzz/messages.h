// SPDX-License-Identifier: GPL-3.0-or-later
// The input of a fuzz target as a run of messages: a byte that says the topic and whether it is
// retained, two bytes of length, the payload.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

struct Message {
  std::uint8_t kind = 0;
  std::span<const std::byte> payload;

  [[nodiscard]] const char* Leaf() const {
    constexpr const char* kLeaves[] = {"info", "state", "scan", "other"};
    return kLeaves[kind % 4];
  }
  [[nodiscard]] bool IsRetained() const { return (kind & 0x80) != 0; }
};

/// Calls `take` with each message behind the first byte of the input.
template <typename Take>
void ForEachMessage(std::span<const std::uint8_t> input, Take take) {
  constexpr std::size_t kHead = 3;
  for (std::size_t at = 1; at + kHead <= input.size();) {
    const std::size_t wanted = input[at + 1] + std::size_t{256} * input[at + 2];
    const std::size_t length = std::min(wanted, input.size() - at - kHead);
    take(Message{input[at], std::as_bytes(input.subspan(at + kHead, length))});
    at += kHead + length;
  }
}
