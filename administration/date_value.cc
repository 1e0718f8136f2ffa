// Year, month and day.
#include "administration/date_value.h"

#include <cstddef>

#include "administration/decimal_digits.h"

namespace Quarrow::Administration {
namespace {

// The numbers in `value` as texts; empty when more than one character stands between two of them.
std::vector<std::string> numbers_in(const std::string& value) {
  std::vector<std::string> numbers = {""};
  for (const char c : value)
    if (c >= '0' && c <= '9')
      numbers.back() += c;
    else if (numbers.back().empty())
      return {};
    else
      numbers.emplace_back();
  return numbers;
}

bool is_day_or_month(const std::string& number) { return number.size() == 1 || number.size() == 2; }

std::string two_digits(const std::string& number) {
  return (number.size() == 1 ? "0" : "") + number;
}

// Adds a date unless there is none, or it is there already.
void add_date(const std::string& year, const std::string& month, const std::string& day,
              std::vector<std::string>& dates) {
  const int number = std::stoi(month);
  if (number < 1 || number > 12) return;
  if (std::stoi(day) < 1 || std::stoi(day) > days_of(std::stoi(year), number)) return;
  const std::string date = year + '-' + two_digits(month) + '-' + two_digits(day);
  if (dates.empty() || dates.back() != date) dates.push_back(date);
}

}  // namespace

std::string digits_of_date(const std::string& value) {
  std::string digits = value;
  if (digits.size() == 10 && digits[4] == digits[7]) {
    digits.erase(7, 1);
    digits.erase(4, 1);
  }
  const bool is_date =
      digits.size() == 8 && digits.find_first_not_of(decimal_digits) == std::string::npos;
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

std::vector<std::string> dates_meant(const std::string& value) {
  const std::vector<std::string> numbers = numbers_in(value);
  if (numbers.size() != 3 || !is_day_or_month(numbers[1])) return {};
  std::vector<std::string> dates;
  if (numbers[0].size() == 4 && is_day_or_month(numbers[2])) {
    add_date(numbers[0], numbers[1], numbers[2], dates);
  } else if (numbers[2].size() == 4 && is_day_or_month(numbers[0])) {
    add_date(numbers[2], numbers[1], numbers[0], dates);
    add_date(numbers[2], numbers[0], numbers[1], dates);
  }
  return dates;
}

}  // namespace Quarrow::Administration
