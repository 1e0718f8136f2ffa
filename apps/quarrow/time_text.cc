// Reading and writing times.
#include "apps/quarrow/time_text.h"

#include <iomanip>
#include <regex>
#include <sstream>

namespace Quarrow::Command {
namespace {

int number(const std::ssub_match& part) { return part.matched ? std::stoi(part.str()) : 0; }

bool is_same_day_and_time(const std::tm& a, const std::tm& b) {
  return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday &&
         a.tm_hour == b.tm_hour && a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
}

}  // namespace

std::optional<std::time_t> time_of(const std::string& text) {
  static const std::regex form(R"((\d{4})-(\d\d)-(\d\d)(?:[ T](\d\d):(\d\d)(?::(\d\d))?)?)");
  std::smatch parts;
  if (!std::regex_match(text, parts, form)) return std::nullopt;
  std::tm asked{};
  asked.tm_year = number(parts[1]) - 1900;
  asked.tm_mon = number(parts[2]) - 1;
  asked.tm_mday = number(parts[3]);
  asked.tm_hour = number(parts[4]);
  asked.tm_min = number(parts[5]);
  asked.tm_sec = number(parts[6]);
  asked.tm_isdst = -1;  // as it was then
  std::tm found = asked;
  const std::time_t time = std::mktime(&found);  // takes the 30th of February for a day in March
  if (!is_same_day_and_time(asked, found)) return std::nullopt;
  return time;
}

std::string time_text(std::time_t time) {
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr) return std::to_string(time);
  std::ostringstream text;
  text << std::put_time(&local, "%Y-%m-%d %H:%M:%S");
  return text.str();
}

}  // namespace Quarrow::Command
