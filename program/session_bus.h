// SPDX-License-Identifier: GPL-3.0-or-later
// The session bus of this process, over which screen readers hear of it.
#pragma once

namespace vantoscope {

/// Settles in the environment on the bus that is named there, else on the one in the runtime
/// folder, else on none. Left open, every process that asks for a bus would launch one, as on a
/// bare X server or over ssh.
void ChooseSessionBus();

}  // namespace vantoscope
