// The log and the matcher that docs/integration.md shows: compiled as they stand there, and run.

#include <gtest/gtest.h>
#include <quarrow/evaluation.h>
#include <syslog.h>
#include <zvelluser.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/evaluation_test_support.h"

namespace {

std::vector<std::string> logged;  // priority and text of each entry

#include "mail_log.inc"

}  // namespace

// In the place of the system's.
extern "C" void vsyslog(int priority, const char* format, std::va_list values) {
  char text[2048];
  (void)std::vsnprintf(text, sizeof text, format, values);
  logged.push_back(std::to_string(priority) + ' ' + text);
}

namespace {

TEST(DocumentedLog, TakesTheErrorsOfAMatcher) {
  const TemporaryFolder folder;
  mailuser_set_root(folder.path());
  const EmailAddress address("alice@example.org");
  const std::string home = ZvMailUserId(MAILBOX_USER, address.address()).prefpath();
  std::filesystem::create_directories(home);
  write_file(home + "/.delivery_filter", "discard;");
  const std::string text = "Subject: x\n\n";
  const auto message = MimePart::parse(text.data(), text.size());
  const std::size_t size = text.size();

#include "matcher_and_result.inc"

  EXPECT_EQ("MatchResult [action=DISCARD]", text_of(result));
  EXPECT_TRUE(logged.empty());
  write_file(home + "/.delivery_filter", "discard");
  EXPECT_EQ(nullptr, Quarrow::SieveMatch::Create(address, new MailLog));
  ASSERT_FALSE(logged.empty());
  EXPECT_EQ(
      std::to_string(LOG_MAIL | LOG_ERR) + " rule file '" + home + "/.delivery_filter' is invalid",
      logged.back());
}

}  // namespace
