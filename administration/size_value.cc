// Numbers with units.
#include "administration/size_value.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "administration/decimal_digits.h"
#include "host/zvellparser/ascii_case.h"

namespace Quarrow::Administration {
namespace {

constexpr std::size_t most_digits = 9;      // what a long holds on every system
constexpr std::size_t most_written = 7;     // the largest size has as many in KB
constexpr std::size_t most_behind_dot = 2;  // a dot before three may separate thousands

constexpr std::int64_t kib = 1024;

const struct {
  const char* name;
  std::int64_t bytes;
} units[] = {{"", kib},
             {"K", kib},
             {"KB", kib},
             {"KiB", kib},
             {"M", kib* kib},
             {"MB", kib* kib},
             {"MiB", kib* kib},
             {"G", kib* kib* kib},
             {"GB", kib* kib* kib},
             {"GiB", kib* kib* kib},
             {"B", 1},
             {"byte", 1},
             {"bytes", 1}};

bool is_number(const std::string& text) {
  return !text.empty() && text.size() <= most_digits &&
         text.find_first_not_of(decimal_digits) == std::string::npos;
}

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::optional<std::int64_t> bytes_of_unit(const std::string& name) {
  for (const auto& unit : units)
    if (zvellparser::equal_ignoring_case(unit.name, name)) return unit.bytes;
  return {};
}

// The number times 100: digits, and one or two more behind a dot.
std::optional<std::int64_t> hundredths_of(const std::string& number) {
  const std::size_t dot = number.find('.');
  const std::string whole = number.substr(0, dot);
  std::string part = dot == std::string::npos ? "0" : number.substr(dot + 1);
  if (!is_number(whole) || whole.size() > most_written) return {};
  if (!is_number(part) || part.size() > most_behind_dot) return {};
  part.resize(most_behind_dot, '0');
  return std::stoll(whole + part);
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

SizeReading read_size(const std::string& text) {
  const std::string size = trimmed(text);
  if (!size.empty() && size.find_first_not_of(decimal_digits) == std::string::npos)
    return {size, ""};
  const std::size_t end = size.find_first_not_of("0123456789.");
  const auto hundredths = hundredths_of(size.substr(0, end));
  const auto unit = bytes_of_unit(end == std::string::npos ? "" : trimmed(size.substr(end)));
  if (!hundredths || !unit) return {"", "a size is written such as 500 KB or 1.5 MB"};
  const std::int64_t product = *hundredths * *unit;
  const std::string whole = std::to_string(product / (100 * kib));
  if (product % (100 * kib) == 0) return {whole, ""};
  return {"", "no whole number of KB, which are 1024 bytes each; type " + whole + " KB or " +
                  std::to_string(product / (100 * kib) + 1) + " KB"};
}

}  // namespace Quarrow::Administration
