// All targets of the program, by their names.
#include "fuzz/target.h"

#include <map>

namespace Quarrow::Fuzz {
namespace {

std::map<std::string, TryInput>& targets() {
  static std::map<std::string, TryInput> by_name;
  return by_name;
}

}  // namespace

Target::Target(const char* name, TryInput try_input) { targets()[name] = try_input; }

TryInput find_target(const std::string& name) {
  const auto found = targets().find(name);
  return found == targets().end() ? nullptr : found->second;
}

}  // namespace Quarrow::Fuzz
