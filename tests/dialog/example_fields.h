// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/dialog_fields.h"

namespace vantoscope::test {

/// Every field but two check boxes differs from its default and from every other field.
inline const DialogFields kEveryField{
    .Check4 = true,
    .FGLabel = 0x010203,
    .BGLabel = 0x0a0b0c,
    .HLLabel = 0x101112,
    .LLLabel = 0x202122,
    .HLText = "12.5",
    .LLText = "-1E+10",
    .ChnIdxText = "2",
    .EnableAlarmCheck = true,
    .CalText = " CH1*2 ",
    .CalUnitText = "µm/m",
    .WSText = "1234",
    .CaptionCheck = true,
    .BorderWidthText = "9",
    .TransparencyText = "77",
    .Option = kMethodAve,
};

}  // namespace vantoscope::test
