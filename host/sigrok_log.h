// SPDX-License-Identifier: GPL-3.0-or-later
// What libsigrok complains of while it looks for an instrument or reads it: its error codes alone
// tell little.
#pragma once

#include <string>

namespace vantoscope {

/// From now on the library's warnings and errors are kept instead of printed. To be called before
/// everything else of the library.
void ListenToSigrok();
/// The newest of them since the last call, without the name of the library's part and without a
/// full stop; empty if there was none. Callable from any thread.
std::string TakeSigrokComplaint();

}  // namespace vantoscope
