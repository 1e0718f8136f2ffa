// Times as users type them.
#include "apps/quarrow/time_text.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Quarrow::Command {
namespace {

class TimeOf : public testing::Test {
 protected:
  TimeOf() { set_zone("UTC"); }
  ~TimeOf() override {
    unsetenv("TZ");
    tzset();
  }

  static void set_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

const struct {
  const char* text;
  std::optional<std::time_t> want;
} texts[] = {{"2026-05-04", 1777852800},
             {"2026-05-04 12:00", 1777896000},
             {"2026-05-04T12:00", 1777896000},
             {"2026-05-04 12:00:30", 1777896030},
             {"1970-01-01", 0},
             {"1969-12-31 23:59:59", -1},
             {"2028-02-29", 1835395200},
             {"2026-02-30", std::nullopt},
             {"2026-13-01", std::nullopt},
             {"2026-00-01", std::nullopt},
             {"2026-05-04 24:00", std::nullopt},
             {"2026-05-04 12:60", std::nullopt},
             {"2026-05-04 12", std::nullopt},
             {"2026-5-4", std::nullopt},
             {"yesterday", std::nullopt},
             {"2026-05-04 12:00 ", std::nullopt},
             {"", std::nullopt}};

TEST_F(TimeOf, IsThatOfTheText) {
  for (const auto& c : texts) EXPECT_EQ(c.want, time_of(c.text)) << c.text;
}

TEST_F(TimeOf, IsInTheZoneOfTheProcess) {
  set_zone("JST-9");
  EXPECT_EQ(std::optional<std::time_t>(1777896000 - 9 * 3600), time_of("2026-05-04 12:00"));
}

TEST_F(TimeOf, IsWrittenInTheZoneOfTheProcess) {
  set_zone("JST-9");
  EXPECT_EQ("2026-05-04 21:00:30", time_text(1777896030));
}

}  // namespace
}  // namespace Quarrow::Command
