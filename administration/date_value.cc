// Year, month and day.
#include "administration/date_value.h"

namespace Quarrow::Administration {

std::string digits_of_date(const std::string& value) {
  std::string digits = value;
  if (digits.size() == 10 && digits[4] == digits[7]) {
    digits.erase(7, 1);
    digits.erase(4, 1);
  }
  const bool is_date =
      digits.size() == 8 && digits.find_first_not_of("0123456789") == std::string::npos;
  return is_date ? digits : "";
}

int days_of(int year, int month) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool is_leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && is_leap ? 29 : days[month - 1];
}

std::string readable_date(const std::string& value) {
  const std::string digits = digits_of_date(value);
  if (digits.empty()) return value;
  return digits.substr(0, 4) + '-' + digits.substr(4, 2) + '-' + digits.substr(6);
}

}  // namespace Quarrow::Administration
