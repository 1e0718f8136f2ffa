// Dates, as tests hold them and as people write them.
#ifndef QUARROW_ADMINISTRATION_DATE_VALUE_H_
#define QUARROW_ADMINISTRATION_DATE_VALUE_H_

#include <string>
#include <vector>

namespace Quarrow::Administration {

// The eight digits of YYYY-MM-DD, whatever stands between year, month and day, or nothing does;
// empty for another text. Whether there is that month and that day is not looked at.
std::string digits_of_date(const std::string& value);

// The number of days in a month from 1 to 12 (Gregorian calendar).
int days_of(int year, int month);

// The date as YYYY-MM-DD; a text that is no date comes back as it is.
std::string readable_date(const std::string& value);

// The dates, as YYYY-MM-DD, that may be meant by three numbers with any character between them: a
// year of four digits first, or last. 01/02/2026 may be two dates; none when there is no such date.
std::vector<std::string> dates_meant(const std::string& value);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_DATE_VALUE_H_
