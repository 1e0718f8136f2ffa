// Walking through the root: domains, and users in them.
#include "lmtp/inspection.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <system_error>
#include <utility>

#include "lmtp/limits.h"
#include "system/descriptor.h"
#include "system/nameless_file.h"

namespace Quarrow::Lmtp {
namespace {

// Every file system may have one in its topmost folder, for the superuser alone.
const char recovered_files[] = "lost+found";

// Where a new message goes, or what has to be made for it: the first that is there must be
// writable.
const char* const written[] = {"/Maildir/new", "/Maildir", ""};

// Gives false to end the walk.
using Visit = std::function<bool(const std::string& folder)>;

class Inspection {
 public:
  explicit Inspection(std::vector<std::string>& faults) : faults_(faults) {}

  void inspect_root(const std::string& root) {
    if (std::string fault = fault_of_root(root); !fault.empty())
      return faults_.push_back(std::move(fault));
    (void)visit_parts(root, [this](const std::string& domain) {
      return visit_parts(domain, [this](const std::string& user) { return inspect_user(user); });
    });
    if (unwritable_ > most_told_folders)
      faults_.push_back(std::to_string(unwritable_ - most_told_folders) +
                        " more folders of users can't be written");
  }

  void inspect_spool(const std::string& spool) {
    if (Descriptor(nameless_file_in(spool)).get() < 0) add(spool);
  }

 private:
  void add(const std::string& path) { faults_.push_back(path + ": " + std::strerror(errno)); }

  // Calls `visit` for each folder in `folder`. The name of one that was too long for a file goes on
  // in a folder below it; then its first part ends in "%". Below a lone "%" lie hashed folders.
  bool visit_parts(const std::string& folder, const Visit& visit) {
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    if (error && access((folder + "/.").c_str(), X_OK) != 0) add(folder);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
      const std::string name = entries->path().filename();
      std::error_code gone;
      if (name == recovered_files || !entries->is_directory(gone)) continue;
      if (!visit_named(name, entries->path(), visit)) return false;
    }
    return true;
  }

  bool visit_named(const std::string& name, const std::string& path, const Visit& visit) {
    if (name == "%") return visit_hashed(path, visit);
    return name.back() == '%' ? visit_parts(path, visit) : visit(path);
  }

  bool visit_hashed(const std::string& folder, const Visit& visit) {
    return visit_parts(
        folder,
        [&](const std::string& first) {
          return visit_parts(
              first, [&](const std::string& second) { return visit_parts(second, visit); });
        });
  }

  bool inspect_user(const std::string& folder) {
    for (const char* const place : written) {
      if (access((folder + place).c_str(), W_OK | X_OK) == 0) break;
      if (errno == ENOENT) continue;
      if (++unwritable_ <= most_told_folders) add(folder + place);
      break;
    }
    return ++users_ < most_inspected_users;
  }

  std::vector<std::string>& faults_;
  std::size_t users_ = 0;
  std::size_t unwritable_ = 0;
};

}  // namespace

std::string fault_of_root(const std::string& root) {
  if (access((root + "/.").c_str(), X_OK) == 0) return "";
  return root + ": " + std::strerror(errno);
}

std::vector<std::string> faults_of(const std::string& root, const std::string& spool) {
  std::vector<std::string> faults;
  Inspection inspection(faults);
  inspection.inspect_root(root);
  inspection.inspect_spool(spool);
  return faults;
}

}  // namespace Quarrow::Lmtp
