// The bytes of answers.
#include "http/response_text.h"

#include <gtest/gtest.h>

namespace Quarrow::Http {
namespace {

TEST(ResponseText, BeginsWithTheStatusAndTheDate) {
  // the example of RFC 9110, section 5.6.7
  EXPECT_EQ("HTTP/1.1 200 OK\r\ndate: Sun, 06 Nov 1994 08:49:37 GMT\r\ncontent-length: 2\r\n\r\nhi",
            response_text({200, {}, "hi"}, {}, 784111777));
}

TEST(ResponseText, WritesEveryDayAndMonth) {
  const struct {
    std::time_t time;
    const char* text;
  } dates[] = {{0, "Thu, 01 Jan 1970 00:00:00 GMT"},
               {951782400, "Tue, 29 Feb 2000 00:00:00 GMT"},
               {1016409599, "Sun, 17 Mar 2002 23:59:59 GMT"},
               {1018051200, "Sat, 06 Apr 2002 00:00:00 GMT"},
               {4102444799, "Thu, 31 Dec 2099 23:59:59 GMT"}};
  for (const auto& date : dates)
    EXPECT_NE(std::string::npos,
              response_text({}, {}, date.time).find("\r\ndate: " + std::string(date.text) + "\r\n"))
        << date.text;
}

TEST(ResponseText, NamesAStatusThatHasNoName) {
  EXPECT_EQ("HTTP/1.1 299 Unknown\r\n", response_text({299, {}, ""}, {}, 0).substr(0, 22));
}

}  // namespace
}  // namespace Quarrow::Http
