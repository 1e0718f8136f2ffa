// quarrow init: the configuration file and the system's catalogue of fields.
#include <sysexits.h>

#include <iostream>
#include <memory>

#include "administration/root_setup.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/complaint.h"
#include "message_filters/user_files.h"

namespace Quarrow::Command {
namespace {

using Administration::CatalogueSetup;
using Administration::ConfigurationSetup;
using Administration::Refusal;

struct InitOptions {
  std::uint32_t grade = 19;
  bool hashed_folders = false;
  std::string catalogue = system_catalogue;
};

int make_configuration(const std::string& root, const InitOptions& options) {
  ConfigurationSetup setup;
  const SystemRecord settings = {options.grade, options.hashed_folders ? 1U : 0U};
  // without the hint, which would send the user here
  if (const Refusal refusal = Administration::set_up_configuration(root, settings, setup))
    return complain(refusal.object, refusal.reason, exit_status(refusal.kind));
  std::cout << setup.path << (setup.made ? ": made" : ": kept") << ", grade "
            << setup.settings.capacity_grade
            << (setup.settings.hashed_folders != 0 ? ", hashed folders\n" : "\n");
  return EX_OK;
}

int refuse_catalogue(const Refusal& refusal, const std::string& path) {
  const int status = complain(refusal);
  if (refusal.kind != Refusal::Kind::not_permitted || path != system_catalogue) return status;
  return complain("init", "run it with more rights, or give --catalogue FILE for a trial", status);
}

int make_catalogue(const std::string& path) {
  CatalogueSetup setup;
  if (const Refusal refusal = Administration::set_up_catalogue(path, setup))
    return refuse_catalogue(refusal, path);
  std::cout << setup.path;
  if (setup.made)
    std::cout << ": made, " << setup.fields << " fields\n";
  else
    std::cout << ": kept\n";
  return EX_OK;
}

int init(const Settings& settings, const InitOptions& options) {
  if (const int status = make_configuration(settings.root, options)) return status;
  return make_catalogue(options.catalogue);
}

}  // namespace

Run declare_init(CLI::App& app) {
  const auto options = std::make_shared<InitOptions>();
  add_option(app, "--grade", options->grade,
             "Size of the system: up to 7, 18 or more let a user have 20, 60 or 100 filters")
      .type_name("N")
      .in_range(0, 99)
      .capture_default_str();
  add_flag(app, "--hashed-folders", options->hashed_folders,
           "Spread new users' folders over folders that are named by a hash");
  add_option(app, "--catalogue", options->catalogue,
             "Where to write the catalogue of fields; the library reads it at the default")
      .type_name("FILE")
      .capture_default_str();
  return [options](const Settings& settings) { return init(settings, *options); };
}

}  // namespace Quarrow::Command
