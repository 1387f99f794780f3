// SPDX-License-Identifier: GPL-3.0-or-later
// Recordings, kind FI: CSV and sound files, replayed at their rate, and CSV files followed while a
// recorder writes them. What the columns of a CSV file mean stands in csv_layout.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/device_text.h"

namespace vantoscope {

inline constexpr std::uint64_t kWholeBytes = std::uint64_t{1} << 23U;

/// The rest is the path of a file or of a named pipe, or - for standard input. Options:
///   follow        show what a recorder appends to the CSV file; a stream is always followed
///   follow=rotate and go on with the next file at the path, with the start of a truncated one, or
///                 with the next writer of a named pipe, where the columns are the same
///   loop          replay over and over, by the clock alone, so all meters are in step
///   start=S       replay so that scan 0 is taken S seconds after the Unix epoch; without loop it
///   is
///                 the time of opening and shows in the device text, so that whoever opens that
///                 text is in step
///   rate=R        scans per second, 0.001 to 1000000; else that of the sound file, that of the
///                 times in the CSV file, or 1 without times
///   dates=dmy|mdy whether 01/02/2024 is in February or in January, where the file leaves it open
///   range=LO..HI  range of the analog channels. CSV: the values stay what they are, and the
///                 range grows to enclose them. Sound: the values that full scale stands for
///
/// A file of more than `whole_bytes` is read while it is played, a smaller one and a compressed
/// sound file at once. Either way the file system is waited for on another thread, while
/// `meanwhile` is called.
///
/// Replay: the first scan stands for everything before scan 0, and the host is gone after the last
/// one. The range of a CSV channel is that of its values; that of a large file has room around a
/// part of them, and grows to enclose what is played. Lines whose times have unequal steps are
/// replayed at their own times; times that cannot be read, do not rise or run backwards are
/// refused, but far into a large file the recording ends where they do.
///
/// Follow: blocks come from the newest 32768 scans; of a long file only the end is read. Without
/// range= it is the smallest of 1, 2, 5, 10, 20 ... to both sides that holds twice the values there
/// are at opening; a later value beyond it widens it in the same way.
///
/// Streams: the device opens when the first lines have come, which it waits for.
///
/// What is missing or unreadable is nan, over range an infinity. The host is gone when the file
/// vanishes, is replaced or is truncated, unless follow=rotate goes on, and when the writer of a
/// stream closes it. Special channels are columns of their names, DigIn,
/// Cntr and RCntr; a byte of DigIn may be written signed. Analog channels are numbered from 1 in
/// file order, without 999. Throws SourceError with what, which and why.
std::unique_ptr<Device> OpenRecording(DeviceText device, Clock clock,
                                      const Meanwhile& meanwhile = {},
                                      std::uint64_t whole_bytes = kWholeBytes);

/// Why the recording is waited for.
std::string NotOpenYet(const std::string& path);

}  // namespace vantoscope
