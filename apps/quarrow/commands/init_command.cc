// quarrow init: the configuration file and the system's catalogue of fields.
#include <base.h>
#include <quarrow/user_stores.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvellparser.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>

#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/files.h"
#include "message_filters/user_files.h"

namespace Quarrow::Command {
namespace {

using MessageFilters::Field;
using MessageFilters::UserFields__;

struct Options {
  std::uint32_t grade = 19;
  std::string catalogue = system_catalogue;
};

// The fields that every system offers. The names are those that scripts use: header names in lower
// case, and the names that stand for something else than one header.
std::vector<Field> system_fields() {
  return {{Field::STRING, "subject", true},
          {Field::ADDRESS, "from", true},
          {Field::ADDRESS, "to", true},
          {Field::ADDRESS, "cc", true},
          {Field::ADDRESS, "sender", true},
          {Field::ADDRESS, "reply-to", true},
          {Field::ADDRESS, "to_cc", true},
          {Field::ADDRESS, "from_to_cc", true},
          {Field::STRING, "list-id", true},
          {Field::SIZE, "size", true},
          {Field::DATE, "zvx-received-date", true}};
}

int make_configuration(const std::string& root, std::uint32_t grade) {
  const std::string path = configuration_file(root);
  if (exists(path)) {
    if (!cmdb.open(path)) return complain("configuration", cmdb.error, EX_CONFIG);
    std::cout << path << ": kept, grade " << cmdb.system->capacity_grade << '\n';
    return EX_OK;
  }
  if (create_path(root, 0755) < 0) return cannot_make(root, errno);
  if (access(root.c_str(), W_OK) != 0) return cannot_make(path, errno);
  SystemRecord record;
  record.capacity_grade = grade;
  if (!cmdb.create(path, record)) return complain("configuration", cmdb.error, EX_CANTCREAT);
  std::cout << path << ": made, grade " << grade << '\n';
  return EX_OK;
}

// A catalogue of its own: whatever the machine's catalogue holds is dropped, and only customized
// fields are written.
bool write_system_fields(const std::string& path) {
  UserFields__ catalogue{EmailAddress()};
  catalogue.fields.clear();
  for (const auto& field : system_fields())
    if (!catalogue.add_field(field)) return false;
  if (!catalogue.persist(path)) return false;
  // that all bytes reached the disk shows in reading them back
  UserFields__ written{EmailAddress()};
  written.fields.clear();
  return written.load(path, true) && written.fields.size() == catalogue.fields.size();
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

int make_catalogue(const std::string& path) {
  if (exists(path)) {
    std::cout << path << ": kept\n";
    return EX_OK;
  }
  if (create_path(folder_of(path), 0755) < 0) return cannot_make(folder_of(path), errno);
  const TempFile aside(path + ".");
  if (aside.name().empty()) return cannot_make(path, errno);
  if (!write_system_fields(aside.name()))
    return complain(path, "can't be written; is the disk full?", EX_IOERR);
  if (chmod(aside.name().c_str(), 0644) != 0 || rename(aside.name().c_str(), path.c_str()) != 0)
    return cannot_make(path, errno);
  std::cout << path << ": made, " << system_fields().size() << " fields\n";
  return EX_OK;
}

int init(const Settings& settings, const Options& options) {
  if (const int status = make_configuration(settings.root, options.grade)) return status;
  const int status = make_catalogue(options.catalogue);
  if (status == EX_NOPERM && options.catalogue == system_catalogue)
    return complain("init", "run it with more rights, or give --catalogue FILE for a trial",
                    status);
  return status;
}

}  // namespace

Run declare_init(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  app.add_option("--grade", options->grade,
                 "Size of the system: up to 7, 18 or more let a user have 20, 60 or 100 filters")
      ->type_name("N")
      ->capture_default_str();
  app.add_option("--catalogue", options->catalogue,
                 "Where to write the catalogue of fields; the library reads it at the default")
      ->type_name("FILE")
      ->capture_default_str();
  return [options](const Settings& settings) { return init(settings, *options); };
}

}  // namespace Quarrow::Command
