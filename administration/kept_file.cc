// Second names by link(2).
#include "administration/kept_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "system/exists.h"

namespace Quarrow::Administration {
namespace {

std::string kept_name(const std::string& path) { return path + ".kept"; }

}  // namespace

KeptFile::KeptFile(const std::string& path) : path_(path) {
  (void)unlink(kept_name(path_).c_str());  // mostly there is none
  kept_ = link(path_.c_str(), kept_name(path_).c_str()) == 0;
  if (!kept_ && errno != ENOENT) error_ = errno;
}

KeptFile::~KeptFile() {
  if (kept_) (void)unlink(kept_name(path_).c_str());
}

void KeptFile::restore() {
  if (!kept_) {
    (void)unlink(path_.c_str());
    return;
  }
  // where both names still are one file, rename leaves both
  if (std::rename(kept_name(path_).c_str(), path_.c_str()) == 0)
    (void)unlink(kept_name(path_).c_str());
  kept_ = false;
}

void take_up_kept(const std::string& path) {
  if (exists(path))
    (void)unlink(kept_name(path).c_str());
  else
    (void)std::rename(kept_name(path).c_str(), path.c_str());  // mostly there is none
}

}  // namespace Quarrow::Administration
