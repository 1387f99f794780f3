// SPDX-License-Identifier: GPL-3.0-or-later
#include <vector>

#include "settings/settings.h"
#include "settings/settings_table.h"

namespace vantoscope {
namespace {

bool IsPosition(SettingsKey key) {
  return key == SettingsKey::WindowTop || key == SettingsKey::WindowLeft;
}

}  // namespace

void SaveSettings(Meter& meter) {
  const bool has_place = meter.form.HasPlace();
  std::vector<ProfileKey> keys;
  for (const SettingsEntry& entry : kSettingsTable) {
    if (has_place || !IsPosition(entry.key)) keys.push_back({entry.name, entry.written(meter)});
  }
  meter.platform.profile.WritePrivateProfileKeys(meter.runtime.SectionName, keys,
                                                 meter.runtime.IniFile);
}

}  // namespace vantoscope
