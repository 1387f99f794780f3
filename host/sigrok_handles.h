// SPDX-License-Identifier: GPL-3.0-or-later
// What libsigrok hands out, each with the function that gives it back.
#pragma once

#include <libsigrok/libsigrok.h>

#include <memory>
#include <string>

#include "meter/data_source.h"

namespace vantoscope {

template <auto kGiveBack>
struct GiveBack {
  template <typename Handle>
  void operator()(Handle* handle) const {
    kGiveBack(handle);
  }
};

using SigrokContext = std::unique_ptr<sr_context, GiveBack<sr_exit>>;
using OpenInstrument = std::unique_ptr<sr_dev_inst, GiveBack<sr_dev_close>>;
using OpenSession = std::unique_ptr<sr_session, GiveBack<sr_session_destroy>>;
using GlibVariant = std::unique_ptr<GVariant, GiveBack<g_variant_unref>>;
using GlibList = std::unique_ptr<GSList, GiveBack<g_slist_free>>;  // not what it points to
using GlibMainContext = std::unique_ptr<GMainContext, GiveBack<g_main_context_unref>>;
using GlibText = std::unique_ptr<char, GiveBack<g_free>>;

/// Throws SourceError unless the library did it. `what` completes "libsigrok cannot ...".
inline void CheckSigrok(int code, const std::string& what) {
  if (code == SR_OK) return;
  throw SourceError("libsigrok cannot " + what + ": " + sr_strerror(code) + ".");
}

}  // namespace vantoscope
