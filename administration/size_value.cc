// Numbers with units.
#include "administration/size_value.h"

#include <cstddef>

namespace Quarrow::Administration {
namespace {

const char decimal_digits[] = "0123456789";
constexpr std::size_t most_digits = 9;  // what a long holds on every system

bool is_number(const std::string& text) {
  return !text.empty() && text.size() <= most_digits &&
         text.find_first_not_of(decimal_digits) == std::string::npos;
}

}  // namespace

std::string readable_size(const std::string& kibibytes) {
  if (!is_number(kibibytes)) return kibibytes;
  long number = std::stol(kibibytes);
  const char* unit = " KB";
  for (const char* larger : {" MB", " GB"}) {
    if (number == 0 || number % 1024 != 0) break;
    number /= 1024;
    unit = larger;
  }
  return std::to_string(number) + unit;
}

}  // namespace Quarrow::Administration
