// Taking file names apart.
#include "trial/maildir_name.h"

#include <regex>

namespace Quarrow::Trial {
namespace {

// Seconds since 1970, from 1973 on, then a unique part, then a host.
const char any_name[] = R"((\d{9,11})\.[^.]+\..+)";

const char our_name[] = R"(\d+\.M\d+P\d+Q\d+\.[^,]*,S=\d+(:.*)?)";

std::string file_name(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

std::optional<std::time_t> time_in_name(const std::string& path) {
  static const std::regex pattern(any_name);
  const std::string name = file_name(path);
  std::smatch parts;
  if (!std::regex_match(name, parts, pattern)) return std::nullopt;
  return static_cast<std::time_t>(std::stoll(parts[1].str()));
}

bool is_name_of_ours(const std::string& path) {
  static const std::regex pattern(our_name);
  return std::regex_match(file_name(path), pattern);
}

}  // namespace Quarrow::Trial
