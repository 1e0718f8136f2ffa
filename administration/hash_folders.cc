// Folders with the rights of another one.
#include "administration/hash_folders.h"

#include <sys/stat.h>

#include <cerrno>

#include "administration/folder_making.h"

namespace Quarrow::Administration {
namespace {

const char hashed_mark[] = "/%/";

constexpr int hash_levels = 3;  // %, and two of digits

std::size_t end_of_domain(const std::string& root, const std::string& path) {
  return path.find(hashed_mark, root.size());
}

// Another process may make the same folder: each puts it on the disk.
Refusal make_with_rights(const std::string& path, mode_t mode) {
  if (mkdir(path.c_str(), mode) == 0) {
    if (chmod(path.c_str(), mode) != 0) return making_refusal(path, errno);
  } else if (errno != EEXIST) {
    return making_refusal(path, errno);
  }
  const int error = synchronise(folder_above(path));
  return error == 0 ? Refusal() : system_refusal(path, "made, but perhaps not on the disk", error);
}

Refusal make_hash_folders(const std::string& path, std::size_t end) {
  const std::string domain = path.substr(0, end);
  if (const Refusal refusal = make_lasting_folder(domain)) return refusal;
  struct stat status {};
  if (stat(domain.c_str(), &status) != 0) return system_refusal(domain, "", errno);
  for (int level = 0; level < hash_levels; ++level) {
    end = path.find('/', end + 1);
    if (const Refusal refusal = make_with_rights(path.substr(0, end), status.st_mode & 0777U))
      return refusal;
  }
  return {};
}

}  // namespace

bool is_hashed(const std::string& root, const std::string& path) {
  return end_of_domain(root, path) != std::string::npos;
}

Refusal make_folders_above(const std::string& root, const std::string& path) {
  if (is_hashed(root, path))
    if (const Refusal refusal = make_hash_folders(path, end_of_domain(root, path))) return refusal;
  return make_lasting_folder(folder_above(path));
}

}  // namespace Quarrow::Administration
