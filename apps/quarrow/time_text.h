// Times as people write and read them.
#ifndef QUARROW_APPS_QUARROW_TIME_TEXT_H_
#define QUARROW_APPS_QUARROW_TIME_TEXT_H_

#include <ctime>
#include <optional>
#include <string>

namespace Quarrow::Command {

// The time that `text` stands for in the process's time zone: "2026-05-04", which is its first
// second, "2026-05-04 12:00" or "2026-05-04 12:00:30"; "T" may stand in place of the blank. None
// for anything else, and for days and hours that there are not.
std::optional<std::time_t> time_of(const std::string& text);

// `time` in the process's time zone: "2026-05-04 12:00:30"; its number where it has no year.
std::string time_text(std::time_t time);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_TIME_TEXT_H_
