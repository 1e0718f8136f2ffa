// Tries inputs that are kept in files: replay TARGET FILE_OR_FOLDER...
//
// The first place must have a file, so that something is tried; the others need not be there.
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/target.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> files_at(const fs::path& place) {
  if (!fs::is_directory(place))
    return fs::exists(place) ? std::vector<fs::path>{place} : std::vector<fs::path>();
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(place)) files.push_back(entry.path());
  return files;
}

std::string content_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  return {std::istreambuf_iterator<char>(file), {}};
}

// How many files were tried.
std::size_t replay(Quarrow::Fuzz::TryInput try_input, const fs::path& place) {
  const std::vector<fs::path> files = files_at(place);
  for (const fs::path& path : files) {
    std::clog << path.string() << std::endl;  // at once: the process may end now
    try_input(content_of(path));
  }
  return files.size();
}

}  // namespace

int main(int argc, char** argv) {
  const auto try_input = argc < 3 ? nullptr : Quarrow::Fuzz::find_target(argv[1]);
  if (try_input == nullptr) {
    std::cerr << "usage: replay TARGET FILE_OR_FOLDER...\n";
    return 64;
  }
  try {
    if (replay(try_input, argv[2]) == 0)
      throw std::runtime_error(std::string("no file: ") + argv[2]);
    for (int i = 3; i < argc; ++i) (void)replay(try_input, argv[i]);
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << argv[0] << ": " << failure.what() << '\n';
    return 1;
  }
}
