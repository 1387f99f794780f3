// SPDX-License-Identifier: GPL-3.0-or-later
// Opening a device beside the window: whatever hangs, the one who waits can give up at once.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "sources/device.h"

namespace vantoscope {

/// What the thread that opens a device and the one that waits for it tell each other.
class Opening {
 public:
  explicit Opening(std::string missing) : missing_(std::move(missing)) {}

  /// What is waited for, in one sentence.
  void SetMissing(std::string sentence) {
    const std::scoped_lock lock(mutex_);
    missing_ = std::move(sentence);
  }
  [[nodiscard]] std::string Missing() {
    const std::scoped_lock lock(mutex_);
    return missing_;
  }
  void GiveUp() {
    const std::scoped_lock lock(mutex_);
    given_up_ = true;
  }
  /// Nobody waits any more: what is opened would be thrown away.
  [[nodiscard]] bool GivenUp() {
    const std::scoped_lock lock(mutex_);
    return given_up_;
  }

 private:
  std::mutex mutex_;
  std::string missing_;
  bool given_up_ = false;
};

using Open = std::function<std::unique_ptr<Device>(Opening&)>;

/// What `open` gives or throws, with `missing` for what is waited for at first. With a `meanwhile`
/// it runs on a thread of its own, which is left behind when the user gives up: then it throws
/// SourceError with what is missing, and `open` may use nothing but what it owns. Without one it
/// runs here.
std::unique_ptr<Device> OpenBeside(Open open, const std::string& missing,
                                   const Meanwhile& meanwhile);

}  // namespace vantoscope
