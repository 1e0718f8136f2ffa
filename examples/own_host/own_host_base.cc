#include "base.h"

#include <filesystem>

namespace {
SystemRecord settings = {19};
}

ConfigurationDatabase cmdb = {&settings};

int create_path(const std::string& path, int /*mode*/) {
  std::error_code failure;
  if (!path.empty()) std::filesystem::create_directories(path, failure);
  return failure ? -1 : 0;
}
