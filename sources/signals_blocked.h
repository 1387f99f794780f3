// SPDX-License-Identifier: GPL-3.0-or-later
// Threads that no signal interrupts.
#pragma once

#include <csignal>

namespace vantoscope {

/// While it stands, this thread takes no signal, and a thread that it begins never does.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace vantoscope
