// readdir(3), sorted.
#include "system/folder_names.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace Quarrow {
namespace {

struct FolderClose {
  void operator()(DIR* folder) const { (void)closedir(folder); }
};

}  // namespace

int read_names(int folder, std::vector<std::string>& names) {
  const int own = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, FolderClose> entries(own < 0 ? nullptr : fdopendir(own));
  int error = entries ? 0 : errno;
  if (!entries && own >= 0) (void)close(own);
  for (errno = 0; const dirent* entry = entries ? readdir(entries.get()) : nullptr; errno = 0) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  if (error == 0) error = errno;  // of the last readdir(3)
  std::sort(names.begin(), names.end());
  return error;
}

std::vector<std::string> names_in(int folder) {
  std::vector<std::string> names;
  (void)read_names(folder, names);
  return names;
}

}  // namespace Quarrow
