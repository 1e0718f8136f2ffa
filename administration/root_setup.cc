// Making and opening the files that all users share.
#include "administration/root_setup.h"

#include <quarrow/user_stores.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zvellparser.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "administration/rule_fields.h"
#include "administration/write_error.h"
#include "system/exists.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::UserFields__;

constexpr std::size_t more_than_a_catalogue = 4096;

Refusal use_configuration(const std::string& path) {
  if (cmdb.open(path)) return {};
  return {Kind::damaged_configuration, "configuration", cmdb.error};
}

Refusal make_configuration(const std::string& root, const SystemRecord& settings) {
  if (create_path(root, 0755) < 0) return making_refusal(root, errno);
  const std::string path = configuration_file(root);
  if (access(root.c_str(), W_OK) != 0) return making_refusal(path, errno);
  if (cmdb.create(path, settings)) return {};
  return {Kind::not_made, "configuration", cmdb.error};
}

// A catalogue of its own: the fields of the machine's catalogue are dropped, and only customized
// fields are written.
bool write_system_fields(const std::string& path) {
  UserFields__ catalogue{EmailAddress()};
  catalogue.fields.clear();
  for (const auto& field : system_fields())
    if (!catalogue.add_field(field)) return false;
  return catalogue.persist(path);
}

// The library does not look at whether all bytes reached the disk.
bool reads_back(const std::string& path) {
  UserFields__ written{EmailAddress()};
  written.fields.clear();
  return written.load(path, true) && written.fields.size() == system_fields().size();
}

Refusal make_catalogue(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  if (create_path(folder, 0755) < 0) return making_refusal(folder, errno);
  const TempFile aside(path + ".");
  if (aside.name().empty()) return making_refusal(path, errno);
  if (!write_system_fields(aside.name()))
    return system_refusal(path, "can't be written", error_of_opening(aside.name()));
  if (!reads_back(aside.name()))
    return system_refusal(path, "can't be written in full",
                          error_of_writing(folder.empty() ? "." : folder, more_than_a_catalogue));
  if (chmod(aside.name().c_str(), 0644) != 0 ||
      std::rename(aside.name().c_str(), path.c_str()) != 0)
    return making_refusal(path, errno);
  return {};
}

}  // namespace

std::string configuration_file(const std::string& root) { return root + "/quarrow.sqlite"; }

Refusal open_configuration(const std::string& root) {
  const std::string path = configuration_file(root);
  if (access(path.c_str(), R_OK) == 0) return use_configuration(path);
  if (errno == ENOENT) return {Kind::no_configuration, path, "no configuration"};
  return system_refusal(path, "", errno);
}

Refusal set_up_configuration(const std::string& root, const SystemRecord& settings,
                             ConfigurationSetup& setup) {
  const std::string path = configuration_file(root);
  if (!exists(path)) {
    if (const Refusal refusal = make_configuration(root, settings)) return refusal;
    setup = {path, true, settings};
    return {};
  }
  if (const Refusal refusal = use_configuration(path)) return refusal;
  setup = {path, false, *cmdb.system};
  return {};
}

Refusal set_up_catalogue(const std::string& path, CatalogueSetup& setup) {
  if (exists(path)) {
    setup = {path, false, 0};
    return {};
  }
  if (const Refusal refusal = make_catalogue(path)) return refusal;
  setup = {path, true, system_fields().size()};
  return {};
}

}  // namespace Quarrow::Administration
