// Taking file names apart.
#include "trial/maildir_name.h"

#include <charconv>
#include <regex>

namespace Quarrow::Trial {
namespace {

// The digits of seconds since 1970, from 1973 on.
constexpr std::size_t fewest_digits = 9;
constexpr std::size_t most_digits = 11;

// Without the random number are messages that were delivered by earlier versions.
const char our_name[] = R"(\d+\.M\d+P\d+Q\d+(R[0-9a-f]+)?\.[^,]*,S=\d+(:.*)?)";

std::string file_name(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

// Seconds since 1970, then a unique part, then a host. By hand, since a regular expression takes
// half a second for the names of a large folder.
std::optional<std::time_t> time_in_name(const std::string& path) {
  const std::size_t begin = path.rfind('/') + 1;
  const std::size_t unique = path.find('.', begin) + 1;
  const std::size_t host = unique == 0 ? 0 : path.find('.', unique) + 1;
  if (host <= unique + 1 || host == path.size()) return std::nullopt;
  const std::size_t digits = unique - 1 - begin;
  if (digits < fewest_digits || digits > most_digits) return std::nullopt;
  std::time_t time = 0;
  const char* const end = path.data() + begin + digits;
  const auto read = std::from_chars(path.data() + begin, end, time);
  if (read.ec != std::errc() || read.ptr != end || time < 0) return std::nullopt;
  return time;
}

bool is_name_of_ours(const std::string& path) {
  static const std::regex pattern(our_name);
  return std::regex_match(file_name(path), pattern);
}

}  // namespace Quarrow::Trial
