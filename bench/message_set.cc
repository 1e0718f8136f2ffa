#include "bench/message_set.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string folder = EXAMPLE_MAIL;

std::vector<std::filesystem::path> message_files() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.is_regular_file() && entry.path().filename() != "README.md")
      files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

const std::vector<BenchMessage>& bench_messages() {
  static const std::vector<BenchMessage> messages = read_messages();
  return messages;
}

std::vector<BenchMessage> read_messages() {
  std::vector<BenchMessage> messages;
  for (const auto& path : message_files()) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    messages.push_back({MimePart::parse(text.data(), text.size()), text.size(), path.string()});
  }
  return messages;
}

void read_messages_option(int& argc, char** argv) {
  const std::string option = "--messages=";
  const auto is_option = [&option](const char* argument) {
    return std::string(argument).compare(0, option.size(), option) == 0;
  };
  char** const found = std::find_if(argv + 1, argv + argc, is_option);
  if (found == argv + argc) return;
  folder = std::string(*found).substr(option.size());
  std::copy(found + 1, argv + argc, found);
  --argc;
}
