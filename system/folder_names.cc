// readdir(3), sorted.
#include "system/folder_names.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace Quarrow {
namespace {

struct FolderClose {
  void operator()(DIR* folder) const { (void)closedir(folder); }
};

}  // namespace

std::vector<std::string> names_in(int folder) {
  std::vector<std::string> names;
  const int own = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, FolderClose> entries(own < 0 ? nullptr : fdopendir(own));
  if (!entries && own >= 0) (void)close(own);
  while (const dirent* entry = entries ? readdir(entries.get()) : nullptr)
    names.emplace_back(entry->d_name);
  names.erase(std::remove_if(names.begin(), names.end(),
                             [](const std::string& name) { return name == "." || name == ".."; }),
              names.end());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace Quarrow
