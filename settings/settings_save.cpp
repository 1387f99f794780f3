#include <vector>

#include "settings/settings.h"
#include "settings/settings_table.h"

namespace vantoscope {

void SaveSettings(Meter& meter) {
  std::vector<ProfileKey> keys;
  for (const SettingsEntry& entry : kSettingsTable) {
    keys.push_back({entry.name, entry.written(meter)});
  }
  meter.platform.profile.WritePrivateProfileKeys(meter.runtime.SectionName, keys,
                                                 meter.runtime.IniFile);
}

}  // namespace vantoscope
