#include "settings/settings.h"
#include "settings/settings_table.h"

namespace vantoscope {

void SaveSettings(Meter& meter) {
  for (const SettingsEntry& entry : kSettingsTable) {
    meter.platform.profile.WritePrivateProfileString(meter.runtime.SectionName, entry.name,
                                                     entry.written(meter), meter.runtime.IniFile);
  }
}

}  // namespace vantoscope
