// SPDX-License-Identifier: GPL-3.0-or-later
// What every meter of a group loads and reads alike, done once before they are forked.
#pragma once

namespace vantoscope {

/// Loads the libraries that a meter opens while it runs, and the configuration of the fonts. Makes
/// no thread and no connection. What cannot be loaded is left to the meters.
void Preload();

}  // namespace vantoscope
