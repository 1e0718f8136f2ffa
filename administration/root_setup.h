// Things that must be there before a user can have filters: the configuration below a root, and the
// system's catalogue of fields.
#ifndef QUARROW_ADMINISTRATION_ROOT_SETUP_H_
#define QUARROW_ADMINISTRATION_ROOT_SETUP_H_

#include <base.h>

#include <cstddef>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// The configuration file below `root`.
std::string configuration_file(const std::string& root);

// Opens the configuration below `root` for this process. Refuses when it is missing, can't be read
// or is damaged.
Refusal open_configuration(const std::string& root);

// A configuration that is there.
struct ConfigurationSetup {
  std::string path;
  bool made = false;  // false: it was there before, and is kept
  SystemRecord settings = {};
};

// Opens the configuration below `root`, or makes it, with the folders above it and those settings.
// `setup` then says what was done.
Refusal set_up_configuration(const std::string& root, const SystemRecord& settings,
                             ConfigurationSetup& setup);

// A catalogue that is there.
struct CatalogueSetup {
  std::string path;
  bool made = false;       // false: it was there before, and is kept unread
  std::size_t fields = 0;  // in a catalogue that was made
};

// Makes the catalogue of fields at `path`, with the folders above it, unless there is something
// already. It is written aside and read back first, so that no process sees a part of it. `setup`
// then says what was done.
Refusal set_up_catalogue(const std::string& path, CatalogueSetup& setup);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_ROOT_SETUP_H_
