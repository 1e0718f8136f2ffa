// Settings by their names, and a configuration written aside.
#include "administration/settings_change.h"

#include <base.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>

#include "administration/near_names.h"
#include "administration/root_setup.h"
#include "system/descriptor.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;

const struct Row {
  const char* name;
  std::uint32_t SystemRecord::*value;
  std::uint32_t most;  // from 0 on
  const char* meaning;
} rows[] = {{"grade", &SystemRecord::capacity_grade, 99,
             "size of the system: up to 7, 18 or more let a user have 20, 60 or 100 filters"},
            {"hashed-folders", &SystemRecord::hashed_folders, 1,
             "1: folders of new users lie in folders named by a hash"}};

Refusal find_row(const std::string& name, const Row*& found) {
  for (const Row& row : rows)
    if (name == row.name) found = &row;
  if (found != nullptr) return {};
  const std::string question = did_you_mean(name, setting_names());
  return {Kind::wrong_setting, shortened(name),
          "no such setting" + (question.empty() ? "" : "; " + question)};
}

bool read_number(const std::string& text, std::uint32_t& number) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end;
}

// The new file gets what the old one has. Only root can give a file to its owner.
Refusal take_over_rights(const std::string& from, const std::string& to) {
  struct stat old {};
  if (stat(from.c_str(), &old) == 0 &&
      (geteuid() != 0 || chown(to.c_str(), old.st_uid, old.st_gid) == 0) &&
      chmod(to.c_str(), old.st_mode & 07777U) == 0)
    return {};
  return system_refusal(from, "nothing was changed", errno);
}

Refusal put_in_place(const std::string& aside, const std::string& path, const std::string& folder) {
  if (std::rename(aside.c_str(), path.c_str()) != 0)
    return system_refusal(path, "nothing was changed", errno);
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.get() >= 0 && fsync(opened.get()) == 0) return {};
  return system_refusal(path, "changed, but perhaps not on the disk", errno);
}

}  // namespace

std::vector<std::string> setting_names() {
  std::vector<std::string> names;
  for (const Row& row : rows) names.emplace_back(row.name);
  return names;
}

Refusal read_settings(const std::string& root, std::vector<Setting>& settings) {
  if (const Refusal refusal = open_configuration(root)) return refusal;
  settings.clear();
  for (const Row& row : rows) settings.push_back({row.name, cmdb.system->*row.value, row.meaning});
  return {};
}

Refusal read_setting(const std::string& root, const std::string& name, Setting& setting) {
  const Row* row = nullptr;
  if (const Refusal refusal = find_row(name, row)) return refusal;
  if (const Refusal refusal = open_configuration(root)) return refusal;
  setting = {row->name, cmdb.system->*row->value, row->meaning};
  return {};
}

Refusal check_setting(const std::string& root, const std::string& name, const std::string& value,
                      SettingChange& change) {
  const Row* row = nullptr;
  if (const Refusal refusal = find_row(name, row)) return refusal;
  std::uint32_t number = 0;
  if (!read_number(value, number) || number > row->most)
    return {
        Kind::wrong_setting, name,
        "is a whole number from 0 to " + std::to_string(row->most) + ", not " + shortened(value)};
  if (const Refusal refusal = open_configuration(root)) return refusal;
  change = {row->name, number, cmdb.system->*row->value};
  return {};
}

Refusal change_setting(const std::string& root, const SettingChange& change) {
  const Row* row = nullptr;
  if (const Refusal refusal = find_row(change.name, row)) return refusal;
  if (const Refusal refusal = open_configuration(root)) return refusal;
  SystemRecord record = *cmdb.system;
  record.*row->value = change.value;
  const std::string path = configuration_file(root);
  const std::string aside = path + ".new";
  (void)unlink(aside.c_str());  // of a change that was cut off
  if (!cmdb.create(aside, record)) return {Kind::not_made, "configuration", cmdb.error};
  Refusal refusal = take_over_rights(path, aside);
  if (!refusal) refusal = put_in_place(aside, path, root);
  if (refusal) (void)unlink(aside.c_str());
  return refusal;
}

}  // namespace Quarrow::Administration
