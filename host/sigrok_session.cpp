// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/sigrok_session.h"

#include <utility>

#include "sources/signals_blocked.h"

namespace vantoscope {
namespace {

OpenSession NewSession(sr_context* context) {
  sr_session* session = nullptr;
  CheckSigrok(sr_session_new(context, &session), "begin a session");
  return OpenSession(session);
}

}  // namespace

SigrokSession::SigrokSession(const SigrokInstrument& instrument, Events events)
    : events_(std::move(events)), session_(NewSession(instrument.Context())) {
  const auto on_packet = [](const sr_dev_inst*, const sr_datafeed_packet* packet, void* self) {
    static_cast<SigrokSession*>(self)->events_.packet(*packet);
  };
  CheckSigrok(sr_session_dev_add(session_.get(), instrument.Handle()), "add the instrument");
  CheckSigrok(sr_session_datafeed_callback_add(session_.get(), on_packet, this),
              "listen to the instrument");
  std::promise<int> starting;
  std::future<int> started = starting.get_future();
  {
    const SignalsBlocked blocked;
    thread_ = std::jthread(&SigrokSession::Run, this, std::move(starting));
  }
  CheckSigrok(started.get(), "start the instrument");
}

SigrokSession::~SigrokSession() { sr_session_stop(session_.get()); }

void SigrokSession::Run(std::promise<int> started) {
  // The library attaches the instrument to the main context of the thread that starts it.
  const GlibMainContext loop(g_main_context_new());
  g_main_context_push_thread_default(loop.get());
  const int code = sr_session_start(session_.get());
  started.set_value(code);
  if (code == SR_OK) {
    sr_session_run(session_.get());
    events_.ended();
  }
  g_main_context_pop_thread_default(loop.get());
}

}  // namespace vantoscope
