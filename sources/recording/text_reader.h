// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a text beside the thread that shows it, which never waits long.
#pragma once

#include <memory>

#include "sources/recording/text_source.h"

namespace vantoscope {

class TextReader {
 public:
  virtual ~TextReader() = default;

  /// What has come since the last call, and whether the text hangs.
  virtual TextNews Take() = 0;

  /// Reads when it is asked, in the call.
  static std::unique_ptr<TextReader> Here(std::unique_ptr<TextSource> source);
  /// Reads on a thread of its own, which is left behind where it hangs: a source that waits for
  /// what comes all the time, another one when it is asked. A call stays for the answer while that
  /// comes within a tenth of a second.
  static std::unique_ptr<TextReader> Beside(std::unique_ptr<TextSource> source);
};

}  // namespace vantoscope
