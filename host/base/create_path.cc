// Folders, with those above them.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "base.h"

namespace {

bool is_folder(const std::string& path) {
  struct stat entry {};
  return stat(path.c_str(), &entry) == 0 && S_ISDIR(entry.st_mode);
}

// Another process may make the same folder at the same time: it counts when it is there.
bool make_folder(const std::string& path, int mode) {
  if (mkdir(path.c_str(), static_cast<mode_t>(mode)) == 0) return true;
  const int failure = errno;
  if (is_folder(path)) return true;
  errno = failure == EEXIST ? ENOTDIR : failure;
  return false;
}

}  // namespace

int create_path(const std::string& path, int mode) {
  if (path.find('\0') != std::string::npos) {
    errno = EINVAL;
    return -1;
  }
  if (path.empty() || is_folder(path)) return 0;
  for (std::size_t end = 0; end < path.size();) {
    end = std::min(path.find('/', end + 1), path.size());
    if (!make_folder(path.substr(0, end), mode)) return -1;
  }
  return 0;
}
