// The option parser's messages, one by one.
#include "apps/quarrow/usage_error.h"

#include <regex>

#include "system/printable.h"

namespace Quarrow::Command {
namespace {

const struct {
  const char* message;  // a regular expression
  const char* plain;    // with its groups
} messages[] = {
    {"A subcommand is required", "a subcommand is missing"},
    {"(\\S+): \\d+ required (\\S+) missing", "$1 needs $2 behind it"},
    {"(\\S+): At Most 1 required but received \\d+", "$1 is given more than once"},
    {"(\\S+) excludes (\\S+)", "$1 and $2 exclude each other"},
    {"Could not convert: (--\\S+) = [^]*", "$1 takes no value"},  // others are checked before
    {"(\\S+): (is [^]*, not [^]*)", "$1 $2"},
    {"(\\S+): Value ([^]*) not in range (\\d+) to (\\d+)",
     "$1 is a whole number from $3 to $4, not $2"}};

}  // namespace

std::string plain_usage_error(const std::string& message) {
  const std::string text = shortened(message);  // the expressions take stack by the length
  for (const auto& row : messages) {
    const std::regex expression(row.message);
    if (std::regex_match(text, expression)) return std::regex_replace(text, expression, row.plain);
  }
  return text;
}

}  // namespace Quarrow::Command
