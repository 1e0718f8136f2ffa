// Temporary files.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "zvellparser.h"

namespace {

std::string default_prefix() {
  const char* folder = secure_getenv("TMPDIR");
  return std::string(folder && *folder ? folder : "/tmp") + "/quarrow-";
}

}  // namespace

TempFile::TempFile(const std::string& prefix) {
  if (prefix.find('\0') != std::string::npos) return;
  std::string path = (prefix.empty() ? default_prefix() : prefix) + "XXXXXX";
  const int file = mkostemp(path.data(), O_CLOEXEC);
  if (file < 0) return;
  (void)close(file);  // nothing was written that could be lost
  name_ = path;
}

TempFile::~TempFile() {
  if (!name_.empty()) (void)unlink(name_.c_str());  // it may be gone already
}
