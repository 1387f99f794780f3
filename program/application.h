// SPDX-License-Identifier: GPL-3.0-or-later
// The toolkit's application object, made so that nothing of the desktop costs or changes a meter.
#pragma once

#include <QApplication>
#include <QFont>
#include <functional>
#include <memory>
#include <string>

namespace vantoscope {

/// `program` is the only argument the toolkit sees: the rest of the command line is the meter's.
/// Number formats of the process are those of the "C" locale afterwards. Without a display it says
/// so on standard error and to `on_failure`, and ends the process with exit code 1. A display that
/// goes away later ends the process by std::exit(1), without a word.
std::unique_ptr<QApplication> CreateApplication(std::string program,
                                                std::function<void(const std::string&)> on_failure);

/// Ends the process in the same way where not even digits can be shown, each character an empty
/// box. Loads the font, which costs a millisecond unless it is going to be shown anyway.
void RequireDigits(const QFont& font);

}  // namespace vantoscope
