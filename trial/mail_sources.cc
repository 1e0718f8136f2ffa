// Finding the files that messages lie in.
#include "trial/mail_sources.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "system/regular_file.h"

namespace Quarrow::Trial {
namespace {

namespace fs = std::filesystem;

using Kind = SourceFailure::Kind;

// Adds the files in a folder of a Maildir, in the order of their names. A name that begins with a
// dot is no message's. False, with a failure, when the folder can't be read.
bool add_folder(const fs::path& folder, FoundMail& found) {
  std::error_code error;
  auto& sources = found.sources;
  const std::size_t before = sources.size();
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const auto kind = entry->symlink_status(error).type();
    if (entry->path().filename().native().front() == '.' || kind == fs::file_type::directory)
      continue;
    const auto size = kind == fs::file_type::regular ? entry->file_size(error) : 0;
    sources.push_back({entry->path().string(), error ? 0 : size, true});
    error.clear();  // a file that is gone already is a failure when it is opened
  }
  if (error) found.failures.push_back(cannot_read(folder.string(), error.value()));
  std::sort(sources.begin() + static_cast<std::ptrdiff_t>(before), sources.end(),
            [](const MailSource& a, const MailSource& b) { return a.path < b.path; });
  return !error;
}

// Whether there is a folder at `path` itself, and not behind a link.
bool is_folder(const fs::path& path) {
  std::error_code error;
  return fs::symlink_status(path, error).type() == fs::file_type::directory;
}

void add_maildir(const fs::path& folder, FoundMail& found) {
  if (is_folder(folder / "cur") && is_folder(folder / "new")) {
    if (add_folder(folder / "cur", found)) add_folder(folder / "new", found);
    return;
  }
  found.failures.push_back(
      {folder.string(), Kind::not_a_maildir,
       "a folder without cur/ and new/, so no Maildir; name the message files in it"});
}

void add_argument(const std::string& argument, FoundMail& found) {
  const MailSource source = {argument};
  struct stat entry;
  if (source.is_standard_input())
    found.sources.push_back(source);
  else if (stat(argument.c_str(), &entry) != 0)
    found.failures.push_back(cannot_read(argument, errno));
  else if (S_ISDIR(entry.st_mode))
    add_maildir(argument, found);
  else
    found.sources.push_back({argument, static_cast<std::uint64_t>(entry.st_size)});
}

}  // namespace

SourceFailure cannot_read(const std::string& object, int error) {
  return {object, Kind::cannot_read, "can't be read: " + reason_for_no_file(error)};
}

FoundMail find_mail(const std::vector<std::string>& arguments) {
  FoundMail found;
  for (const auto& argument : arguments) add_argument(argument, found);
  return found;
}

std::uint64_t total_size(const std::vector<MailSource>& sources) {
  std::uint64_t total = 0;
  for (const auto& source : sources) total += source.size;
  return total;
}

}  // namespace Quarrow::Trial
