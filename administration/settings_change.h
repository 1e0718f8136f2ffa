// The settings in the configuration below a root, read and changed by their names.
#ifndef QUARROW_ADMINISTRATION_SETTINGS_CHANGE_H_
#define QUARROW_ADMINISTRATION_SETTINGS_CHANGE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "administration/refusal.h"

namespace Quarrow::Administration {

struct Setting {
  std::string name;
  std::uint32_t value = 0;
  std::string meaning;  // for a person
};

// The names of all settings.
std::vector<std::string> setting_names();

// Reads all settings below `root`. Refuses as open_configuration() does.
Refusal read_settings(const std::string& root, std::vector<Setting>& settings);

// Reads the setting of that name; refuses an unknown one, with the names that are near.
Refusal read_setting(const std::string& root, const std::string& name, Setting& setting);

// A change of a setting: `before` is what it was.
struct SettingChange {
  std::string name;
  std::uint32_t value = 0;
  std::uint32_t before = 0;
};

// Checks the text `value` for the setting `name`, and fills `change`. Nothing is changed.
Refusal check_setting(const std::string& root, const std::string& name, const std::string& value,
                      SettingChange& change);

// Puts a configuration with that change in place of the one below `root`. A process that is stopped
// in between leaves the old one. The file keeps its mode and, when root changes it, its owner.
Refusal change_setting(const std::string& root, const SettingChange& change);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_SETTINGS_CHANGE_H_
